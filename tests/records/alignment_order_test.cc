// The order by which every coordinate sort goes.
#include <algorithm>
#include <climits>
#include <vector>

#include <gtest/gtest.h>

#include "records/alignment.h"
#include "support/record_builder.h"

namespace readkit::records_alignment_order_test {
namespace {

TEST(AlignmentOrder, IsByReferenceThenPositionWithUnplacedRecordsLast) {
  // Each row: a < b, b < a.
  const struct {
    int a_ref, a_pos, b_ref, b_pos;
    bool a_first, b_first;
  } rows[] = {
      {0, 5, 0, 6, true, false},
      {0, 6, 1, 5, true, false},
      {0, -1, 0, 0, true, false},
      {0, 5, 0, 5, false, false},
      {5, 100, -1, 0, true, false},
      {5, 100, -7, 0, true, false},
      {-2, 9, -1, 0, true, false},  // negative references ascend, too
      {-1, 3, -1, 4, true, false},
      {-1, -1, -1, -1, false, false},
      {INT_MAX, 0, INT_MIN, 0, true, false},
  };
  for (const auto& row : rows) {
    const Alignment a = RecordBuilder("a").at(row.a_ref, row.a_pos).record();
    const Alignment b = RecordBuilder("b").at(row.b_ref, row.b_pos).record();
    EXPECT_EQ(a < b, row.a_first);
    EXPECT_EQ(b < a, row.b_first);
    const bool equal = row.a_ref == row.b_ref && row.a_pos == row.b_pos;
    EXPECT_EQ(a <= b, row.a_first || equal);
    EXPECT_EQ(b <= a, row.b_first || equal);
    EXPECT_EQ(a.order_key() == b.order_key(), equal);
  }
}

TEST(AlignmentOrder, SortingPutsUnplacedRecordsLast) {
  std::vector<Alignment> records;
  for (const int ref : {1, -1, 0}) records.push_back(RecordBuilder().at(ref, 5).record());
  std::sort(records.begin(), records.end());
  EXPECT_EQ(records[0].ref_id(), 0);
  EXPECT_EQ(records[1].ref_id(), 1);
  EXPECT_EQ(records[2].ref_id(), -1);
}

TEST(AlignmentOrder, NothingBreaksATie) {
  const Alignment a = RecordBuilder("a").at(0, 5).flag(0).record();
  const Alignment b = RecordBuilder("b").at(0, 5).flag(16).mapq(9).cigar("5M").record();
  EXPECT_FALSE(a < b);
  EXPECT_FALSE(b < a);
  EXPECT_TRUE(a <= b);
  EXPECT_TRUE(b <= a);
}

TEST(AlignmentOrder, IsAStrictWeakOrder) {
  std::vector<Alignment> records;
  for (const int ref : {-3, -2, -1, 0, 1, 2}) {
    for (const int pos : {-1, 0, 1}) records.push_back(RecordBuilder().at(ref, pos).record());
  }
  const auto equivalent = [](const Alignment& a, const Alignment& b) {
    return !(a < b) && !(b < a);
  };
  for (const Alignment& a : records) {
    EXPECT_FALSE(a < a);
    for (const Alignment& b : records) {
      EXPECT_FALSE(a < b && b < a);
      for (const Alignment& c : records) {
        EXPECT_TRUE(!(a < b && b < c) || a < c);
        EXPECT_TRUE(!(equivalent(a, b) && equivalent(b, c)) || equivalent(a, c));
      }
    }
  }
}

}  // namespace
}  // namespace readkit::records_alignment_order_test
