// SAM and BAM files as sources of a scan. What they have in common is tested with both, from the
// same reads.
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quality/sources.h"
#include "support/bam_builder.h"
#include "support/expect_kind.h"
#include "support/hostile_calls.h"
#include "support/quality_scans.h"
#include "support/sam_line.h"
#include "support/temp_dir.h"

namespace readkit::quality_from_alignments_test {
namespace {

// A read on "chr1" unless it has no reference; "*" where letters or qualities are missing.
struct Read {
  std::string bases;
  std::string qualities;
  bool has_reference = true;
  int flag = 0;
};
using Reads = std::vector<Read>;

Read sound(std::size_t length) { return {std::string(length, 'A'), std::string(length, 'I')}; }
Read without_reference(Read read) {
  read.has_reference = false;
  read.flag = 4;
  return read;
}
const Read kBadLength = {"AAAA", "*"};
const Read kBadQuality = {"AAAA", "IIKI"};

BamBuilder bam_of(const Reads& reads) {
  BamBuilder file;
  file.refs(1, 1000);
  for (const Read& read : reads) {
    RecordBuilder record("r");
    if (read.has_reference) record.at(0, 9);
    record.flag(read.flag).seq(read.bases);
    if (read.qualities != "*") record.qual(read.qualities);
    file.record(record);
  }
  return file;
}

std::string sam_of(const Reads& reads) {
  std::string text = "@SQ\tSN:chr1\tLN:1000\n";
  for (const Read& read : reads) {
    SamLine line;
    line.rname = read.has_reference ? "chr1" : "*";
    line.flag = std::to_string(read.flag);
    line.cigar = "*";
    line.seq = read.bases == "*" ? "" : read.bases;  // "*" is no sequence that a line may have
    line.qual = read.qualities;
    line.tags = "\tXA:A:x";  // a "*" that ends the line would be a quality
    text += line.text() + '\n';
  }
  return text;
}

distribution_t scan_bam(const Path& path, const encoding_t& encoding = plain_encoding()) {
  return scanned(encoding, [&](const encoding_t* settings, distribution_t* distribution) {
    collectDataFromBAM(path.text(), settings, distribution);
  });
}
distribution_t scan_sam(const Path& path, const encoding_t& encoding = plain_encoding()) {
  return scanned(encoding, [&](const encoding_t* settings, distribution_t* distribution) {
    collectDataFromSAM(path.text(), settings, distribution);
  });
}

class FromAlignments : public testing::TestWithParam<std::string> {
 protected:
  bool is_bam() const { return GetParam() == "bam"; }
  distribution_t scan_file(const Path& path, const encoding_t& encoding = plain_encoding()) const {
    return is_bam() ? scan_bam(path, encoding) : scan_sam(path, encoding);
  }
  distribution_t scan(const Reads& reads, const encoding_t& encoding = plain_encoding()) const {
    return scan_file(folder_.write("a", is_bam() ? bam_of(reads).bytes() : sam_of(reads)),
                     encoding);
  }
  Lengths counted(const Reads& reads, const encoding_t& encoding = plain_encoding()) const {
    return scan(reads, encoding).length_histogram;
  }

