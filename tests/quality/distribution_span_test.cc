// Which positions of a read count, and which reads their number leaves out.
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "quality/distribution.h"
#include "support/distribution_words.h"

namespace readkit::quality_distribution_span_test {
namespace {

using Lengths = std::map<int, std::int64_t>;

class DistributionSpan : public DistributionTest {
 protected:
  void start_span(std::int64_t scan_start, std::int64_t scan_end) {
    encoding_.scan_start = scan_start;
    encoding_.scan_end = scan_end;
    start();
  }
  // Nothing but the read itself, its length and its bin of G and C.
  void expect_negative_length(int length) {
    EXPECT_EQ(lengths(), (Lengths{{length, 1}}));
    EXPECT_EQ(distribution_.read_count, 1);
    EXPECT_EQ(distribution_.max_length, 0);
    EXPECT_EQ(distribution_.capacity, 1000);
    EXPECT_EQ(gc(), (Bins{{0, 1}}));
    EXPECT_EQ(averages(), Bins());
    EXPECT_EQ(qualities(), Cells());
    EXPECT_EQ(bases(), Cells());
  }
};

// ---- Start and end -----------------------------------------------------------------------------

// The span of "ACGTN" with the qualities 1 to 5: its letters tell which positions are taken.
struct SpanRow {
  std::int64_t scan_start;
  std::int64_t scan_end;
  const char* taken;
};

TEST_F(DistributionSpan, ColumnsCountFromTheStartOfTheSpan) {
  const SpanRow rows[] = {
      {0, -1, "ACGTN"},
      {0, 4, "ACGTN"},
      {0, 3, "ACGT"},
      {0, 0, "A"},
      {1, 2, "CG"},
      {2, -1, "GTN"},
      {4, -1, "N"},
      {4, 4, "N"},
      {3, 3, "T"},
      // An end behind the read's end is the read's.
      {0, 5, "ACGTN"},
      {3, 1000, "TN"},
      {3, kMostInt, "TN"},
      // A start before the read's is the read's.
      {-1, 1, "AC"},
      {-1000, -1, "ACGTN"},
      {kLeastInt - 1, 0, "A"},
      {kLeastInt64, 1, "AC"},
  };
  for (const SpanRow& row : rows) {
    SCOPED_TRACE(testing::Message() << row.scan_start << " to " << row.scan_end);
    start_span(row.scan_start, row.scan_end);
    count("ACGTN", "\1\2\3\4\5");
    const std::string letters = "ACGTN";
    const std::string taken = row.taken;
    Cells expected_bases;
    Cells expected_qualities;
    int sum = 0;
    for (int i = 0; i < static_cast<int>(taken.size()); ++i) {
      const auto code = static_cast<int>(letters.find(taken[static_cast<std::size_t>(i)]));
      expected_bases[{code, i}] = 1;
      expected_qualities[{code + 1, i}] = 1;
      sum += code + 1;
    }
    const int length = static_cast<int>(taken.size());
    EXPECT_EQ(bases(), expected_bases);
    EXPECT_EQ(qualities(), expected_qualities);
    EXPECT_EQ(averages(), (Bins{{sum / length, 1}}));
    EXPECT_EQ(lengths(), (Lengths{{length, 1}}));
    EXPECT_EQ(distribution_.max_length, length);
  }
}

TEST_F(DistributionSpan, ReadLengthOverridesTheSpanForEveryRead) {
  encoding_.read_length = 50;
  start_span(10, 20);
  const std::string fifty = std::string(49, 'A') + 'C';
  count(fifty + std::string(10, 'G'));
  count(std::string(30, 'A'));
  EXPECT_EQ(lengths(), (Lengths{{30, 1}, {50, 1}}));
  EXPECT_EQ(distribution_.max_length, 50);
  EXPECT_EQ(distribution_.capacity, 50);
  const Cells all = bases();
  EXPECT_EQ(all.size(), 50U);
  EXPECT_EQ(all.at({0, 0}), 2);
  EXPECT_EQ(all.at({0, 29}), 2);
  EXPECT_EQ(all.at({0, 30}), 1);
  EXPECT_EQ(all.at({1, 49}), 1);
}

TEST_F(DistributionSpan, OnlyTheSpanGrowsTheTables) {
  start_span(500, -1);
  count(std::string(1500, 'A'));
  EXPECT_EQ(distribution_.capacity, 1000);
  count(std::string(1501, 'A'));
  EXPECT_EQ(distribution_.capacity, 2002);
}

TEST_F(DistributionSpan, GAndCAreThoseOfTheSpan) {
  start_span(4, -1);
  count("GGGGATAT");
  EXPECT_EQ(gc(), (Bins{{0, 1}}));
  start_span(0, 3);
  count("GGGGATAT");
  EXPECT_EQ(gc(), (Bins{{19, 1}}));
}

// ---- Spans without a position ------------------------------------------------------------------

TEST_F(DistributionSpan, SpanThatStartsRightBehindTheReadIsSkipped) {
  start_span(5, -1);
  count("ACGTN");
  expect_nothing_counted();
  start_span(5, 100);
  count("ACGTN");
  expect_nothing_counted();
  start_span(3, 2);
  count("ACGTN");
  expect_nothing_counted();
}

TEST_F(DistributionSpan, SpanThatStartsFurtherBehindCountsWithANegativeLength) {
  start_span(6, -1);
  count("ACGTN");
  expect_negative_length(-1);
  start_span(10, -1);
  count("ACGTN");
  expect_negative_length(-5);
  start_span(10, -1);
  count("");
  expect_negative_length(-10);
}

TEST_F(DistributionSpan, EndsBelowMinusOneGiveNegativeLengths) {
  start_span(0, -2);
  count("ACGTN");
  expect_negative_length(-1);
  start_span(0, -5);
  count("ACGTN");
  expect_negative_length(-4);
  start_span(0, kLeastInt);
  count("ACGTN");
  expect_negative_length(static_cast<int>(kLeastInt + 1));
}

TEST_F(DistributionSpan, NegativeLengthsComeFirstInTheHistogram) {
  start_span(6, -1);
  count("ACGTNACG");
  count("ACGTN");
  count("ACG");
  count("ACG");
  EXPECT_EQ(lengths(), (Lengths{{-3, 2}, {-1, 1}, {2, 1}}));
  EXPECT_EQ(distribution_.read_count, 4);
  EXPECT_EQ(distribution_.max_length, 2);
}

TEST_F(DistributionSpan, AverageWithoutPositionsIsZero) {
  encoding_.min_average = 0;
  start_span(10, -1);
  count("ACGTN");
  EXPECT_EQ(distribution_.read_count, 1);
  encoding_.min_average = 1e-300;
  start_span(10, -1);
  count("ACGTN");
  expect_nothing_counted();
}

TEST_F(DistributionSpan, LengthBelowThoseOf32BitsRaisesInvalidData) {
  start_span(kMostInt, -2);
  count("ACGTN");
  expect_negative_length(static_cast<int>(kLeastInt));
  start_span(kMostInt, -3);
  EXPECT_KIND(count("ACGTN"), InvalidData);
  start_span(kMostInt, kLeastInt);
  EXPECT_KIND(count("ACGTN"), InvalidData);
}

// ---- The least length --------------------------------------------------------------------------

TEST_F(DistributionSpan, ReadsWithAShorterSpanThanTheLeastLengthAreSkipped) {
  encoding_.min_length = 3;
  start_span(1, -1);
  count("ACG");
  expect_nothing_counted();
  count("ACGT");
  EXPECT_EQ(lengths(), (Lengths{{3, 1}}));
}

TEST_F(DistributionSpan, LeastLengthOfMinusOneIsNoLimit) {
  encoding_.min_length = -1;
  start_span(10, -1);
  count("ACGTN");
  count("ACGTNACGTNA");
  EXPECT_EQ(lengths(), (Lengths{{-5, 1}, {1, 1}}));
}

TEST_F(DistributionSpan, LeastLengthAppliesToNegativeLengthsToo) {
  struct {
    std::int64_t min_length;
    bool counted;
  } const rows[] = {{-1, true},  {0, false},           {1, false},          {-4, false},
                    {-5, true},  {-6, true},           {kLeastInt64, true}, {kMostInt64, false},
                    {-2, false}, {kMostInt + 1, false}};
  for (const auto& row : rows) {
    encoding_.min_length = row.min_length;
    start_span(10, -1);
    count("ACGTN");
    EXPECT_EQ(distribution_.read_count, row.counted ? 1 : 0) << row.min_length;
    EXPECT_EQ(lengths().size(), row.counted ? 1U : 0U) << row.min_length;
  }
}

TEST_F(DistributionSpan, LeastLengthOfZeroStillSkipsEmptySpans) {
  for (const int min_length : {0, -1, -7}) {
    encoding_.min_length = min_length;
    start_span(5, -1);
    count("ACGTN");
    expect_nothing_counted();
  }
}

}  // namespace
}  // namespace readkit::quality_distribution_span_test
