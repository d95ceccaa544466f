#include "records/reference_map.h"

#include <gtest/gtest.h>

namespace readkit::records_reference_map_test {
namespace {

TEST(ReferenceMap, GivesTheIndexOfANameHoweverOftenItIsAsked) {
  const ReferenceMap refs{{"chr1", 0}, {"chr2", 1}};
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(refs.find("chr1"), 0);
    EXPECT_EQ(refs.find("chr2"), 1);
    EXPECT_EQ(refs.find("chr3"), ReferenceMap::kNone);
    EXPECT_EQ(refs.find("="), ReferenceMap::kNone);
    EXPECT_EQ(refs.find(""), ReferenceMap::kNone);
  }
  EXPECT_EQ(refs.size(), 2u);
}

TEST(ReferenceMap, KnowsTheEmptyName) {
  const ReferenceMap refs{{"", 4}};
  EXPECT_EQ(refs.find(""), 4);
  EXPECT_EQ(refs.find("*"), ReferenceMap::kNone);
  EXPECT_EQ(refs.find(""), 4);
}

TEST(ReferenceMap, ForgetsAnswersThatAnAdditionChanges) {
  ReferenceMap refs{{"chr1", 0}};
  EXPECT_EQ(refs.find("chr1"), 0);
  EXPECT_EQ(refs.find("chr2"), ReferenceMap::kNone);
  refs.insert_or_assign("chr1", 5);
  refs.insert_or_assign("chr2", 6);
  EXPECT_EQ(refs.find("chr1"), 5);
  EXPECT_EQ(refs.find("chr2"), 6);
}

TEST(ReferenceMap, InsertionLeavesANameThatIsThere) {
  ReferenceMap refs{{"chr1", 0}};
  EXPECT_EQ(refs.find("chr2"), ReferenceMap::kNone);
  EXPECT_FALSE(refs.insert("chr1", 5));
  EXPECT_TRUE(refs.insert("chr2", 6));
  EXPECT_EQ(refs.find("chr1"), 0);
  EXPECT_EQ(refs.find("chr2"), 6);
}

TEST(ReferenceMap, TellsNamesOfManyLengthsApart) {
  ReferenceMap refs;
  std::string name;
  for (int i = 0; i < 100; ++i) refs.insert_or_assign(name += 'a', i);
  for (int round = 0; round < 2; ++round) {
    name.clear();
    for (int i = 0; i < 100; ++i) EXPECT_EQ(refs.find(name += 'a'), i);
  }
}

TEST(ReferenceMap, EqualsOneOfTheSameContentWhateverWasAsked) {
  const ReferenceMap a{{"chr1", 0}};
  const ReferenceMap b{{"chr1", 0}};
  a.find("chr1");
  EXPECT_EQ(a, b);
  EXPECT_NE(a, (ReferenceMap{{"chr1", 1}}));
}

}  // namespace
}  // namespace readkit::records_reference_map_test
