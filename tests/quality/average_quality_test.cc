// The average quality of a span.
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quality/distribution.h"
#include "support/distribution_words.h"
#include "support/random_data.h"

namespace readkit::quality_average_quality_test {
namespace {

constexpr double kLowest = std::numeric_limits<double>::lowest();

class GetAverageQuality : public testing::Test {
 protected:
  GetAverageQuality() { encoding_.ignore_value = 1000; }

  double average(const std::vector<int>& qualities, int start, int end) {
    const std::string bytes = qualities_of(qualities);
    const std::vector<char> exact(bytes.begin(), bytes.end());
    return getAverageQuality(exact.data(), start, end, &encoding_);
  }
  double average(const std::vector<int>& qualities) {
    return average(qualities, 0, static_cast<int>(qualities.size()) - 1);
  }

  encoding_t encoding_;
};

TEST_F(GetAverageQuality, IsTheMean) {
  EXPECT_EQ(average({7}), 7.0);
  EXPECT_EQ(average({1, 2}), 1.5);
  EXPECT_EQ(average({0, 0, 1}), 1.0 / 3);
  EXPECT_EQ(average({-1, -2}), -1.5);
  EXPECT_EQ(average({-128, 127}), -0.5);
}

TEST_F(GetAverageQuality, BothEndsOfTheSpanBelongToIt) {
  const std::vector<int> qualities = {1, 2, 4, 8, 16};
  EXPECT_EQ(average(qualities, 0, 4), 31.0 / 5);
  EXPECT_EQ(average(qualities, 1, 3), 14.0 / 3);
  EXPECT_EQ(average(qualities, 2, 2), 4.0);
  EXPECT_EQ(average(qualities, 4, 4), 16.0);
}

TEST_F(GetAverageQuality, IsZeroWhenTheEndLiesBeforeTheStart) {
  EXPECT_EQ(average({5, 5}, 1, 0), 0.0);
  EXPECT_EQ(average({5, 5}, 0, -1), 0.0);
  EXPECT_EQ(average({5, 5}, 100, 1), 0.0);
  EXPECT_EQ(getAverageQuality(nullptr, kMostInt, kLeastInt, &encoding_), 0.0);
}

TEST_F(GetAverageQuality, IgnoredQualitiesAreLeftOut) {
  encoding_.ignore_value = 2;
  EXPECT_EQ(average({2, 30, 2, 31}), 30.5);
  EXPECT_EQ(average({2, 2, 3}), 3.0);
  encoding_.ignore_value = -2;
  EXPECT_EQ(average({-2, 30, 2, 31}), 21.0);
  encoding_.ignore_value = 0;
  EXPECT_EQ(average({0, 0, 5}), 5.0);
}

TEST_F(GetAverageQuality, IsTheMostNegativeNumberWhenAllAreIgnored) {
  for (const int ignored : {2, 0, -1, -128, 127}) {
    encoding_.ignore_value = ignored;
    EXPECT_EQ(average({ignored}), kLowest) << ignored;
    EXPECT_EQ(average(std::vector<int>(300, ignored)), kLowest) << ignored;
    EXPECT_EQ(average({5, ignored, 5}, 1, 1), kLowest) << ignored;
  }
}

TEST_F(GetAverageQuality, IgnoredQualityBeyondAllBytesLeavesNothingOut) {
  for (const std::int64_t ignored : {std::int64_t{255}, std::int64_t{128}, std::int64_t{-129},
                                     std::int64_t{257}, kLeastInt64, kMostInt64}) {
    encoding_.ignore_value = ignored;
    EXPECT_EQ(average({-1, 1, 127, -128, 6}), 1.0) << ignored;
  }
}

TEST_F(GetAverageQuality, ExtremeQualitiesOfALongReadAddUpExactly) {
  EXPECT_EQ(average(std::vector<int>(100001, 127)), 127.0);
  EXPECT_EQ(average(std::vector<int>(100001, -128)), -128.0);
}

TEST_F(GetAverageQuality, EveryLengthGivesTheMeanOfAPlainSum) {
  Random random(3);
  for (int length = 1; length <= 400; ++length) {
    encoding_.ignore_value = random_number(random, -140, 140);
    std::vector<int> qualities;
    std::int64_t sum = 0;
    std::int64_t counted = 0;
    for (int i = 0; i < length; ++i) {
      const bool ignore =
          encoding_.ignore_value >= -128 && encoding_.ignore_value <= 127 && random() % 3 == 0;
      qualities.push_back(
          static_cast<int>(ignore ? encoding_.ignore_value : random_number(random, -128, 127)));
      if (qualities.back() == encoding_.ignore_value) continue;
      sum += qualities.back();
      ++counted;
    }
    const double expected =
        counted == 0 ? kLowest : static_cast<double>(sum) / static_cast<double>(counted);
    ASSERT_EQ(average(qualities), expected) << length;
  }
}

}  // namespace
}  // namespace readkit::quality_average_quality_test
