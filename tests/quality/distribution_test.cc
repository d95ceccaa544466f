#include "quality/distribution.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "support/distribution_words.h"

namespace readkit::quality_distribution_test {
namespace {

using Lengths = std::map<int, std::int64_t>;

// ---- Empty tables ------------------------------------------------------------------------------

class GetEmptyDistribution : public DistributionTest {};

TEST_F(GetEmptyDistribution, TablesHaveTheirSizesAndNoCounts) {
  start();
  EXPECT_EQ(distribution_.average_histogram.size(), 41U);
  EXPECT_EQ(distribution_.gc_histogram.size(), 20U);
  EXPECT_EQ(distribution_.quality_rows, 42U);
  EXPECT_EQ(distribution_.capacity, 1000);
  expect_nothing_counted();
}

TEST_F(GetEmptyDistribution, RowsGoFromTheLowestToTheHighestQuality) {
  start(-5, 3);
  EXPECT_EQ(distribution_.average_histogram.size(), 8U);
  EXPECT_EQ(distribution_.quality_rows, 9U);
  start(7, 7);
  EXPECT_EQ(distribution_.average_histogram.size(), 0U);
  EXPECT_EQ(distribution_.quality_rows, 1U);
}

TEST_F(GetEmptyDistribution, WithoutAReadLengthTheSpanStays) {
  encoding_.scan_start = 3;
  encoding_.scan_end = 20;
  start();
  EXPECT_EQ(encoding_.scan_start, 3);
  EXPECT_EQ(encoding_.scan_end, 20);
}

TEST_F(GetEmptyDistribution, ReadLengthIsTheNumberOfColumnsAndFixesTheSpan) {
  encoding_.read_length = 50;
  encoding_.scan_start = 3;
  encoding_.scan_end = 20;
  start();
  EXPECT_EQ(distribution_.capacity, 50);
  EXPECT_EQ(encoding_.scan_start, 0);
  EXPECT_EQ(encoding_.scan_end, 49);
  expect_nothing_counted();
}

TEST_F(GetEmptyDistribution, ReadLengthOfOneLeavesOnePosition) {
  encoding_.read_length = 1;
  start();
  EXPECT_EQ(distribution_.capacity, 1);
  EXPECT_EQ(encoding_.scan_end, 0);
}

TEST_F(GetEmptyDistribution, ReadLengthOfZeroMeansTheWholeRead) {
  encoding_.read_length = 0;
  encoding_.scan_start = 3;
  start();
  EXPECT_EQ(distribution_.capacity, 0);
  EXPECT_EQ(encoding_.scan_start, 0);
  EXPECT_EQ(encoding_.scan_end, -1);
  expect_nothing_counted();

  count("ACG");
  EXPECT_EQ(distribution_.capacity, 6);
  EXPECT_EQ(lengths(), (Lengths{{3, 1}}));
  EXPECT_EQ(bases(), (Cells{{{0, 0}, 1}, {{1, 1}, 1}, {{2, 2}, 1}}));
}

TEST_F(GetEmptyDistribution, CountsOfEarlierTablesAreForgotten) {
  start();
  count("ACGT");
  start();
  expect_nothing_counted();
  count("ACGT");
  settle(&distribution_);
  start(0, 10);
  EXPECT_EQ(distribution_.average_histogram.size(), 10U);
  expect_nothing_counted();
}

// ---- One read ----------------------------------------------------------------------------------

class UpdateDistribution : public DistributionTest {};

TEST_F(UpdateDistribution, OneReadCountsInEveryTable) {
  start();
  count("ACGTN", qualities_of({0, 41, 10, 10, 3}));
  EXPECT_EQ(bases(), (Cells{{{0, 0}, 1}, {{1, 1}, 1}, {{2, 2}, 1}, {{3, 3}, 1}, {{4, 4}, 1}}));
  EXPECT_EQ(qualities(),
            (Cells{{{0, 0}, 1}, {{41, 1}, 1}, {{10, 2}, 1}, {{10, 3}, 1}, {{3, 4}, 1}}));
  EXPECT_EQ(averages(), (Bins{{12, 1}}));  // 64 / 5
  EXPECT_EQ(gc(), (Bins{{8, 1}}));         // 2 of 5
  EXPECT_EQ(lengths(), (Lengths{{5, 1}}));
  EXPECT_EQ(distribution_.read_count, 1);
  EXPECT_EQ(distribution_.max_length, 5);
}

TEST_F(UpdateDistribution, ReadsAddUp) {
  start();
  count("AC", qualities_of({1, 2}));
  count("AG", qualities_of({1, 3}));
  count("A", qualities_of({2}));
  EXPECT_EQ(bases(), (Cells{{{0, 0}, 3}, {{1, 1}, 1}, {{2, 1}, 1}}));
  EXPECT_EQ(qualities(), (Cells{{{1, 0}, 2}, {{2, 0}, 1}, {{2, 1}, 1}, {{3, 1}, 1}}));
  EXPECT_EQ(averages(), (Bins{{1, 1}, {2, 2}}));
  EXPECT_EQ(gc(), (Bins{{0, 1}, {10, 2}}));
  EXPECT_EQ(lengths(), (Lengths{{1, 1}, {2, 2}}));
  EXPECT_EQ(distribution_.read_count, 3);
  EXPECT_EQ(distribution_.max_length, 2);
}

TEST_F(UpdateDistribution, RowsCountFromTheLowestQuality) {
  encoding_.min_average = -5;
  start(-5, 3);
  count_qualities({-5, 3, 0});
  EXPECT_EQ(qualities(), (Cells{{{0, 0}, 1}, {{8, 1}, 1}, {{5, 2}, 1}}));
  EXPECT_EQ(averages(), (Bins{{5, 1}}));  // trunc(-2 / 3) is 0
}

TEST_F(UpdateDistribution, ReadWithoutLettersIsSkipped) {
  start();
  count("");
  expect_nothing_counted();
  updateDistribution(nullptr, nullptr, 0, &encoding_, &distribution_);
  expect_nothing_counted();
}

// ---- Growing -----------------------------------------------------------------------------------

TEST_F(UpdateDistribution, ReadOfThePresentNumberOfColumnsDoesNotGrowTheTables) {
  start();
  count(std::string(1000, 'A'));
  EXPECT_EQ(distribution_.capacity, 1000);
  count(std::string(1001, 'A'));
  EXPECT_EQ(distribution_.capacity, 2002);
  count(std::string(2002, 'A'));
  EXPECT_EQ(distribution_.capacity, 2002);
  EXPECT_EQ(distribution_.max_length, 2002);
}

TEST_F(UpdateDistribution, TablesGrowToTwiceTheReadAndKeepTheirCounts) {
  start();
  count("CG", qualities_of({7, 8}));
  count(std::string(1500, 'T'), std::string(1500, '\5'));
  EXPECT_EQ(distribution_.capacity, 3000);
  // All that is not expected, up to column 2999, is 0.
  Cells expected_bases = {{{1, 0}, 1}, {{2, 1}, 1}};
  Cells expected_qualities = {{{7, 0}, 1}, {{8, 1}, 1}};
  for (int i = 0; i < 1500; ++i) {
    expected_bases[{3, i}] = 1;
    expected_qualities[{5, i}] = 1;
  }
  EXPECT_EQ(bases(), expected_bases);
  EXPECT_EQ(qualities(), expected_qualities);
  EXPECT_EQ(lengths(), (Lengths{{2, 1}, {1500, 1}}));
  EXPECT_EQ(distribution_.read_count, 2);
  EXPECT_EQ(distribution_.max_length, 1500);
}

TEST_F(UpdateDistribution, CountsThatAreInTheMatricesStayWhenTheyGrow) {
  start();
  count("CG", qualities_of({7, 8}));
  settle(&distribution_);
  count(std::string(1500, 'N'), std::string(1500, '\5'));
  settle(&distribution_);
  count(std::string(4000, 'N'), std::string(4000, '\6'));
  EXPECT_EQ(distribution_.capacity, 8000);
  const Cells all_bases = bases();
  EXPECT_EQ(all_bases.at({1, 0}), 1);
  EXPECT_EQ(all_bases.at({2, 1}), 1);
  EXPECT_EQ(all_bases.at({4, 1499}), 2);
  EXPECT_EQ(all_bases.at({4, 3999}), 1);
  EXPECT_EQ(all_bases.size(), 2U + 4000);
  const Cells all_qualities = qualities();
  EXPECT_EQ(all_qualities.at({7, 0}), 1);
  EXPECT_EQ(all_qualities.at({5, 1499}), 1);
  EXPECT_EQ(all_qualities.at({6, 3999}), 1);
  EXPECT_EQ(all_qualities.size(), 2U + 1500 + 4000);
}

// ---- The least average -------------------------------------------------------------------------

TEST_F(UpdateDistribution, ReadBelowTheLeastAverageCountsNowhere) {
  encoding_.min_average = 10.5;
  start();
  count_qualities({10, 10, 11});
  expect_nothing_counted();
  count_qualities({10, 11});
  EXPECT_EQ(distribution_.read_count, 1);
  EXPECT_EQ(averages(), (Bins{{10, 1}}));
}

TEST_F(UpdateDistribution, LeastAverageIsComparedBeforeAnythingIsRounded) {
  encoding_.min_average = 2.0 / 3;
  start();
  count_qualities({0, 1, 1});
  EXPECT_EQ(distribution_.read_count, 1);
  encoding_.min_average = std::nextafter(encoding_.min_average, 1);
  count_qualities({0, 1, 1});
  EXPECT_EQ(distribution_.read_count, 1);
}

TEST_F(UpdateDistribution, AverageIsThatOfTheSpan) {
  encoding_.min_average = 30;
  encoding_.scan_start = 1;
  encoding_.scan_end = 2;
  start();
  count_qualities({0, 30, 30, 0});
  EXPECT_EQ(distribution_.read_count, 1);
  count_qualities({40, 29, 30, 40});
  EXPECT_EQ(distribution_.read_count, 1);
}

TEST_F(UpdateDistribution, ReadOfIgnoredQualitiesIsSkippedWheneverTheLeastAverageIsFinite) {
  encoding_.ignore_value = 2;
  encoding_.min_average = -1e308;
  start();
  count_qualities({2, 2});
  expect_nothing_counted();
}

TEST_F(UpdateDistribution, ReadOfIgnoredQualitiesCountsWithTheLowestLeastAverage) {
  encoding_.ignore_value = 2;
  for (const double least :
       {std::numeric_limits<double>::lowest(), -std::numeric_limits<double>::infinity()}) {
    encoding_.min_average = least;
    start();
    count_qualities({2, 2});
    EXPECT_EQ(distribution_.read_count, 1);
    EXPECT_EQ(lengths(), (Lengths{{2, 1}}));
    EXPECT_EQ(bases(), (Cells{{{0, 0}, 1}, {{0, 1}, 1}}));
    EXPECT_EQ(qualities(), Cells());
    EXPECT_EQ(averages(), Bins());
  }
}

// ---- The ignored quality -----------------------------------------------------------------------

TEST_F(UpdateDistribution, IgnoredQualityCountsNeitherInTheTableNorInTheAverage) {
  encoding_.ignore_value = 2;
  encoding_.min_average = 30;
  start();
  count_qualities({2, 30, 2, 31, 2});
  EXPECT_EQ(distribution_.read_count, 1);
  EXPECT_EQ(qualities(), (Cells{{{30, 1}, 1}, {{31, 3}, 1}}));
  EXPECT_EQ(averages(), (Bins{{30, 1}}));
}

TEST_F(UpdateDistribution, EveryByteCanBeTheIgnoredQuality) {
  for (const int ignored : {-128, -1, 0, 1, 127}) {
    encoding_.ignore_value = ignored;
    encoding_.min_average = -200;
    start(-128, 127);
    count_qualities({ignored, 50, ignored});
    EXPECT_EQ(qualities(), (Cells{{{50 + 128, 1}, 1}})) << ignored;
    EXPECT_EQ(averages(), (Bins{{50 + 128, 1}})) << ignored;
  }
}

TEST_F(UpdateDistribution, IgnoredQualityBeyondAllBytesIgnoresNothing) {
  // Some have the low byte of a quality that is counted here: 255 that of -1, 286 that of 30.
  for (const std::int64_t ignored :
       {std::int64_t{-129}, std::int64_t{128}, std::int64_t{255}, std::int64_t{286},
        std::int64_t{-226}, (std::int64_t{1} << 32) + 30, kLeastInt64, kMostInt64}) {
    encoding_.ignore_value = ignored;
    encoding_.min_average = -200;
    start(-128, 127);
    count_qualities({-128, -1, 30, 127});
    EXPECT_EQ(qualities(), (Cells{{{0, 0}, 1}, {{127, 1}, 1}, {{158, 2}, 1}, {{255, 3}, 1}}))
        << ignored;
    EXPECT_EQ(averages(), (Bins{{7 + 128, 1}})) << ignored;  // 28 / 4
  }
}

}  // namespace
}  // namespace readkit::quality_distribution_test
