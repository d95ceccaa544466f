// scanQualities: what comes out, from every source.
#include "quality/scan_qualities.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/quality_scan_calls.h"

namespace readkit::quality_scan_qualities_test {
namespace {

TEST_F(SmallScans, SixOutputsOfASmallFile) {
  const Outputs out = scan(6);
  ASSERT_EQ(out.size(), 6U);
  EXPECT_EQ(matrix_of(out[0], 1, 3), (Values{0, 2, 2}));
  EXPECT_EQ(matrix_of(out[1], 4, 4), (Values{1, 0, 1, 2,  //
                                             1, 1, 1, 1,  //
                                             0, 0, 1, 2,  //
                                             0, 0, 1, 1}));
  Values gc(20);
  gc[0] = gc[19] = 1;
  gc[10] = 2;
  EXPECT_EQ(matrix_of(out[2], 1, 20), gc);
  EXPECT_EQ(matrix_of(out[3], 5, 4), (Values{2, 0, 1, 0, 1,  //
                                             0, 2, 1, 0, 1,  //
                                             0, 1, 2, 0, 0,  //
                                             0, 0, 0, 2, 0}));
  EXPECT_EQ(scalar_of<double>(out[4]), 4);
  EXPECT_EQ(matrix_of(out[5], 3, 2), (Values{2, 3, 4, 1, 1, 2}));
}

TEST_F(SmallScans, EverySourceGivesTheSame) {
  const std::vector<Values> expected = values_of(scan(6));
  options_.type = 2;
  options_.source = "a.sam";
  EXPECT_EQ(values_of(scan(6)), expected);
  options_.type = 3;
  options_.source = "a.bam";
  EXPECT_EQ(values_of(scan(6)), expected);
  Inputs list = options_.inputs(folder_);
  list[0] = host::make_scalar<std::int64_t>(4);
  list[1] = small_struct();
  EXPECT_EQ(values_of(call_gateway("scanQualities", 6, list)), expected);
}

TEST_F(SmallScans, FileNameMayBeAStringScalar) {
  Inputs list = options_.inputs(folder_);
  list[1] = host::make_string(folder_.text("a.fastq"));
  EXPECT_EQ(scalar_of<double>(call_gateway("scanQualities", 5, list)[4]), 4);
}

TEST_F(SmallScans, FewerOutputsAreTheFirstOnes) {
  const std::vector<Values> all = values_of(scan(6));
  for (std::size_t nlhs = 0; nlhs <= 6; ++nlhs) {
    const std::vector<Values> some = values_of(scan(static_cast<int>(nlhs)));
    ASSERT_EQ(some.size(), std::max<std::size_t>(nlhs, 1));
    EXPECT_TRUE(std::equal(some.begin(), some.end(), all.begin())) << nlhs;
  }
}

TEST_F(SmallScans, AllOutputsAreMadeWhateverIsAskedFor) {
  const Inputs list = options_.inputs(folder_);
  std::vector<const txArray*> prhs;
  for (const host::Owned& input : list) prhs.push_back(input.get());
  txArray* plhs[16] = {};
  doScanQualities(0, plhs, static_cast<int>(prhs.size()), prhs.data());
  for (int i = 0; i < 16; ++i) {
    const matrix::Owned output(plhs[i]);
    EXPECT_EQ(output != nullptr, i < 6) << i;
  }
}

TEST_F(SmallScans, NoReadsGiveMatricesWithoutColumns) {
  folder_.write("a.fastq", "");
  const Outputs out = scan(6);
  EXPECT_EQ(matrix_of(out[0], 1, 3), Values(3));
  EXPECT_EQ(matrix_of(out[1], 4, 0), Values());
  EXPECT_EQ(matrix_of(out[2], 1, 20), Values(20));
  EXPECT_EQ(matrix_of(out[3], 5, 0), Values());
  EXPECT_EQ(scalar_of<double>(out[4]), 0);
  EXPECT_EQ(matrix_of(out[5], 0, 2), Values());
}

TEST_F(SmallScans, ReadLongerThanTheFirstTablesHasAColumnForEveryPosition) {
  const std::size_t length = 2345;
  folder_.write("a.fastq", "@\nAC\n+\n$$\n@\n" + std::string(length, 'T') + "\n+\n" +
                               std::string(length, '#') + "\n");
  const Outputs out = scan(6);
  Values qualities(4 * length);
  Values letters(5 * length);
  for (std::size_t i = 0; i < length; ++i) qualities[4 * i + 2] = letters[5 * i + 3] = 1;
  qualities[3] = qualities[7] = 1;
  letters[0] = letters[5 + 1] = 1;
  EXPECT_TRUE(matrix_of(out[1], 4, length) == qualities);
  EXPECT_TRUE(matrix_of(out[3], 5, length) == letters);
  EXPECT_EQ(matrix_of(out[5], 2, 2), (Values{2, 2345, 1, 1}));
}

TEST_F(SmallScans, LengthsAscend) {
  std::string file;
  for (const std::size_t length : {7U, 3U, 100U, 3U, 20U, 1U, 1500U, 3U}) {
    file += "@\n" + std::string(length, 'A') + "\n+\n" + std::string(length, '#') + "\n";
  }
  folder_.write("a.fastq", file);
  EXPECT_EQ(matrix_of(scan(6)[5], 6, 2), (Values{1, 3, 7, 20, 100, 1500,  //
                                                 1, 3, 1, 1, 1, 1}));
}

TEST_F(SmallScans, OneValidQualityLeavesNoRoomForAverages) {
  folder_.write("a.fastq", "");
  options_.max_quality = 0;
  const Outputs out = scan(6);
  EXPECT_EQ(matrix_of(out[0], 1, 0), Values());
  EXPECT_EQ(matrix_of(out[1], 1, 0), Values());
}

// ---- Settings ----------------------------------------------------------------------------------

TEST_F(SmallScans, IgnoredQualitiesAreInNoMatrixAndNoAverage) {
  options_.ignore_value = 2;
  const Outputs out = scan(6);
  EXPECT_EQ(matrix_of(out[0], 1, 3), (Values{1, 1, 2}));
  EXPECT_EQ(matrix_of(out[1], 4, 4), (Values{1, 0, 0, 2,  //
                                             1, 1, 0, 1,  //
                                             0, 0, 0, 2,  //
                                             0, 0, 0, 1}));
  EXPECT_EQ(scalar_of<double>(out[4]), 4);
}

// Which reads a scan counts, by their lengths: 4, 3, 2 and 4.
TEST_F(SmallScans, MinAverageLeavesReadsOut) {
  options_.min_average = 1.0;
  EXPECT_EQ(counted(), (Lengths{{2, 1}, {3, 1}, {4, 2}}));
  options_.min_average = 1.25;
  EXPECT_EQ(counted(), (Lengths{{3, 1}, {4, 2}}));
  options_.min_average = 1.75;
  EXPECT_EQ(counted(), (Lengths{{3, 1}, {4, 1}}));
  options_.min_average = 3.5;
  EXPECT_EQ(counted(), Lengths());
}

TEST_F(SmallScans, MinLengthLeavesReadsOut) {
  options_.min_length = 3;
  EXPECT_EQ(counted(), (Lengths{{3, 1}, {4, 2}}));
  options_.min_length = 5;
  EXPECT_EQ(counted(), Lengths());
}

TEST_F(SmallScans, SpanIsWhatIsCounted) {
  options_.scan_start = 1;
  options_.scan_end = 2;
  const Outputs out = scan(6);
  EXPECT_EQ(matrix_of(out[3], 5, 2), (Values{0, 2, 1, 0, 1,  //
                                             0, 1, 2, 0, 0}));
  EXPECT_EQ(matrix_of(out[5], 2, 2), (Values{1, 2, 1, 3}));
}

TEST_F(SmallScans, ReadLengthFixesTheSpanWhateverElseIsGiven) {
  options_.read_length = 2;
  options_.scan_start = 1;
  options_.scan_end = 3;
  const Outputs out = scan(6);
  EXPECT_EQ(matrix_of(out[3], 5, 2), (Values{2, 0, 1, 0, 1,  //
                                             0, 2, 1, 0, 1}));
  EXPECT_EQ(matrix_of(out[5], 1, 2), (Values{2, 4}));
}

TEST_F(SmallScans, ReadLengthZeroScansWholeReads) {
  const std::vector<Values> expected = values_of(scan(6));
  options_.read_length = 0;  // a span that ends at -1: the read's end
  EXPECT_EQ(values_of(scan(6)), expected);
}

TEST_F(SmallScans, SpanThatStartsBehindTheEndCountsWithANegativeLength) {
  options_.scan_start = 6;
  const Outputs out = scan(6);
  EXPECT_EQ(scalar_of<double>(out[4]), 4);
  EXPECT_EQ(matrix_of(out[1], 4, 0), Values());
  EXPECT_EQ(matrix_of(out[3], 5, 0), Values());
  EXPECT_EQ(matrix_of(out[5], 3, 2), (Values{-4, -3, -2, 1, 1, 2}));
}

TEST_F(SmallScans, SelectedRecordsAreCounted) {
  options_.selected = {1, 2};
  options_.selected_count = 2;
  EXPECT_EQ(counted(), (Lengths{{2, 1}, {3, 1}}));
  options_.selected_count = 1;  // of a longer list
  EXPECT_EQ(counted(), (Lengths{{3, 1}}));
  options_.selected_count = 0;
  EXPECT_EQ(counted(), Lengths());
  options_.selected_count = -1;
  EXPECT_EQ(counted(), (Lengths{{2, 1}, {3, 1}, {4, 2}}));
  options_.selected_count = -7;
  EXPECT_EQ(counted(), (Lengths{{2, 1}, {3, 1}, {4, 2}}));
}

TEST_F(SmallScans, FlagLetsRecordsWithoutAReferenceIn) {
  folder_.write("a.sam", "r\t4\t*\t0\t0\t*\t*\t0\t0\tACG\t###\n");
  options_.type = 2;
  options_.source = "a.sam";
  EXPECT_EQ(counted(), (Lengths{{3, 1}}));
  options_.flag = false;
  EXPECT_EQ(counted(), Lengths());
}

// ---- Arrays of results -------------------------------------------------------------------------

TEST(ScanResults, MatrixTakesTheBlockOver) {
  const LeakCheck leaks;
  HostMatrix block = matrixAllocate(4, 3);
  block[7] = 5;
  const double* const address = block.get();
  const matrix::Owned array = txArrayFrom2DVector(std::move(block), 4, 3);
  EXPECT_EQ(txGetData(array.get()), address);
  Values expected(12);
  expected[7] = 5;
  EXPECT_EQ(matrix_of(array, 4, 3), expected);
}

TEST(ScanResults, BlockOfAMatrixWithoutColumnsIsLetGo) {
  const LeakCheck leaks;
  const matrix::Owned array = txArrayFrom2DVector(matrixAllocate(4, 1000), 4, 0);
  EXPECT_EQ(matrix_of(array, 4, 0), Values());
}

TEST(ScanResults, VectorBecomesARow) {
  EXPECT_EQ(matrix_of(txArrayFromVector({1, 2.5, -3}), 1, 3), (Values{1, 2.5, -3}));
  EXPECT_EQ(matrix_of(txArrayFromVector({}), 1, 0), Values());
}

TEST(ScanResults, MapBecomesTwoColumns) {
  EXPECT_EQ(matrix_of(map_to_txarray({{5, 1}, {-2, 7}, {9, 3000000000}}), 3, 2),
            (Values{-2, 5, 9, 7, 1, 3e9}));
  EXPECT_EQ(matrix_of(map_to_txarray({}), 0, 2), Values());
}

}  // namespace
}  // namespace readkit::quality_scan_qualities_test
