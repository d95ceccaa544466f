#include "convert/selection.h"

#include <vector>

#include <gtest/gtest.h>

#include "support/expect_kind.h"

namespace readkit::convert_selection_test {
namespace {

using Numbers = std::vector<unsigned>;

// A file of `size` records: the ordinals taken of it, and how often it was asked for a record.
struct Selection {
  Numbers taken;
  unsigned reads = 0;
};

Selection select(const Numbers& ordinals, unsigned size) {
  Selection selection;
  const auto next = [&] { return ++selection.reads <= size; };
  const auto take = [&] { selection.taken.push_back(selection.reads); };
  for_each_selected(ordinals.data(), ordinals.size(), next, take);
  return selection;
}

TEST(Selection, NoOrdinalsAreAllRecords) {
  const Selection all = select({}, 4);
  EXPECT_EQ(all.taken, (Numbers{1, 2, 3, 4}));
  EXPECT_EQ(all.reads, 5U);
  EXPECT_TRUE(select({}, 0).taken.empty());
}

TEST(Selection, ListIsNotReadWhenItsLengthIsZero) {
  unsigned reads = 0;
  unsigned taken = 0;
  for_each_selected(
      nullptr, 0, [&] { return ++reads <= 3; }, [&] { ++taken; });
  EXPECT_EQ(taken, 3U);
  // A list may well be there: it says nothing.
  const unsigned two = 2;
  reads = taken = 0;
  for_each_selected(
      &two, 0, [&] { return ++reads <= 3; }, [&] { ++taken; });
  EXPECT_EQ(taken, 3U);
}

TEST(Selection, NothingIsReadBehindTheLastOrdinal) {
  const Selection two = select({2, 5}, 100);
  EXPECT_EQ(two.taken, (Numbers{2, 5}));
  EXPECT_EQ(two.reads, 5U);
  const Selection one = select({1}, 1);
  EXPECT_EQ(one.taken, (Numbers{1}));
  EXPECT_EQ(one.reads, 1U);
}

TEST(Selection, NothingIsComparedBehindTheEndOfTheList) {
  const unsigned list[] = {1, 2, 3};
  Selection selection;
  for_each_selected(
      list, 2, [&] { return ++selection.reads <= 9; },
      [&] { selection.taken.push_back(selection.reads); });
  EXPECT_EQ(selection.taken, (Numbers{1, 2}));
}

TEST(Selection, EveryAscendingListIsTakenWhole) {
  constexpr unsigned kSize = 8;
  for (unsigned chosen = 1; chosen < 1U << kSize; ++chosen) {
    Numbers list;
    for (unsigned i = 0; i < kSize; ++i) {
      if ((chosen >> i & 1) != 0) list.push_back(i + 1);
    }
    const Selection selection = select(list, kSize);
    EXPECT_EQ(selection.taken, list);
    EXPECT_EQ(selection.reads, list.back());
  }
}

// Waited for until the file ends, and so is all that stands behind it.
struct NeverMet {
  const char* what;
  Numbers list;
  Numbers taken;
};

TEST(Selection, OrdinalThatIsNotMetLetsTheFileBeReadToItsEnd) {
  const std::vector<NeverMet> rows = {
      {"descending", {5, 2}, {5}},
      {"descending in the middle", {2, 5, 3, 6}, {2, 5}},
      {"repeated", {3, 3}, {3}},
      {"repeated, with more behind it", {1, 2, 2, 4}, {1, 2}},
      {"0", {0}, {}},
      {"0 first", {0, 1, 2}, {}},
      {"0 behind others", {4, 0}, {4}},
      {"one past the last record", {8}, {}},
      {"past the last record", {2, 7, 100}, {2, 7}},
      {"the largest number", {1, 4294967295U}, {1}},
  };
  for (const auto& [what, list, taken] : rows) {
    const Selection selection = select(list, 7);
    EXPECT_EQ(selection.taken, taken) << what;
    EXPECT_EQ(selection.reads, 8U) << what;
  }
}

TEST(Selection, AnyListOfAFewNumbersIsTakenUpToWhereItStopsToAscend) {
  for (unsigned code = 0; code < 6 * 6 * 6; ++code) {
    const Numbers list = {code % 6, code / 6 % 6, code / 36};
    Numbers expected;
    unsigned last = 0;
    for (const unsigned ordinal : list) {
      if (ordinal <= last || ordinal > 4) break;
      expected.push_back(ordinal);
      last = ordinal;
    }
    EXPECT_EQ(select(list, 4).taken, expected) << list[0] << ' ' << list[1] << ' ' << list[2];
  }
}

TEST(Selection, RecordIsTakenBeforeTheNextOneIsRead) {
  std::vector<char> steps;
  const unsigned list[] = {1, 3};
  for_each_selected(
      list, 2,
      [&] {
        steps.push_back('r');
        return true;
      },
      [&] { steps.push_back('t'); });
  EXPECT_EQ(steps, (std::vector<char>{'r', 't', 'r', 'r', 't'}));
}

TEST(Selection, ErrorsOfReadingAndOfTakingEndIt) {
  unsigned taken = 0;
  const auto next_fails = [&]() -> bool { throw SAMRead(u"in"); };
  EXPECT_KIND(for_each_selected(nullptr, 0, next_fails, [&] { ++taken; }), SAMRead, u"in");
  const unsigned list[] = {1, 2};
  EXPECT_KIND(for_each_selected(list, 2, next_fails, [&] { ++taken; }), SAMRead, u"in");
  EXPECT_EQ(taken, 0U);
  const auto take_fails = [&] {
    ++taken;
    throw FileWrite(u"out");
  };
  EXPECT_KIND(for_each_selected(
                  list, 2, [] { return true; }, take_fails),
              FileWrite, u"out");
  EXPECT_EQ(taken, 1U);
}

}  // namespace
}  // namespace readkit::convert_selection_test
