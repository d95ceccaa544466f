#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/bgzf_builder.h"
#include "support/conversions.h"
#include "support/expect_kind.h"
#include "support/full_disk.h"
#include "support/hostile_calls.h"
#include "support/samtools.h"

namespace readkit::convert_from_bam_test {
namespace {

class FromBam : public testing::Test {
 protected:
  void write(const BamBuilder& file) const { file.write(folder_, "a.bam"); }
  BAM open() const { return BAM(folder_.path("a.bam")); }
  Path out() const { return folder_.path("t"); }
  std::string written() const { return folder_.read("t"); }

  TempDir folder_;
};

// ---- to_bam ------------------------------------------------------------------------------------

TEST_F(FromBam, ToBamCopiesHeaderAndRecordsByteForByte) {
  write(rich_file());
  open().to_bam(out(), nullptr, 0, {});
  EXPECT_EQ(decode_bgzf(written()), rich_file().content());
  EXPECT_TRUE(has_end_marker(written()));
}

TEST_F(FromBam, ToBamKeepsHeaderTextThatDoesNotFitItsDictionary) {
  const std::string text = "@SQ\tSN:other\tLN:1\nno newline" + std::string(2, '\0');
  const BamBuilder file = BamBuilder().text(text).ref("chr1", 4000000000U).ref("", 0);
  write(file);
  open().to_bam(out(), nullptr, 0, {});
  EXPECT_EQ(decode_bgzf(written()), file.content());
}

TEST_F(FromBam, ToBamLooksAtNoReferenceIndexUnlessReferencesAreGiven) {
  BamBuilder file = BamBuilder().refs(1, 100);
  file.record(RecordBuilder("a").at(5, 9).mate(70000, 1)).record(RecordBuilder("b").at(-9, 9));
  write(file);
  open().to_bam(out(), nullptr, 0, {});
  EXPECT_EQ(decode_bgzf(written()), file.content());
}

TEST_F(FromBam, LastArgumentOfToBamDoesNotMatter) {
  write(rich_file());
  open().to_bam(out(), nullptr, 0, {}, true);
  const std::string with_true = written();
  open().to_bam(out(), nullptr, 0, {}, false);
  EXPECT_EQ(written(), with_true);
}

// ---- to_sam ------------------------------------------------------------------------------------

TEST_F(FromBam, ToSamWritesLinesWithOptionalFields) {
  write(rich_file());
  open().to_sam(out(), nullptr, 0, false);
  EXPECT_EQ(written(), sam_lines_of(decode_bam(rich_file().bytes())));
}

TEST_F(FromBam, ToSamWithHeaderWritesItsTextFirst) {
  write(rich_file());
  open().to_sam(out(), nullptr, 0, true);
  EXPECT_EQ(written(),
            "@HD\tVN:1.6\tSO:coordinate\n@CO\tx\n" + sam_lines_of(decode_bam(rich_file().bytes())));
  const unsigned second = 2;
  open().to_sam(out(), &second, 1, true);
  EXPECT_EQ(written_names(folder_, "t"), (Names{"pair"}));
}

TEST_F(FromBam, HeaderTextEndsInOneNewlineHoweverItIsStored) {
  for (const std::string& end : {std::string(), std::string("\n\n"), std::string("\0\0", 2)}) {
    write(BamBuilder().text("@CO\tx" + end));
    open().to_sam(out(), nullptr, 0, true);
    EXPECT_EQ(written(), "@CO\tx\n");
    open().to_sam(out(), nullptr, 0, false);
    EXPECT_EQ(written(), "");
  }
}

TEST_F(FromBam, ToSamOfAReferenceOutsideTheDictionaryRaisesReferenceIDNotFound) {
  const RecordBuilder sound = RecordBuilder("sound").at(0, 9);
  write(BamBuilder().refs(1, 100).record(sound).record(RecordBuilder().at(1, 9)));
  EXPECT_KIND(open().to_sam(out(), nullptr, 0, false), ReferenceIDNotFound, u"1");
  EXPECT_EQ(written(), "sound\t0\tchr1\t10\t0\t*\t*\t0\t0\t*\t*\n");
  write(BamBuilder().refs(1, 100).record(sound).record(RecordBuilder().at(0, 9).mate(77, 9)));
  EXPECT_KIND(open().to_sam(out(), nullptr, 0, false), ReferenceIDNotFound, u"77");
  EXPECT_EQ(written(), "sound\t0\tchr1\t10\t0\t*\t*\t0\t0\t*\t*\n");
}

TEST_F(FromBam, ToSamOfAnUnknownOptionalFieldRaisesTheErrorOfTheLine) {
  write(BamBuilder().record(RecordBuilder("a")).record(RecordBuilder("b").tag_bytes("XX?1")));
  EXPECT_NE(outcome_of([&] { open().to_sam(out(), nullptr, 0, false); }), "ok");
  const unsigned first = 1;
  EXPECT_NO_THROW(open().to_sam(out(), &first, 1, false));
  EXPECT_NO_THROW(open().to_fastq(out(), nullptr, 0));
}

// ---- to_fastq, to_fasta ------------------------------------------------------------------------

TEST_F(FromBam, FastqAndFastaHaveTheReadsAsTheyAreStored) {
  write(rich_file());
  const std::vector<DecodedRecord> records = decode_bam(rich_file().bytes()).records;
  open().to_fastq(out(), nullptr, 0);
  EXPECT_EQ(written(), fastq_of(records));
  EXPECT_EQ(written().substr(0, 26), "@pair\nACGTNAC\n+\nIIIIIII\n@p");
  open().to_fasta(out(), nullptr, 0);
  EXPECT_EQ(written(), fasta_of(records));
}

TEST_F(FromBam, LongReadBetweenShortOnesLeavesNothingBehind) {
  BamBuilder file;
  for (const std::size_t size : {1U, 300000U, 2U, 0U, 5U}) {
    file.record(RecordBuilder("r" + std::to_string(size)).seq(std::string(size, 'A')));
  }
  write(file);
  open().to_fastq(out(), nullptr, 0);
  EXPECT_TRUE(written() == fastq_of(decode_bam(file.bytes()).records));
}

// ---- Damaged records ---------------------------------------------------------------------------

TEST_F(FromBam, RecordThatRunsPastItsBlockRaisesInvalidBAMFormatInEveryConversion) {
  for (const std::string format : {"bam", "sam", "fastq", "fasta"}) {
    for (const RecordBuilder& bad :
         {RecordBuilder("b").l_seq(1), RecordBuilder("b").l_seq(-1),
          RecordBuilder("b").n_cigar_op(9), RecordBuilder("b").l_read_name(9)}) {
      write(BamBuilder().record(RecordBuilder("a")).record(bad));
      BAM in = open();
      EXPECT_KIND(convert(in, format, out()), InvalidBAMFormat, folder_.path("a.bam"));
    }
  }
}

TEST_F(FromBam, RecordCutShortIsTheEnd) {
  const std::string cut = RecordBuilder("b").seq("ACGT").bytes();
  write(BamBuilder().record(RecordBuilder("a")).record_bytes(cut.substr(0, cut.size() - 1)));
  open().to_fasta(out(), nullptr, 0);
  EXPECT_EQ(written(), ">a\n*\n");
}

// ---- alignment_to_sam --------------------------------------------------------------------------

TEST_F(FromBam, AlignmentToSamIsTheLineWithoutNewline) {
  write(rich_file());
  const DecodedBam decoded = decode_bam(rich_file().bytes());
  BAM in = open();
  for (const DecodedRecord& expected : decoded.records) {
    ASSERT_TRUE(in.next_alignment());
    EXPECT_EQ(in.alignment_to_sam(in), decoded_line(expected, decoded));
    EXPECT_EQ(in.alignment_to_sam(in, true), decoded_line(expected, decoded));
    EXPECT_EQ(in.alignment_to_sam(in, false), decoded_line(expected, decoded, false));
  }
}

TEST_F(FromBam, AlignmentToSamTakesAnyRecordAgainstThisHeader) {
  write(rich_file());
  const BAM in = open();
  const Alignment other = RecordBuilder("x").at(2, 4).mate(2, 7).tag("NM", 'C', 3).record();
  EXPECT_EQ(in.alignment_to_sam(other), "x\t0\tHLA:A*01\t5\t0\t*\t=\t8\t0\t*\t*\tNM:i:3");
  EXPECT_EQ(in.alignment_to_sam(other, false), "x\t0\tHLA:A*01\t5\t0\t*\t=\t8\t0\t*\t*");
  const Alignment outside = RecordBuilder("x").at(3, 4).record();
  EXPECT_KIND(in.alignment_to_sam(outside), ReferenceIDNotFound, u"3");
  EXPECT_KIND(in.alignment_to_sam(outside, false), ReferenceIDNotFound, u"3");
}

// Names are copied up to a NUL and filled up with more of them.
TEST_F(FromBam, AlignmentToSamHasAllCharactersOfALineWithNuls) {
  write(rich_file());
  RecordBuilder read;
  read.stored_name(std::string("a\0b\0", 4)).l_read_name(4);
  const std::string line = open().alignment_to_sam(read.record(), true);
  EXPECT_EQ(line, std::string("a\0\0", 3) + "\t0\t*\t0\t0\t*\t*\t0\t0\t*\t*");
}

// ---- reduce_ref_count --------------------------------------------------------------------------

using Counts = std::vector<int>;

class ReduceRefCount : public FromBam {
 protected:
  ReduceRefCount() { write(rich_file()); }
  Counts reduced(int ref, const Counts& counts) const {
    return open().reduce_ref_count(RecordBuilder().at(ref, 5).record(), counts);
  }
};

TEST_F(ReduceRefCount, CountsAtTheReferencePlusOneAndGrowsToIt) {
  EXPECT_EQ(reduced(-1, {}), (Counts{1}));
  EXPECT_EQ(reduced(0, {}), (Counts{0, 1}));
  EXPECT_EQ(reduced(3, {5}), (Counts{5, 0, 0, 0, 1}));
  EXPECT_EQ(reduced(1, {5, 6, 7}), (Counts{5, 6, 8}));
}

TEST_F(ReduceRefCount, LongerListsKeepTheirLengthAndTheCallersListStays) {
  const Counts counts = {1, 2, 3, 4, 5};
  EXPECT_EQ(reduced(0, counts), (Counts{1, 3, 3, 4, 5}));
  EXPECT_EQ(counts, (Counts{1, 2, 3, 4, 5}));
}

TEST_F(ReduceRefCount, ReferencesBelowMinusOneCountAsMinusOne) {
  EXPECT_EQ(reduced(-2, {4, 5}), (Counts{5, 5}));
  EXPECT_EQ(reduced(-2147483647 - 1, {}), (Counts{1}));
}

TEST_F(ReduceRefCount, ReferenceBeyondTheHeaderAndAMillionRaisesReferenceIDNotFound) {
  EXPECT_EQ(reduced((1 << 20) - 1, {}).size(), (1U << 20) + 1);
  EXPECT_KIND(reduced(1 << 20, {}), ReferenceIDNotFound, u"1048576");
  EXPECT_KIND(reduced(2147483647, {}), ReferenceIDNotFound, u"2147483647");
}

}  // namespace
}  // namespace readkit::convert_from_bam_test
