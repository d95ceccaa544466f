// Settings that no table can hold, and averages without a place.
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quality/distribution.h"
#include "support/distribution_words.h"
#include "support/expect_kind.h"

namespace readkit::quality_distribution_limits_test {
namespace {

constexpr std::int64_t kMostEntries = std::int64_t{1} << 31;

class DistributionLimits : public DistributionTest {
 protected:
  void start_length(std::int64_t read_length) {
    encoding_.read_length = read_length;
    start();
  }
  void start_span(std::int64_t scan_start, std::int64_t scan_end) {
    encoding_.scan_start = scan_start;
    encoding_.scan_end = scan_end;
    start();
  }
};

// ---- Settings ----------------------------------------------------------------------------------

TEST_F(DistributionLimits, HighestQualityBelowTheLowestRaisesInvalidData) {
  EXPECT_NO_THROW(start(5, 5));
  EXPECT_KIND(start(5, 4), InvalidData);
  EXPECT_KIND(start(0, -1), InvalidData);
  EXPECT_KIND(start(kMostInt64, kLeastInt64), InvalidData);
  EXPECT_KIND(start(0, kLeastInt64), InvalidData);
}

TEST_F(DistributionLimits, QualityTableBeyondTheMostEntriesRaisesInvalidData) {
  encoding_.read_length = 1 << 16;
  EXPECT_NO_THROW(start(1, 1 << 9));
  EXPECT_EQ(distribution_.quality_rows, 1U << 9);
  EXPECT_KIND(start(0, kMostEntries >> 16), InvalidData);  // one row too many
  encoding_.read_length = -1;
  EXPECT_KIND(start(1, kMostEntries / 1000 + 1), InvalidData);
}

TEST_F(DistributionLimits, AsManyRowsAs64BitsCanTellRaiseInvalidData) {
  EXPECT_KIND(start(0, kMostEntries), InvalidData);
  EXPECT_KIND(start(0, kMostInt64), InvalidData);
  EXPECT_KIND(start(kLeastInt64, 0), InvalidData);
  EXPECT_KIND(start(kLeastInt64, kMostInt64), InvalidData);
  EXPECT_KIND(start(-2, kMostInt64), InvalidData);
  encoding_.read_length = 0;
  EXPECT_KIND(start(0, kMostEntries), InvalidData);
  EXPECT_KIND(start(kLeastInt64, kMostInt64), InvalidData);
}

TEST_F(DistributionLimits, TableOfLettersHasItsFiveRowsHoweverFewTheQualities) {
  encoding_.max_quality = 0;
  EXPECT_NO_THROW(start_length(1 << 20));
  EXPECT_KIND(start_length(kMostEntries / 5 + 1), InvalidData);
}

TEST_F(DistributionLimits, ReadLengthsBeyondTheTablesRaiseInvalidData) {
  EXPECT_KIND(start_length(kMostEntries / 42 + 1), InvalidData);
  EXPECT_KIND(start_length(kMostInt), InvalidData);
  EXPECT_KIND(start_length(kMostInt + 1), InvalidData);
  EXPECT_KIND(start_length((std::int64_t{1} << 32) + 50), InvalidData);
  EXPECT_KIND(start_length(kMostInt64), InvalidData);
}

TEST_F(DistributionLimits, NegativeReadLengthsOtherThanMinusOneRaiseInvalidData) {
  EXPECT_NO_THROW(start_length(-1));
  for (const std::int64_t length :
       {std::int64_t{-2}, std::int64_t{-1000}, kLeastInt, kLeastInt - 1, kLeastInt64}) {
    EXPECT_KIND(start_length(length), InvalidData);
  }
}

TEST_F(DistributionLimits, SpansOutside32BitsRaiseInvalidData) {
  EXPECT_NO_THROW(start_span(kMostInt, kMostInt));
  EXPECT_NO_THROW(start_span(0, kLeastInt));
  EXPECT_KIND(start_span(kMostInt + 1, -1), InvalidData);
  EXPECT_KIND(start_span(kMostInt64, -1), InvalidData);
  EXPECT_KIND(start_span(0, kMostInt + 1), InvalidData);
  EXPECT_KIND(start_span(0, kMostInt64), InvalidData);
  EXPECT_KIND(start_span(0, kLeastInt - 1), InvalidData);
  EXPECT_KIND(start_span(0, kLeastInt64), InvalidData);
}

TEST_F(DistributionLimits, StartsBelow32BitsCountAsTheReadsStart) {
  for (const std::int64_t begin : {kLeastInt, kLeastInt - 1, kLeastInt64}) {
    start_span(begin, -1);
    count("AC");
    EXPECT_EQ(bases(), (Cells{{{0, 0}, 1}, {{1, 1}, 1}}));
  }
}

TEST_F(DistributionLimits, SpanThatAReadLengthOverridesMayBeAnything) {
  encoding_.read_length = 50;
  EXPECT_NO_THROW(start_span(kMostInt64, kLeastInt64));
  EXPECT_EQ(encoding_.scan_start, 0);
  EXPECT_EQ(encoding_.scan_end, 49);
}

TEST_F(DistributionLimits, QualitiesThatNoByteCanHaveMakeTablesThatStayEmpty) {
  const std::vector<std::pair<std::int64_t, std::int64_t>> ranges = {{kLeastInt64, kLeastInt64},
                                                                     {kLeastInt64, kLeastInt64 + 9},
                                                                     {kMostInt64 - 9, kMostInt64},
                                                                     {kMostInt64, kMostInt64},
                                                                     {-1000, -200},
                                                                     {200, 1000}};
  encoding_.scan_start = 2;  // behind the read's end, so that no quality counts
  encoding_.scan_end = -1;
  for (const auto& [low, high] : ranges) {
    start(low, high);
    EXPECT_EQ(distribution_.average_histogram.size(), static_cast<std::size_t>(high - low)) << low;
    EXPECT_EQ(distribution_.quality_rows, static_cast<std::size_t>(high - low) + 1) << low;
    count("A");
    EXPECT_EQ(distribution_.read_count, 1) << low;
    EXPECT_EQ(qualities(), Cells()) << low;
    EXPECT_EQ(averages(), Bins()) << low;
  }
}

// ---- Growing -----------------------------------------------------------------------------------

TEST_F(DistributionLimits, TablesThatCannotGrowToTheReadRaiseInvalidData) {
  // A million rows and 2200 columns are too many; the span is widened afterwards, as only one
  // column is wanted at the start.
  encoding_.read_length = 1;
  start(0, 999999);
  encoding_.scan_end = -1;
  EXPECT_KIND(count(std::string(1100, 'A')), InvalidData);
  EXPECT_EQ(distribution_.capacity, 1);
  count("A", "\1");
  EXPECT_EQ(qualities(), (Cells{{{1, 0}, 1}}));
}

// ---- Averages ----------------------------------------------------------------------------------

// What the standard library says of an index in front of an empty vector.
std::string text_of_checked_access() {
  try {
    static_cast<void>(std::vector<double>().at(static_cast<std::size_t>(-1)));
  } catch (const std::out_of_range& error) {
    return error.what();
  }
  return "";
}

TEST_F(DistributionLimits, AverageOfTheOnlyQualityRaisesOutOfRange) {
  for (const int quality : {0, 5, -5, 127, -128}) {
    encoding_.min_average = -200;
    start(quality, quality);
    EXPECT_STD(count_qualities({quality}), std::out_of_range, text_of_checked_access());
  }
}

TEST_F(DistributionLimits, OnlyQualityMayBeTheIgnoredOne) {
  encoding_.ignore_value = 5;
  encoding_.min_average = std::numeric_limits<double>::lowest();
  start(5, 5);
  count_qualities({5, 5});
  EXPECT_EQ(distribution_.read_count, 1);
  EXPECT_EQ(qualities(), Cells());
}

}  // namespace
}  // namespace readkit::quality_distribution_limits_test
