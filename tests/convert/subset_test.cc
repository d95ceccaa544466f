#include "convert/subset.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/bam_builder.h"
#include "support/expect_kind.h"

namespace readkit::convert_subset_test {
namespace {

using Set = std::set<std::string>;

// A file with the references "chr1" to "chr9".
class Subset : public testing::Test {
 protected:
  Subset() { file_.refs(9, 1000); }

  // A read on one reference with its mate on another, both by index.
  void add(int ref, int mate) { file_.record(RecordBuilder("r").at(ref, 5).mate(mate, 6)); }

  Set with_mates_of(const Set& refs) {
    file_.write(folder_, "a.bam");
    BAM in(folder_.path("a.bam"));
    while (in.next_alignment()) {  // to the end: all begins anew
    }
    const Source source = {in.path(), in.header(), in, [&] { in.rewind(); },
                           [&] { return in.next_alignment(); }};
    return with_mates(refs, source);
  }

  TempDir folder_;
  BamBuilder file_;
};

TEST_F(Subset, ReferencesOfMatesComeIn) {
  add(1, 6);
  add(1, 3);
  add(4, 8);
  EXPECT_EQ(with_mates_of({"chr2"}), (Set{"chr2", "chr7", "chr4"}));
}

TEST_F(Subset, FileWithoutRecordsAddsNothing) {
  EXPECT_EQ(with_mates_of({"chr2", "other"}), (Set{"chr2", "other"}));
}

TEST_F(Subset, MatesOnTheSameReferenceAndNoMatesAddNothing) {
  add(1, 1);
  add(1, -1);
  EXPECT_EQ(with_mates_of({"chr2"}), (Set{"chr2"}));
}

TEST_F(Subset, RecordsOutsideTheSetAddNothing) {
  add(0, 1);
  add(-1, 3);
  EXPECT_EQ(with_mates_of({"chr2"}), (Set{"chr2"}));
}

TEST_F(Subset, ReferenceThatCameInCountsForTheRecordsBehind) {
  add(1, 2);
  add(2, 3);
  add(3, 4);
  EXPECT_EQ(with_mates_of({"chr2"}), (Set{"chr2", "chr3", "chr4", "chr5"}));
}

TEST_F(Subset, ReferenceThatComesInLateMissesTheMatesOfEarlierRecords) {
  add(3, 4);
  add(2, 3);
  add(1, 2);
  EXPECT_EQ(with_mates_of({"chr2"}), (Set{"chr2", "chr3"}));
}

TEST_F(Subset, StarInTheSetMeansRecordsWithoutReference) {
  add(-1, 3);
  add(-7, 4);
  add(2, 5);
  EXPECT_EQ(with_mates_of({"*"}), (Set{"*", "chr4", "chr5"}));
}

TEST_F(Subset, ReferencesNamedStarOrEqualSignAreNotAddedAsMates) {
  file_ = BamBuilder().ref("chr1", 100).ref("*", 100).ref("=", 100).ref("==", 100);
  for (const int mate : {1, 2, 3}) add(0, mate);
  EXPECT_EQ(with_mates_of({"chr1"}), (Set{"chr1", "=="}));
}

TEST_F(Subset, NameThatComesTwiceCountsAtBothPlaces) {
  file_ = BamBuilder().ref("chr1", 100).ref("chr1", 100).ref("a", 100).ref("b", 100);
  add(0, 2);
  add(1, 3);
  EXPECT_EQ(with_mates_of({"chr1"}), (Set{"chr1", "a", "b"}));
}

TEST_F(Subset, ReferenceOutsideTheDictionaryRaisesReferenceIDNotFound) {
  add(9, 0);
  EXPECT_KIND(with_mates_of({"chr2"}), ReferenceIDNotFound, u"9");
}

TEST_F(Subset, MateOutsideTheDictionaryRaisesOnlyForARecordOfTheSet) {
  add(1, 123456);
  EXPECT_KIND(with_mates_of({"chr2"}), ReferenceIDNotFound, u"123456");
  EXPECT_EQ(with_mates_of({"chr3"}), (Set{"chr3"}));
}

}  // namespace
}  // namespace readkit::convert_subset_test
