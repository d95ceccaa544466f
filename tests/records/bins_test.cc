#include "records/bins.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "support/random_data.h"
#include "support/reference_decoder.h"

namespace readkit::records_bins_test {
namespace {

constexpr int kMost = 1 << 29;

TEST(Bins, FirstBinsOfTheLevels) {
  const int expected[] = {0, 1, 9, 73, 585, 4681};
  for (int level = 0; level <= 5; ++level) EXPECT_EQ(first_bin(level), expected[level]) << level;
  EXPECT_EQ(first_bin(6), 37449);  // the number of bins
}

TEST(Bins, ParentIsOneLevelUp) {
  const struct {
    int bin;
    int parent;
  } rows[] = {
      {1, 0},      {8, 0},      {9, 1},      {16, 1},       {17, 2},
      {72, 8},     {73, 9},     {584, 72},   {585, 73},     {4680, 584},
      {4681, 585}, {4688, 585}, {4689, 586}, {37448, 4680}, {0, -1},  // an arithmetic shift
  };
  for (const auto& row : rows) EXPECT_EQ(parent_bin(row.bin), row.parent) << row.bin;
}

TEST(Bins, ParentContainsItsChildren) {
  for (int level = 1; level <= 5; ++level) {
    for (int bin = first_bin(level); bin < first_bin(level + 1); ++bin) {
      const int place = bin - first_bin(level);
      ASSERT_EQ(parent_bin(bin), first_bin(level - 1) + place / 8);
    }
  }
}

TEST(Reg2Bin, IsTheSmallestBinThatHoldsTheInterval) {
  const struct {
    int beg;
    int end;
    int bin;
  } rows[] = {
      {0, 1, 4681},
      {0, 16384, 4681},
      {0, 16385, 585},
      {16383, 16385, 585},
      {16384, 16385, 4682},
      {99, 109, 4681},
      {0, 1 << 17, 585},
      {0, (1 << 17) + 1, 73},
      {0, 1 << 20, 73},
      {0, (1 << 20) + 1, 9},
      {0, 1 << 23, 9},
      {0, (1 << 23) + 1, 1},
      {0, 1 << 26, 1},
      {0, (1 << 26) + 1, 0},
      {0, kMost, 0},
      {kMost - 1, kMost, 37448},
      // Empty intervals: the last position lies before the first.
      {100, 100, 4681},
      {0, 0, 0},
      {16384, 16384, 585},
      {1 << 26, 1 << 26, 0},
      // An unplaced record.
      {-1, 0, 4680},
      {-1, -1, 4680},
      {-1, 1, 0},
  };
  for (const auto& row : rows) EXPECT_EQ(reg2bin(row.beg, row.end), row.bin) << row.beg;
}

TEST(Reg2Bin, EqualsTheSlowSearchOnRandomIntervals) {
  Random random(90);
  for (int i = 0; i < 100000; ++i) {
    const int beg = static_cast<int>(random_number(random, -1, kMost - 1));
    const auto length = random_number(random, 0, std::int64_t{1} << random() % 30);
    const int end = static_cast<int>(std::min<std::int64_t>(kMost, beg + length));
    ASSERT_EQ(reg2bin(beg, end), slow_bin(beg, end)) << beg << " " << end;
  }
}

TEST(Reg2Bin, ExtremeEndsDoNotOverflow) {
  EXPECT_EQ(reg2bin(INT_MAX, INT_MIN), 0);
  EXPECT_EQ(reg2bin(0, INT_MIN), 0);
  EXPECT_EQ(reg2bin(INT_MAX, INT_MAX), 4681 + (INT_MAX >> 14));
}

TEST(Reg2Bins, ListsOverlappingBinsByLevelAndNumber) {
  EXPECT_EQ(reg2bins(0, 1), (std::vector<std::uint32_t>{0, 1, 9, 73, 585, 4681}));
  EXPECT_EQ(reg2bins(16383, 16385), (std::vector<std::uint32_t>{0, 1, 9, 73, 585, 4681, 4682}));
  EXPECT_EQ(reg2bins(131071, 131073),
            (std::vector<std::uint32_t>{0, 1, 9, 73, 585, 586, 4688, 4689}));
  EXPECT_EQ(reg2bins(kMost - 1, kMost), (std::vector<std::uint32_t>{0, 8, 72, 584, 4680, 37448}));
}

TEST(Reg2Bins, OfTheWholeReferenceAreAllBins) {
  const std::vector<std::uint32_t> bins = reg2bins(0, kMost);
  ASSERT_EQ(bins.size(), 37449u);
  for (std::uint32_t i = 0; i < bins.size(); ++i) ASSERT_EQ(bins[i], i);
}

TEST(Reg2Bins, EndIsClampedToTheLargestPosition) {
  EXPECT_EQ(reg2bins(0, INT_MAX), reg2bins(0, kMost));
  EXPECT_EQ(reg2bins(kMost - 5, INT_MAX), reg2bins(kMost - 5, kMost));
}

TEST(Reg2Bins, BeginIsNotClamped) {
  // One bin before the first of every level, which is the last of the level above.
  EXPECT_EQ(reg2bins(-1, 1),
            (std::vector<std::uint32_t>{0, 0, 1, 8, 9, 72, 73, 584, 585, 4680, 4681}));
}

TEST(Reg2Bins, OfAnEmptyOrBackwardIntervalAreThoseOfItsBounds) {
  EXPECT_EQ(reg2bins(100, 100), (std::vector<std::uint32_t>{0, 1, 9, 73, 585, 4681}));
  EXPECT_EQ(reg2bins(16384, 16384), (std::vector<std::uint32_t>{0, 1, 9, 73, 585}));
  EXPECT_EQ(reg2bins(kMost, 5), (std::vector<std::uint32_t>{0}));
  EXPECT_EQ(reg2bins(INT_MAX, INT_MIN), (std::vector<std::uint32_t>{0}));
}

TEST(Reg2Bins, EqualTheSlowSearchOnRandomIntervals) {
  Random random(91);
  for (int i = 0; i < 300; ++i) {
    const int beg = static_cast<int>(random_number(random, 0, kMost - 1));
    const auto length = random_number(random, 1, std::int64_t{1} << random() % 30);
    const int end = static_cast<int>(std::min<std::int64_t>(kMost, beg + length));
    ASSERT_EQ(reg2bins(beg, end), slow_bins(beg, end)) << beg << " " << end;
  }
}

TEST(Reg2Bins, HoldTheBinOfEveryOverlappingInterval) {
  Random random(92);
  for (int i = 0; i < 2000; ++i) {
    const int beg = static_cast<int>(random_number(random, 0, 1 << 22));
    const int end = beg + static_cast<int>(random_number(random, 1, 1 << 18));
    const std::vector<std::uint32_t> bins = reg2bins(beg, end);
    const int other_beg =
        static_cast<int>(random_number(random, std::max(0, beg - 300000), end - 1));
    const int other_end =
        std::max(other_beg, beg) + static_cast<int>(random_number(random, 1, 300000));
    const auto bin = static_cast<std::uint32_t>(reg2bin(other_beg, other_end));
    ASSERT_TRUE(std::find(bins.begin(), bins.end(), bin) != bins.end());
  }
}

TEST(Reg2Bins, CalledAgainGiveTheSame) { EXPECT_EQ(reg2bins(5, 5000000), reg2bins(5, 5000000)); }

}  // namespace
}  // namespace readkit::records_bins_test
