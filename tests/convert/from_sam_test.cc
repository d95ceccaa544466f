#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sam/sam.h"
#include "support/bgzf_builder.h"
#include "support/conversions.h"
#include "support/expect_kind.h"
#include "support/full_disk.h"
#include "support/sam_line.h"
#include "support/sam_model.h"
#include "support/samtools.h"

namespace readkit::convert_from_sam_test {
namespace {

const std::string kHeader = "@HD\tVN:1.6\n@SQ\tSN:chr1\tLN:1000\n@SQ\tSN:chr2\tLN:2000\n@CO\tx\n";

std::string line_of(const SamLine& line) { return line.text() + '\n'; }
std::string named(const std::string& name) { return line_of({.qname = name}); }

class FromSam : public testing::Test {
 protected:
  void write(const std::string& text) const { folder_.write("a.sam", text); }
  SAM open() const { return {folder_.path("a.sam"), "r"}; }
  Path out() const { return folder_.path("t"); }
  std::string written() const { return folder_.read("t"); }
  std::string bam_content() const { return decode_bgzf(written()); }

  TempDir folder_;
};

// Lines with fields of all kinds.
std::string rich_sam() {
  return kHeader + named("plain") +
         line_of(
             {.qname = "mate", .rname = "chr2", .rnext = "chr1", .tags = "\tNM:i:3\tXZ:Z:a b"}) +
         line_of({.qname = "none",
                  .flag = "4",
                  .rname = "*",
                  .pos = "0",
                  .cigar = "*",
                  .rnext = "*",
                  .pnext = "0",
                  .seq = "",
                  .qual = ""}) +
         line_of({.qname = "back", .flag = "16", .seq = "AACCGGTTNN", .qual = "!\"#$%&'()*"}) +
         line_of({.qname = "absent", .qual = "*", .tags = "\tXA:A:q\tXf:f:1.5"});
}

// ---- to_bam ------------------------------------------------------------------------------------

TEST_F(FromSam, ToBamHasHeaderAndParsedRecords) {
  write(rich_sam());
  open().to_bam(out());
  const ModelSam model = model_sam(rich_sam());
  const DecodedBam bam = decode_bam(written());
  EXPECT_EQ(bam.text, kHeader);
  EXPECT_EQ(bam.refs, model.refs);
  ASSERT_EQ(names_of(bam.records), (Names{"plain", "mate", "none", "back", "absent"}));
  for (std::size_t i = 0; i < bam.records.size(); ++i) {
    EXPECT_EQ(bam.records[i].bytes.substr(4), model.lines[i].record);
  }
  EXPECT_TRUE(has_end_marker(written()));
}

TEST_F(FromSam, BothFormsOfToBamGiveTheSameFile) {
  write(rich_sam());
  open().to_bam(out());
  const std::string all = written();
  open().to_bam(out(), nullptr, 0, {});
  EXPECT_EQ(written(), all);
  open().to_bam(out(), nullptr, 0, {}, true);
  EXPECT_EQ(written(), all);
}

TEST_F(FromSam, FormWithoutOrdinalsBeginsAtTheFirstRecordEachTime) {
  write(rich_sam());
  SAM in = open();
  in.to_bam(out());
  const std::string all = written();
  in.to_bam(out());
  EXPECT_EQ(written(), all);
  EXPECT_KIND(in.to_bam(folder_.path("a.sam")), CannotOpenOutFile, folder_.path("a.sam"));
  EXPECT_KIND(in.to_bam(folder_.path("no/t")), FileNotFound, folder_.path("no/t"));
  EXPECT_EQ(folder_.read("a.sam"), rich_sam());
}

TEST_F(FromSam, HeaderLinesAloneGiveABamWithThatHeader) {
  write(kHeader);
  open().to_bam(out());
  // In the place of the names' NUL stands what ended them in the header line.
  EXPECT_EQ(bam_content(), "BAM\1" + little_endian(kHeader.size(), 4) + kHeader +
                               little_endian(2, 4) + little_endian(5, 4) + "chr1\t" +
                               little_endian(1000, 4) + little_endian(5, 4) + "chr2\t" +
                               little_endian(2000, 4));
}

TEST_F(FromSam, EmptyFileGivesABamWithoutTextAndReferences) {
  write("");
  open().to_bam(out());
  EXPECT_EQ(bam_content(), std::string("BAM\1\0\0\0\0\0\0\0\0", 12));
}

TEST_F(FromSam, ThereAndBackGivesTheLinesAgain) {
  const std::string sam = kHeader + named("a") + line_of({.qname = "b", .tags = "\tNM:i:300"});
  write(sam);
  open().to_bam(folder_.path("t.bam"));
  BAM(folder_.path("t.bam")).to_sam(out(), nullptr, 0, true);
  EXPECT_EQ(written(), sam);
}

// ---- to_sam ------------------------------------------------------------------------------------

TEST_F(FromSam, ToSamWithHeaderWritesItsTextFirst) {
  const std::string lines = named("a") + named("b") + named("c");
  write(kHeader + lines);
  open().to_sam(out(), nullptr, 0, true);
  EXPECT_EQ(written(), kHeader + lines);
  open().to_sam(out(), nullptr, 0, false);
  EXPECT_EQ(written(), lines);
  const unsigned chosen[] = {1, 3};
  open().to_sam(out(), chosen, 2, true);
  EXPECT_EQ(written(), kHeader + named("a") + named("c"));
}

TEST_F(FromSam, ToSamGivesTheTextThatTheBamOfTheSameRecordsGives) {
  write(rich_sam());
  SAM in = open();
  in.to_bam(folder_.path("t.bam"));
  for (const bool with_header : {true, false}) {
    in.to_sam(out(), nullptr, 0, with_header);
    const std::string from_sam = written();
    BAM(folder_.path("t.bam")).to_sam(out(), nullptr, 0, with_header);
    EXPECT_EQ(from_sam, written());
  }
  EXPECT_EQ(written(), sam_lines_of(decode_bam(folder_.read("t.bam"))));
}

TEST_F(FromSam, EmptyHeaderTextIsOneEmptyLine) {
  write(named("a"));
  open().to_sam(out(), nullptr, 0, true);
  EXPECT_TRUE(written().starts_with("\na\t"));
}

TEST_F(FromSam, EmptyLinesAndLineEndsOfOtherSystemsAreNotCopied) {
  write(kHeader + "\n\n" + named("a") + "\r\n" + SamLine{.qname = "b"}.text() + "\r\n\n" +
        SamLine{.qname = "c"}.text());
  open().to_sam(out(), nullptr, 0, false);
  EXPECT_EQ(written(), named("a") + named("b") + named("c"));
  const unsigned chosen[] = {2, 3};
  open().to_fasta(out(), chosen, 2);
  EXPECT_EQ(written(), ">b\nACGTACGTAC\n>c\nACGTACGTAC\n");
}

TEST_F(FromSam, ReferencesThatTheHeaderLacksBecomeStars) {
  write(kHeader + line_of({.rname = "chr9", .rnext = "chr8"}));
  open().to_sam(out(), nullptr, 0, false);
  EXPECT_EQ(written(), line_of({.rname = "*", .rnext = "*"}));
}

// ---- to_fastq, to_fasta ------------------------------------------------------------------------

TEST_F(FromSam, FastqAndFastaHaveTheTextOfTheLines) {
  write(rich_sam());
  const std::string usual = "ACGTACGTAC\n+\nIIIIIIIIII\n";
  open().to_fastq(out(), nullptr, 0);
  EXPECT_EQ(written(), "@plain\n" + usual + "@mate\n" + usual +
                           "@none\n*\n+\n*\n"
                           "@back\nAACCGGTTNN\n+\n!\"#$%&'()*\n"
                           "@absent\nACGTACGTAC\n+\n*\n");
  open().to_fasta(out(), nullptr, 0);
  EXPECT_EQ(written(),
            ">plain\nACGTACGTAC\n>mate\nACGTACGTAC\n>none\n*\n>back\nAACCGGTTNN\n"
            ">absent\nACGTACGTAC\n");
}

TEST_F(FromSam, SequenceOfNoLettersIsAStarWhateverTheQualitiesAre) {
  // 256 letters count as none.
  for (const std::string& seq : {std::string(), std::string(256, 'A')}) {
    write(line_of({.cigar = "*", .seq = seq, .qual = "III"}));
    open().to_fastq(out(), nullptr, 0);
    EXPECT_EQ(written(), "@r1\n*\n+\n*\n");
    open().to_fasta(out(), nullptr, 0);
    EXPECT_EQ(written(), ">r1\n*\n");
  }
}

// ---- Lines that cannot be parsed ---------------------------------------------------------------

template <typename Error>
std::string outcome_of_throwing(const char* what) {
  return outcome_of([&] { throw Error(what); });
}

// A line, and what it makes every conversion fail with.
struct BadLine {
  std::string text;
  std::string outcome;
};

TEST_F(FromSam, ErrorOfALineEndsTheConversionWithWhatWasWritten) {
  const std::string invalid =
      describe(expected_id("InvalidSAMFormat"), expected_arguments(folder_.path("a.sam")));
  const std::vector<BadLine> rows = {
      {"too\tfew\tfields\n", invalid},
      {line_of({.qname = std::string(255, 'n')}), invalid},
      {line_of({.seq = "*", .qual = "*"}), invalid},
      {line_of({.cigar = "10"}), outcome_of_throwing<std::out_of_range>("basic_string")},
      {line_of({.tags = "\tXB:B:c,x"}), outcome_of_throwing<std::invalid_argument>("stol")},
  };
  for (const auto& [text, outcome] : rows) {
    write(kHeader + named("a") + text + named("b"));
    for (const std::string format : {"bam", "sam", "fastq", "fasta"}) {
      SAM in = open();
      const Path to = folder_.path("t." + format);
      EXPECT_EQ(outcome_of([&] { convert(in, format, to); }), outcome) << format << text;
      EXPECT_EQ(written_names(folder_, "t." + format), (Names{"a"})) << format << text;
    }
  }
}

TEST_F(FromSam, LineThatCannotBeParsedDoesNotMatterBehindTheLastOrdinal) {
  write(kHeader + named("a") + "cut\n");
  const unsigned first = 1;
  open().to_bam(out(), &first, 1, {});
  EXPECT_EQ(names_in(folder_, "t"), (Names{"a"}));
}

TEST_F(FromSam, OpenFileCanBeConvertedAfterAnError) {
  write(kHeader + named("a") + "cut\n" + named("b"));
  SAM in = open();
  EXPECT_KIND(in.to_bam(out()), InvalidSAMFormat, folder_.path("a.sam"));
  const unsigned first = 1;
  in.to_fasta(out(), &first, 1);
  EXPECT_EQ(written(), ">a\nACGTACGTAC\n");
}

}  // namespace
}  // namespace readkit::convert_from_sam_test