  TempDir folder_;
};

INSTANTIATE_TEST_SUITE_P(Sources, FromAlignments, testing::Values("bam", "sam"),
                         [](const auto& param) { return param.param; });

// Reads without a reference left out.
encoding_t only_with_reference(encoding_t encoding = plain_encoding()) {
  encoding.flag = 0;
  return encoding;
}

// ---- Counting ----------------------------------------------------------------------------------

TEST_P(FromAlignments, EveryReadIsCounted) {
  const distribution_t found = scan({{"ACGT", "!5IJ"}, {"GN", "!I"}});
  EXPECT_EQ(found.read_count, 2);
  EXPECT_EQ(found.length_histogram, (Lengths{{2, 1}, {4, 1}}));
  EXPECT_EQ(found.base_matrix[0], 1);      // A and
  EXPECT_EQ(found.base_matrix[2], 1);      // G at the first position
  EXPECT_EQ(found.base_matrix[5 + 4], 1);  // N
  EXPECT_EQ(found.quality_matrix[0], 2);
  EXPECT_EQ(found.quality_matrix[3 * 42 + 41], 1);
  EXPECT_EQ(found.average_histogram[25], 1);  // 101 / 4
}

TEST_P(FromAlignments, FileWithoutRecordsHasNoReads) {
  const distribution_t found = scan({});
  EXPECT_EQ(found.read_count, 0);
  EXPECT_EQ(found.length_histogram, Lengths());
}

TEST_P(FromAlignments, ManyReads) {
  Reads reads(300, sound(5));
  reads.push_back(sound(255));
  EXPECT_EQ(counted(reads), (Lengths{{5, 300}, {255, 1}}));
}

TEST_P(FromAlignments, ReadWithoutSequenceAndQualitiesIsOneStar) {
  const distribution_t found = scan({{"*", "*"}});
  EXPECT_EQ(found.length_histogram, (Lengths{{1, 1}}));
  EXPECT_EQ(found.base_matrix[4], 1);
  EXPECT_EQ(found.quality_matrix['*' - 33], 1);
  encoding_t high = plain_encoding();
  high.min_quality = 10;
  EXPECT_KIND(scan({{"*", "*"}}, high), InvalidData);
}

TEST_P(FromAlignments, MissingQualitiesAreAsLongAsOneBase) {
  EXPECT_KIND(scan({{"AC", "*"}}), InvalidData);
  EXPECT_KIND(scan({sound(3), {"ACGT", "*"}}), InvalidData);
  const distribution_t found = scan({{"A", "*"}});
  EXPECT_EQ(found.length_histogram, (Lengths{{1, 1}}));
  EXPECT_EQ(found.base_matrix[0], 1);
  EXPECT_EQ(found.quality_matrix['*' - 33], 1);
}

TEST_P(FromAlignments, QualitiesOutOfRangeRaiseInvalidData) {
  EXPECT_EQ(counted({{"AA", "!J"}}), (Lengths{{2, 1}}));
  EXPECT_KIND(scan({{"AA", "IK"}}), InvalidData);
  EXPECT_KIND(scan({{"AA", "KI"}}), InvalidData);
  encoding_t narrow = plain_encoding();
  narrow.min_quality = 10;
  EXPECT_EQ(counted({{"AA", "+J"}}, narrow), (Lengths{{2, 1}}));
  EXPECT_KIND(scan({{"AA", "I*"}}, narrow), InvalidData);
}

TEST_P(FromAlignments, AverageWithoutAPlaceRaisesOutOfRange) {
  encoding_t encoding = plain_encoding();
  encoding.min_quality = encoding.max_quality = 40;
  EXPECT_THROW(scan({sound(2)}, encoding), std::out_of_range);
}

// ---- Records without a reference ---------------------------------------------------------------

TEST_P(FromAlignments, FlagDecidesWhetherRecordsWithoutAReferenceAreCounted) {
  const Reads reads = {sound(1), without_reference(sound(2)), sound(3)};
  EXPECT_EQ(counted(reads), (Lengths{{1, 1}, {2, 1}, {3, 1}}));
  EXPECT_EQ(counted(reads, only_with_reference()), (Lengths{{1, 1}, {3, 1}}));
  encoding_t negative = plain_encoding();
  negative.flag = -1;
  EXPECT_EQ(counted(reads, negative).size(), 3U);
}

TEST_P(FromAlignments, TheReferenceCountsAndNotTheUnmappedBit) {
  Read placed = sound(1);
  placed.flag = 4;
  Read mapped_nowhere = without_reference(sound(2));
  mapped_nowhere.flag = 0;
  EXPECT_EQ(counted({placed, mapped_nowhere}, only_with_reference()), (Lengths{{1, 1}}));
}

TEST_P(FromAlignments, RecordsThatAreLeftOutAreNotChecked) {
  for (const Read& bad : {kBadLength, kBadQuality}) {
    const Reads reads = {sound(1), without_reference(bad), sound(3)};
    EXPECT_EQ(counted(reads, only_with_reference()), (Lengths{{1, 1}, {3, 1}}));
    EXPECT_KIND(scan(reads), InvalidData);
  }
}

// ---- Selection ---------------------------------------------------------------------------------

TEST_P(FromAlignments, OnlySelectedRecordsAreCounted) {
  const Reads reads = {sound(1), sound(2), sound(3), sound(4)};
  for (const auto& [records, lengths] : selections_of_four()) {
    EXPECT_EQ(counted(reads, selecting(records)), lengths) << testing::PrintToString(records);
  }
}

TEST_P(FromAlignments, RecordsThatAreNotSelectedAreCheckedToo) {
  for (const Read& bad : {kBadLength, kBadQuality}) {
    EXPECT_KIND(scan({bad, sound(2)}, selecting({1})), InvalidData);
    EXPECT_KIND(scan({sound(1), bad, sound(3)}, selecting({0, 2})), InvalidData);
    EXPECT_KIND(scan({sound(1), bad}, selecting({1})), InvalidData);
  }
}

TEST_P(FromAlignments, RecordBehindTheLastSelectedOneIsCheckedAndNoFurtherOne) {
  for (const Read& bad : {kBadLength, kBadQuality}) {
    EXPECT_KIND(scan({sound(1), bad}, selecting({0})), InvalidData);
    EXPECT_KIND(scan({bad}, selecting({})), InvalidData);
    EXPECT_EQ(counted({sound(1), sound(2), bad}, selecting({0})), (Lengths{{1, 1}}));
    EXPECT_EQ(counted({sound(1), bad}, selecting({})), Lengths());
    // What is left out is not the one that ends the scan.
    EXPECT_KIND(
        scan({sound(1), without_reference(sound(2)), bad}, only_with_reference(selecting({0}))),
        InvalidData);
  }
}

TEST_P(FromAlignments, RecordsThatAreLeftOutHaveANumberThatIsNeverReached) {
  const Reads reads = {without_reference(sound(1)), sound(2), sound(3)};
  EXPECT_EQ(counted(reads, only_with_reference(selecting({1, 2}))), (Lengths{{2, 1}, {3, 1}}));
  EXPECT_EQ(counted(reads, only_with_reference(selecting({0, 1}))), Lengths());
}

// ---- Files -------------------------------------------------------------------------------------

TEST_P(FromAlignments, MissingFileRaisesFileNotFound) {
  EXPECT_KIND(scan_file(folder_.path("no")), FileNotFound, folder_.path("no"));
  EXPECT_KIND(scan_file(Path()), FileNotFound, u"");
}

TEST_P(FromAlignments, MalformedRecordRaisesTheErrorOfItsFile) {
  if (is_bam()) {
    const Path path = bam_of({sound(1)}).record(RecordBuilder().l_seq(-1)).write(folder_, "a");
    EXPECT_KIND(scan_file(path), InvalidBAMFormat, path);
  } else {
    const Path path = folder_.write("a", sam_of({sound(1)}) + "r\t0\tchr1\n");
    EXPECT_KIND(scan_file(path), InvalidSAMFormat, path);
  }
}

TEST_P(FromAlignments, WhatFollowsTheEndOfTheScanIsNotRead) {
  const Reads reads = {sound(1), sound(2)};
  const Path path = is_bam() ? bam_of(reads).record(RecordBuilder().l_seq(-1)).write(folder_, "a")
                             : folder_.write("a", sam_of(reads) + "r\t0\tchr1\n");
  EXPECT_EQ(scan_file(path, selecting({0})).length_histogram, (Lengths{{1, 1}}));
  EXPECT_THROW(scan_file(path, selecting({1})), MsgIdException);
}

TEST_P(FromAlignments, FileIsClosedHoweverTheScanEnds) {
  const std::size_t before = open_files();
  scan({sound(1)});
  scan({sound(1), sound(2)}, selecting({0}));
  EXPECT_KIND(scan({kBadLength}), InvalidData);
  EXPECT_EQ(open_files(), before);
}

class ScanOfBam : public testing::Test {
 protected:
  distribution_t scan(const RecordBuilder& record, const encoding_t& encoding = plain_encoding()) {
    return scan_bam(BamBuilder().record(record).write(folder_, "a.bam"), encoding);
  }
  TempDir folder_;
};

TEST_F(ScanOfBam, LongReadIsCountedWhole) {
  const std::size_t length = 150000;
  const RecordBuilder record =
      RecordBuilder().seq(std::string(length, 'A')).qual(std::string(length, 'I'));
  EXPECT_EQ(scan(record).length_histogram, (Lengths{{150000, 1}}));
}

TEST_F(ScanOfBam, QualitiesThatAreAllAbsentRaiseInvalidData) {
  EXPECT_KIND(scan(RecordBuilder().seq("ACGT")), InvalidData);
  EXPECT_KIND(scan(RecordBuilder().seq("ACGT").quals({255, 255, 255, 255})), InvalidData);
}

TEST_F(ScanOfBam, QualitiesFrom95OnAreOutOfEveryRange) {
  encoding_t wide = plain_encoding();
  wide.max_quality = 300;
  const distribution_t found = scan(RecordBuilder().seq("AC").quals({94, 0}), wide);
  EXPECT_EQ(found.quality_matrix[94], 1);
  // They wrap to negative characters, and from 223 on to those below '!'.
  for (const int quality : {95, 127, 128, 200, 222, 223, 224, 254, 255}) {
    EXPECT_KIND(scan(RecordBuilder().seq("AC").quals({0, quality}), wide), InvalidData);
  }
}

TEST_F(ScanOfBam, DamageOfTheFileRaisesItsErrors) {
  const Path path = folder_.path("a.bam");
  const BamBuilder file = bam_of({sound(1)});
  BamBuilder(file).without_marker().write(folder_, "a.bam");
  EXPECT_KIND(scan_bam(path), InvalidBAMFormat, path);
  folder_.write("a.bam", "no BAM file");
  EXPECT_KIND(scan_bam(path), InvalidBAMFormat, path);
  folder_.write("a.bam", file.bytes().substr(0, 40));
  EXPECT_KIND(scan_bam(path), BAMRead, path);
  const Path folder = to_path(folder_.folder());
  EXPECT_KIND(scan_bam(folder), InvalidBAMFormat, folder);
}

TEST(ScanOfSam, LinesEndAsTheSystemsDo) {
  const TempDir folder;
  std::string text = sam_of({sound(2), sound(3)});
  for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) {
    text.replace(at, 1, "\r\n");
  }
  const Lengths expected = {{2, 1}, {3, 1}};
  EXPECT_EQ(scan_sam(folder.write("a.sam", text)).length_histogram, expected);
  text = sam_of({sound(2), sound(3)});
  text.pop_back();
  EXPECT_EQ(scan_sam(folder.write("a.sam", text)).length_histogram, expected);
}

TEST(ScanOfSam, StarThatEndsTheLineIsAQuality) {
  const TempDir folder;
  const std::string line = "r\t4\t*\t0\t0\t*\t*\t0\t0\tAC\t*";
  const Path path = folder.write("a.sam", line + "\n");
  EXPECT_KIND(scan_sam(path), InvalidData);
  // Behind the line's end there is a quality of 255, which prints as the character before '!'.
  encoding_t low = plain_encoding();
  low.min_quality = -1;
  low.ignore_value = -2;
  const distribution_t found = scan_sam(path, low);
  EXPECT_EQ(found.length_histogram, (Lengths{{2, 1}}));
  EXPECT_EQ(found.quality_matrix['*' - 33 + 1], 1);
  EXPECT_EQ(found.quality_matrix[43], 1);
  // With a field behind it, it is the mark of missing qualities.
  EXPECT_KIND(scan_sam(folder.write("a.sam", line + "\tXA:A:x\n"), low), InvalidData);
}

TEST(ScanOfSam, CharactersBeyondAsciiAreOutOfRange) {
  const TempDir folder;
  encoding_t wide = plain_encoding();
  wide.max_quality = 300;
  EXPECT_KIND(scan_sam(folder.write("a.sam", sam_of({{"AC", "I\x80"}})), wide), InvalidData);
}

TEST(ScanOfSam, FolderRaisesSamRead) {
  const TempDir folder;
  const Path path = to_path(folder.folder());
  EXPECT_KIND(scan_sam(path), SAMRead, path);
}

}  // namespace
}  // namespace readkit::quality_from_alignments_test
