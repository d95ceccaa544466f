// Qualities by position, and the histogram of their averages.
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quality/distribution.h"
#include "support/distribution_words.h"

namespace readkit::quality_scan_quality_test {
namespace {

class ScanQuality : public DistributionTest {
 protected:
  int scan(const std::vector<int>& qualities, int start, int end) {
    const std::string bytes = qualities_of(qualities);
    const std::vector<char> exact(bytes.begin(), bytes.end());
    return scanQuality(start, end, exact.data(), &encoding_, &distribution_);
  }
  int scan(const std::vector<int>& qualities) {
    return scan(qualities, 0, static_cast<int>(qualities.size()) - 1);
  }
  // The bin in which a read counts.
  std::int64_t bin_of(const std::vector<int>& qualities) {
    start();
    scan(qualities);
    EXPECT_EQ(averages().size(), 1U);
    return averages().begin()->first;
  }
};

TEST_F(ScanQuality, ColumnsCountFromTheStart) {
  start();
  EXPECT_EQ(scan({1, 2, 3, 4, 5}, 1, 3), 3);
  EXPECT_EQ(qualities(), (Cells{{{2, 0}, 1}, {{3, 1}, 1}, {{4, 2}, 1}}));
  EXPECT_EQ(averages(), (Bins{{3, 1}}));
}

TEST_F(ScanQuality, LeavesLettersReadsAndLengthsAlone) {
  start();
  scan({1, 2, 3});
  EXPECT_EQ(bases(), Cells());
  EXPECT_EQ(gc(), Bins());
  EXPECT_TRUE(lengths().empty());
  EXPECT_EQ(distribution_.read_count, 0);
  EXPECT_EQ(distribution_.max_length, 0);
}

TEST_F(ScanQuality, DoesNothingWhenTheEndLiesBeforeTheStart) {
  start();
  EXPECT_EQ(scan({1, 2}, 1, 0), 0);
  EXPECT_EQ(scan({1, 2}, 0, -1), 0);
  EXPECT_EQ(scan({1, 2}, 100, 1), 0);
  EXPECT_EQ(scanQuality(kMostInt, kLeastInt, nullptr, &encoding_, &distribution_), 0);
  expect_nothing_counted();
}

TEST_F(ScanQuality, ReturnsHowManyAreNotIgnored) {
  encoding_.ignore_value = 2;
  start();
  EXPECT_EQ(scan({2, 3, 2, 4, 2}), 2);
  EXPECT_EQ(scan({2, 2}), 0);
  EXPECT_EQ(qualities(), (Cells{{{3, 1}, 1}, {{4, 3}, 1}}));
  EXPECT_EQ(averages(), (Bins{{3, 1}}));
}

TEST_F(ScanQuality, DoesNotAskForTheLeastAverage) {
  encoding_.min_average = 40;
  start();
  EXPECT_EQ(scan({3}), 1);
  EXPECT_EQ(averages(), (Bins{{3, 1}}));
}

TEST_F(ScanQuality, CountsWithAnyNumberOfColumnsUpToTheCapacity) {
  encoding_.read_length = 3;
  start();
  scan({1, 2, 3});
  EXPECT_EQ(qualities(), (Cells{{{1, 0}, 1}, {{2, 1}, 1}, {{3, 2}, 1}}));
}

// ---- Averages ----------------------------------------------------------------------------------

TEST_F(ScanQuality, AverageIsCutToAnInteger) {
  EXPECT_EQ(bin_of({1, 2}), 1);
  EXPECT_EQ(bin_of({1, 2, 2}), 1);
  EXPECT_EQ(bin_of({2, 2, 2}), 2);
  EXPECT_EQ(bin_of({0, 0, 0, 3}), 0);
  EXPECT_EQ(bin_of({40, 41}), 40);
}

TEST_F(ScanQuality, HighestAverageCountsInTheLastBin) {
  EXPECT_EQ(bin_of({41, 41}), 40);
  EXPECT_EQ(bin_of({40}), 40);
  EXPECT_EQ(bin_of({39, 40}), 39);
  EXPECT_EQ(distribution_.average_histogram.size(), 41U);
}

TEST_F(ScanQuality, NegativeAveragesAreCutTowardsZero) {
  encoding_.min_quality = -10;
  encoding_.max_quality = 10;
  EXPECT_EQ(bin_of({-1, -2}), 9);      // -1.5 is -1
  EXPECT_EQ(bin_of({-1, 0}), 10);      // -0.5 is 0
  EXPECT_EQ(bin_of({0, 1}), 10);       // 0.5 as well
  EXPECT_EQ(bin_of({-10}), 0);         // the lowest
  EXPECT_EQ(bin_of({-10, -9}), 1);     // -9.5 is -9
  EXPECT_EQ(bin_of({-7, -7, -6}), 4);  // -6.67 is -6
}

TEST_F(ScanQuality, NegativeRangeEndsInItsLastBinToo) {
  encoding_.min_quality = -5;
  encoding_.max_quality = -2;
  EXPECT_EQ(bin_of({-2}), 2);
  EXPECT_EQ(bin_of({-2, -3}), 2);  // -2.5 is -2, the highest
  EXPECT_EQ(bin_of({-3}), 2);
  EXPECT_EQ(bin_of({-4}), 1);
  EXPECT_EQ(bin_of({-5}), 0);
}

TEST_F(ScanQuality, RangeOfTwoQualitiesHasOneBin) {
  encoding_.min_quality = 0;
  encoding_.max_quality = 1;
  EXPECT_EQ(bin_of({0}), 0);
  EXPECT_EQ(bin_of({1}), 0);
  EXPECT_EQ(bin_of({0, 1, 1}), 0);
}

TEST_F(ScanQuality, AverageWithoutABinRaisesOutOfRange) {
  start(3, 3);
  EXPECT_THROW(scan({3}), std::out_of_range);
}

// ---- Many rows, long reads ---------------------------------------------------------------------

TEST_F(ScanQuality, EveryByteHasItsRowWhateverTheRange) {
  struct {
    std::int64_t low;
    std::int64_t high;
  } const ranges[] = {{-128, 127},  {-128, 128},  {-129, 127}, {-1000, 1000},
                      {-128, 1000}, {-300, -100}, {100, 400},  {-200, 40}};
  for (const auto& range : ranges) {
    SCOPED_TRACE(testing::Message() << range.low << " to " << range.high);
    start(range.low, range.high);
    Cells expected;
    std::vector<int> values;
    for (int value = -128; value <= 127; ++value) {
      if (value < range.low || value > range.high) continue;
      expected[{value - range.low, static_cast<std::int64_t>(values.size())}] = 2;
      values.push_back(value);
    }
    scan(values);
    scan(values);
    EXPECT_EQ(qualities(), expected);
  }
}

TEST_F(ScanQuality, PositionsOfLongReadsAllCount) {
  encoding_.read_length = 5000;
  encoding_.ignore_value = 9;
  for (const std::int64_t high : {std::int64_t{41}, std::int64_t{300}}) {
    start(0, high);
    Cells expected;
    std::vector<int> values;
    for (int i = 0; i < 5000; ++i) {
      values.push_back(i % 40);
      if (i % 40 != 9) expected[{i % 40, i}] = 1;
    }
    EXPECT_EQ(scan(values), 4875);
    EXPECT_EQ(qualities(), expected) << high;
    EXPECT_EQ(averages(), (Bins{{19, 1}})) << high;  // (39 * 40 / 2 - 9) / 39 = 19.8
  }
}

}  // namespace
}  // namespace readkit::quality_scan_quality_test
