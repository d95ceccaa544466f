// samWrite and samWriteUnaligned: append the SAM lines of some records of a BAM file to a text
// file.
#include <cstddef>
#include <filesystem>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/hostile_calls.h"
#include "support/index_model.h"
#include "support/write_sam_words.h"

namespace readkit::gateway_write_sam_test {
namespace {

class WriteSam : public WriteSamTest {};

// ---- samWrite: which records -------------------------------------------------------------------

TEST_F(WriteSam, WritesTheRecordsThatOverlapTheRegion) {
  EXPECT_EQ(region("chr1:1-100"), (Names{"first", "clipped", "deleted", "unmapped"}));
  EXPECT_EQ(region("chr1:20-21"), (Names{"clipped"}));
  EXPECT_EQ(region("chr1:19-21"), (Names{"first", "clipped"}));
  EXPECT_EQ(region("chr1:118-118"), (Names{"deleted"}));
  EXPECT_EQ(region("chr1:119-150,000"), (Names{}));
  EXPECT_EQ(region("chr1:119-150,001"), (Names{"far"}));
  EXPECT_EQ(region("chr2:1-100"), (Names{"other"}));
  // Empty regions.
  EXPECT_EQ(region("chr1:10-9"), (Names{"first"}));
  EXPECT_EQ(region("chr1:20-19"), (Names{}));
  EXPECT_EQ(region("chr1:31-30"), (Names{"deleted", "unmapped"}));
}

TEST_F(WriteSam, RegionWithoutRecordsMakesAnEmptyFile) {
  write_region("chr2:50-60");
  EXPECT_EQ(folder_.read("out"), "");
}

TEST_F(WriteSam, ContainedCountsBasesAndNotTheAlignedPart) {
  EXPECT_EQ(region("chr1:10-19", true), (Names{"first"}));
  EXPECT_EQ(region("chr1:11-19", true), (Names{}));
  EXPECT_EQ(region("chr1:10-18", true), (Names{}));
  // Two bases aligned, eight clipped: it reaches to 30, not to 22.
  EXPECT_EQ(region("chr1:21-29", true), (Names{"deleted"}));
  EXPECT_EQ(region("chr1:21-30", true), (Names{"clipped", "deleted"}));
  // Four bases: it ends at 28, though it is aligned up to 118.
  EXPECT_EQ(region("chr1:25-28", true), (Names{"deleted"}));
  EXPECT_EQ(region("chr1:25-27", true), (Names{}));
  EXPECT_EQ(region("chr1:25-34", true), (Names{"deleted", "unmapped"}));
}

TEST_F(WriteSam, ContainedOfAPlaceAtTheEndOfTheNumbersDoesNotOverflow) {
  write(BamBuilder().refs(1, 100).record(
      RecordBuilder("last").at(0, 2147483646).bin(0).cigar("4M").seq("ACGT")));
  folder_.write("a.bam.bai", encode_bai({.refs = std::vector<ModelReference>(9)}));
  EXPECT_EQ(region("chr1:1-2147483647", false), (Names{"last"}));
  EXPECT_EQ(region("chr1:1-2147483647", true), (Names{}));
}

TEST_F(WriteSam, FlagsAreTrueForAnyNumberButZero) {
  const std::vector<std::pair<double, bool>> rows = {
      {0, false},   {-0.0, false}, {std::numeric_limits<double>::quiet_NaN(), false},
      {1, true},    {-1, true},    {0.25, true},
      {1e300, true}};
  for (const auto& [number, is_true] : rows) {
    call_gateway("samWrite", 0, with(4, host::make_scalar(number)));
    EXPECT_EQ(folder_.read("out").find("NM:i:3") != std::string::npos, is_true) << number;
    taken();
    Inputs list = with(5, host::make_row<double>({number, 1 - number}));  // the first counts
    list[3] = text("chr1:11-19");
    call_gateway("samWrite", 0, list);
    EXPECT_EQ(taken(), is_true ? Names{} : Names{"first"}) << number;
    call_gateway("samWriteUnaligned", 0, unaligned_with(2, host::make_scalar(number)));
    EXPECT_EQ(folder_.read("out").find("XX:i:1") != std::string::npos, is_true) << number;
    taken();
  }
}

// ---- samWrite: lines ---------------------------------------------------------------------------

TEST_F(WriteSam, LinesAreTheSamLinesWithOrWithoutOptionalFields) {
  const std::string line = "first\t0\tchr1\t10\t0\t10M\t*\t0\t0\tAAAAAAAAAA\t*";
  write_region("chr1:10-10", false);
  EXPECT_EQ(folder_.read("out"), line + "\n");
  write_region("chr1:10-10", true, false, "a.bam", "tagged");
  EXPECT_EQ(folder_.read("tagged"), line + "\tNM:i:3\n");
}

TEST_F(WriteSam, OutputIsAppendedTo) {
  folder_.write("out", "there before");
  write_region("chr2:1-100");
  const std::string once = folder_.read("out");
  EXPECT_TRUE(once.starts_with("there beforeother\t"));
  write_region("chr2:1-100");
  EXPECT_EQ(folder_.read("out"), once + once.substr(12));
  write_unaligned();
  EXPECT_TRUE(folder_.read("out").starts_with(once + once.substr(12) + "none\t"));
}

TEST_F(WriteSam, LineEndsAtANul) {
  RecordBuilder with_nul("x");
  with_nul.stored_name(std::string("ab\0cd\0", 6)).l_read_name(6).at(0, 5);
  write(BamBuilder()
            .refs(2, 100)
            .record(with_nul)
            .record(RecordBuilder("y").at(0, 5).tag("XA", 'A', 0).tag("XB", 'C', 1))
            .record(RecordBuilder("z").at(0, 5)));
  folder_.write("a.bam.bai", encode_bai({.refs = std::vector<ModelReference>(9)}));
  write_region("chr1:1-9", true);
  EXPECT_EQ(folder_.read("out"),
            "ab\n"
            "y\t0\tchr1\t6\t0\t*\t*\t0\t0\t*\t*\tXA:A:\n"
            "z\t0\tchr1\t6\t0\t*\t*\t0\t0\t*\t*\n");
}

TEST_F(WriteSam, LongLinesAfterShortOnesAndBackComeOutWhole) {
  BamBuilder file = BamBuilder().refs(2, 1000000);
  for (const std::size_t bases : {1U, 400000U, 2U}) {
    file.record(RecordBuilder("r").at(0, 5).seq(std::string(bases, 'A')));
  }
  write(file);
  folder_.write("a.bam.bai", encode_bai({.refs = std::vector<ModelReference>(9)}));
  write_region("chr1:1-9");
  std::string expected;
  for (const std::size_t bases : {1U, 400000U, 2U}) {
    expected += "r\t0\tchr1\t6\t0\t*\t*\t0\t0\t" + std::string(bases, 'A') + "\t*\n";
  }
  EXPECT_TRUE(folder_.read("out") == expected);
}

// ---- samWrite: the index -----------------------------------------------------------------------

TEST_F(WriteSam, BaiIsAppendedToTheNameOfTheIndexWhateverItsEnding) {
  EXPECT_CALL_FAILS(write_region("chr1:1-9", false, false, "a.bam.bai"),
                    "seqlab:readkit:FileNotFound", folder_.path("a.bam.bai.bai"));
  EXPECT_FALSE(folder_.exists("out"));
  std::filesystem::copy_file(folder_.native("a.bam.bai"), folder_.native("a.bam.bai.bai"));
  EXPECT_NO_THROW(write_region("chr1:1-9", false, false, "a.bam.bai"));
}

TEST_F(WriteSam, MissingIndexRaisesFileNotFoundWithItsName) {
  EXPECT_CALL_FAILS(write_region("chr1:1-9", false, false, "b"), "seqlab:readkit:FileNotFound",
                    folder_.path("b.bai"));
  EXPECT_CALL_FAILS(call_gateway("samWrite", 0, with(1, text(""))), "seqlab:readkit:FileNotFound",
                    u".bai");
  EXPECT_FALSE(folder_.exists("out"));
}

TEST_F(WriteSam, DamagedIndexRaisesTheErrorsOfTheIndex) {
  folder_.write("bad.bai", "BAI\2");
  folder_.write("cut.bai", "BA");
  EXPECT_CALL_FAILS(write_region("chr1:1-9", false, false, "bad"), kNotBai,
                    folder_.path("bad.bai"));
  EXPECT_CALL_FAILS(write_region("chr1:1-9", false, false, "cut"), kIndexCutShort,
                    folder_.path("cut.bai"));
  EXPECT_FALSE(folder_.exists("out"));
}

TEST_F(WriteSam, IndexOfAnotherFileIsNotUsed) {
  folder_.write("other.bai", encode_bai({.refs = std::vector<ModelReference>(9)}));
  write_region("chr1:1-100", false, false, "other");
  EXPECT_EQ(taken(), (Names{"first", "clipped", "deleted", "unmapped"}));
}

TEST_F(WriteSam, IndexThatFitsIsUsed) {
  // It has no chunks: nothing is found.
  folder_.write("empty.bai", encode_bai({.refs = std::vector<ModelReference>(2)}));
  write_region("chr1:1-100", false, false, "empty");
  EXPECT_EQ(taken(), (Names{}));
}

// ---- samWriteUnaligned -------------------------------------------------------------------------

TEST_F(WriteSam, UnalignedAreRecordsWithoutReference) {
  write_unaligned();
  EXPECT_EQ(taken(), (Names{"none", "below"}));
}

TEST_F(WriteSam, UnalignedLinesAreSamLinesWithOrWithoutOptionalFields) {
  const std::string below = "below\t4\t*\t6\t0\t*\t*\t0\t0\t*\t*\n";
  write_unaligned(false);
  EXPECT_EQ(folder_.read("out"), "none\t4\t*\t0\t0\t*\t*\t0\t0\tAC\t*\n" + below);
  write_unaligned(true, "tagged");
  EXPECT_EQ(folder_.read("tagged"), "none\t4\t*\t0\t0\t*\t*\t0\t0\tAC\t*\tXX:i:1\n" + below);
}

TEST_F(WriteSam, UnalignedNeedsNoIndexAndMakesAFileEvenForNoRecord) {
  std::filesystem::remove(folder_.native("a.bam.bai"));
  write(BamBuilder().refs(1, 100).record(RecordBuilder().at(0, 5)));
  write_unaligned();
  EXPECT_EQ(folder_.read("out"), "");
  folder_.write("out", "kept\n");
  write_unaligned();
  EXPECT_EQ(folder_.read("out"), "kept\n");
}

}  // namespace
}  // namespace readkit::gateway_write_sam_test
