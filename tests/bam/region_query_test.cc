// Region queries, with and without an index.
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/bam_builder.h"
#include "support/expect_kind.h"
#include "support/index_model.h"
#include "support/random_data.h"
#include "support/temp_dir.h"

namespace readkit::bam_region_query_test {
namespace {

using Names = std::vector<std::string>;

std::string name_of(const Alignment& record) { return std::string(record.read_name_text()); }

Names names_of(const std::vector<Alignment>& records) {
  Names names;
  for (const Alignment& record : records) names.push_back(name_of(record));
  return names;
}

RecordBuilder read(const std::string& name, int ref, int pos, int bases = 10) {
  return RecordBuilder(name)
      .at(ref, pos)
      .cigar(std::to_string(bases) + "M")
      .seq(std::string(static_cast<std::size_t>(bases), 'A'));
}

// ---- The overlap rule --------------------------------------------------------------------------

TEST(Overlap, IntervalsThatShareAPositionOverlap) {
  EXPECT_TRUE(overlap(10, 20, 19, 30));
  EXPECT_TRUE(overlap(10, 20, 5, 11));
  EXPECT_TRUE(overlap(10, 20, 12, 13));
  EXPECT_TRUE(overlap(10, 20, 5, 30));
}

TEST(Overlap, IntervalsThatOnlyTouchDoNot) {
  EXPECT_FALSE(overlap(10, 20, 20, 30));
  EXPECT_FALSE(overlap(10, 20, 5, 10));
}

TEST(Overlap, IntervalsOfOneBeginDoEvenWhenTheyAreEmpty) {
  EXPECT_TRUE(overlap(10, 10, 10, 15));
  EXPECT_TRUE(overlap(10, 20, 10, 10));
  EXPECT_TRUE(overlap(10, 10, 10, 10));
}

TEST(Overlap, EmptyRegionInsideARecordOverlapsIt) { EXPECT_TRUE(overlap(10, 10, 5, 15)); }

TEST(Overlap, MapRefStartIsThePosition) {
  EXPECT_EQ(BAM::map_ref_start(RecordBuilder().at(0, 99).record()), 99);
}

// ---- With and without an index -----------------------------------------------------------------

enum class Way { kScan, kIndex };

class RegionQuery : public testing::TestWithParam<Way> {
 protected:
  BAM open(BamBuilder file) {
    BAM bam(file.one_block_each().write(folder_, "a.bam"));
    if (GetParam() == Way::kIndex) bam.build_index();
    return bam;
  }
  BAM sample() {
    return open(BamBuilder()
                    .refs(5, 1000)
                    .record(read("a", 0, 90))
                    .record(read("b", 0, 91))
                    .record(read("c", 0, 100))
                    .record(read("d", 0, 100, 50))
                    .record(read("e", 0, 199))
                    .record(read("f", 0, 200))
                    .record(read("g", 3, 100))
                    .record(read("h", 3, 120))
                    .record(RecordBuilder("i").flag(4)));
  }
  Names query(int ref, int beg, int end) {
    return names_of(sample().filter_overlapping(ref, beg, end));
  }

  TempDir folder_;
};

INSTANTIATE_TEST_SUITE_P(Ways, RegionQuery, testing::Values(Way::kScan, Way::kIndex),
                         [](const auto& param) {
                           return param.param == Way::kScan ? "Scan" : "Index";
                         });

TEST_P(RegionQuery, RecordThatEndsExactlyAtTheBeginIsLeftOutAndOneLongerIsFound) {
  EXPECT_EQ(query(0, 100, 200), (Names{"b", "c", "d", "e"}));
}

TEST_P(RegionQuery, RecordThatStartsAtTheEndIsLeftOut) {
  EXPECT_EQ(query(0, 160, 199), Names{});
  EXPECT_EQ(query(0, 160, 200), (Names{"e"}));
}

TEST_P(RegionQuery, EmptyRegionFindsTheRecordsThatStartThere) {
  EXPECT_EQ(query(0, 200, 200), (Names{"e", "f"}));
  EXPECT_EQ(query(0, 90, 90), (Names{"a"}));
}

TEST_P(RegionQuery, RegionThatEndsBeforeItBeginsFindsWhatStartsOrLiesAtItsBegin) {
  EXPECT_EQ(query(0, 120, 5), (Names{"d"}));
}

TEST_P(RegionQuery, OtherReferencesAreLeftOut) { EXPECT_EQ(query(3, 0, 1000), (Names{"g", "h"})); }

TEST_P(RegionQuery, ReferenceWithoutRecordsFindsNothing) {
  EXPECT_EQ(query(1, 0, 1000), Names{});
  EXPECT_EQ(query(4, 0, 1000), Names{});
}

TEST_P(RegionQuery, WholeReferenceFindsAllInFileOrder) {
  EXPECT_EQ(query(0, 0, 536870912), (Names{"a", "b", "c", "d", "e", "f"}));
  EXPECT_EQ(query(0, 0, std::numeric_limits<int>::max()), query(0, 0, 536870912));
}

TEST_P(RegionQuery, NegativeBeginFindsTheSameAsZero) {
  EXPECT_EQ(query(0, -1, 101), (Names{"a", "b", "c", "d"}));
  EXPECT_EQ(query(0, std::numeric_limits<int>::min(), 101), (Names{"a", "b", "c", "d"}));
}

TEST_P(RegionQuery, RecordBeforePositionZeroOverlapsByItsEnd) {
  BAM bam = open(BamBuilder().refs(1, 1000).record(read("a", 0, -1)).record(read("b", 0, 3)));
  EXPECT_EQ(names_of(bam.filter_overlapping(0, 0, 1)), (Names{"a"}));
  EXPECT_EQ(names_of(bam.filter_overlapping(0, -1, 0)), (Names{"a"}));
}

TEST_P(RegionQuery, UnmappedPlacedRecordCoversOnePosition) {
  BAM bam =
      open(BamBuilder().refs(1, 1000).record(RecordBuilder("a").at(0, 50).flag(4).seq("ACGTACGT")));
  EXPECT_EQ(names_of(bam.filter_overlapping(0, 50, 51)), (Names{"a"}));
  EXPECT_EQ(names_of(bam.filter_overlapping(0, 51, 60)), Names{});
}

TEST_P(RegionQuery, RecordWhoseCigarReachesBeyondAllPositionsIsFound) {
  RecordBuilder record = read("a", 0, 5);
  for (int i = 0; i < 9; ++i) record.cigar_op((1U << 28) - 1, 3);
  BAM bam = open(BamBuilder().refs(1, 1000).record(record.bin(0)));
  EXPECT_EQ(names_of(bam.filter_overlapping(0, 536870911, 536870912)), (Names{"a"}));
}

TEST_P(RegionQuery, ReferenceAboveTheirNumberRaisesReferenceIdNotFound) {
  BAM bam = sample();
  EXPECT_KIND(bam.filter_overlapping(6, 0, 1), ReferenceIDNotFound, u"6");
  EXPECT_KIND(bam.filter_overlapping(2147483647, 0, 1), ReferenceIDNotFound, u"2147483647");
}

TEST_P(RegionQuery, ReferenceEqualToTheirNumberPassesTheCheck) {
  EXPECT_EQ(query(5, 0, 1000), Names{});
}

TEST_P(RegionQuery, NegativeReferencePassesTheCheck) { EXPECT_EQ(query(-2, 0, 1000), Names{}); }

TEST_P(RegionQuery, PredicateDecidesWhatIsKept) {
  BAM bam = sample();
  const auto keep = [](const Alignment& record) { return record.pos() == 100; };
  EXPECT_EQ(names_of(bam.filter_overlapping(0, 0, 1000, keep)), (Names{"c", "d"}));
}

TEST_P(RegionQuery, PredicateIsAskedAboutOverlappingRecordsOnly) {
  BAM bam = sample();
  Names asked;
  bam.filter_overlapping(0, 195, 205, [&](const Alignment& record) {
    asked.push_back(name_of(record));
    return false;
  });
  EXPECT_EQ(asked, (Names{"e", "f"}));
}

TEST_P(RegionQuery, PredicateFormDoesNotCheckTheReference) {
  BAM bam = sample();
  const auto all = [](const Alignment&) { return true; };
  EXPECT_EQ(names_of(bam.filter_overlapping(6, 0, 1000, all)), Names{});
  EXPECT_EQ(names_of(bam.filter_overlapping(-1000, 0, 1000, all)), Names{});
}

TEST_P(RegionQuery, EmptyPredicateRaisesBadFunctionCall) {
  BAM bam = sample();
  EXPECT_STD(bam.filter_overlapping(0, 0, 1000, nullptr), std::bad_function_call,
             std::bad_function_call().what());
  EXPECT_EQ(names_of(bam.filter_overlapping(1, 0, 1000, nullptr)), Names{});
}

TEST_P(RegionQuery, QueriesFollowEachOtherOnOneFile) {
  BAM bam = sample();
  EXPECT_EQ(names_of(bam.filter_overlapping(3, 0, 1000)), (Names{"g", "h"}));
  EXPECT_EQ(names_of(bam.filter_overlapping(0, 0, 95)), (Names{"a", "b"}));
  EXPECT_EQ(names_of(bam.filter_overlapping(3, 0, 110)), (Names{"g"}));
}

TEST_P(RegionQuery, FindNextLeavesTheFoundRecordAsTheCurrentOne) {
  BAM bam = sample();
  bam.find_init(0, 100, 101);
  Names found;
  while (bam.find_next(0, 100, 101)) found.push_back(name_of(bam));
  EXPECT_EQ(found, (Names{"b", "c", "d"}));
}

TEST_P(RegionQuery, FilterAllLooksAtEveryRecordOfTheFile) {
  BAM bam = sample();
  bam.next_alignment();
  EXPECT_EQ(names_of(bam.filter_all([](const Alignment& record) {
              return record.ref_id() == -1 || record.pos() == 120;
            })),
            (Names{"h", "i"}));
  EXPECT_TRUE(bam.at_end());
}

TEST_P(RegionQuery, FilterAllWithAnEmptyPredicateRaisesBadFunctionCall) {
  BAM bam = sample();
  EXPECT_STD(bam.filter_all(nullptr), std::bad_function_call, std::bad_function_call().what());
}

TEST_P(RegionQuery, CopiesOutliveTheFile) {
  EXPECT_EQ(names_of(open(BamBuilder().refs(1, 9).record(read("a", 0, 1)))
                         .filter_all([](const Alignment&) { return true; })),
            (Names{"a"}));
}

// ---- Only without an index
// -----------------------------------------------------------------------

TEST(RegionScan, ReadsToTheEndOfTheFileWhateverTheRegion) {
  const TempDir folder;
  BAM bam(BamBuilder()
              .refs(4, 1000)
              .record(read("a", 0, 5))
              .record(read("b", 3, 5))
              .record(RecordBuilder().l_seq(-1))
              .write(folder, "a.bam"));
  EXPECT_KIND(bam.filter_overlapping(0, 0, 6), InvalidBAMFormat, bam.path());
}

TEST(RegionScan, UnsortedFileIsSearchedInFileOrder) {
  const TempDir folder;
  BAM bam(BamBuilder()
              .refs(4, 1000)
              .record(read("a", 3, 50))
              .record(read("b", 0, 5))
              .record(read("c", 3, 5))
              .write(folder, "a.bam"));
  EXPECT_EQ(names_of(bam.filter_overlapping(3, 0, 1000)), (Names{"a", "c"}));
  EXPECT_TRUE(bam.at_end());
}

TEST(RegionScan, FindNextGoesOnFromWhereTheStreamStands) {
  const TempDir folder;
  BAM bam(BamBuilder()
              .refs(1, 1000)
              .record(read("a", 0, 1))
              .record(read("b", 0, 2))
              .record(read("c", 0, 3))
              .write(folder, "a.bam"));
  bam.next_alignment();
  ASSERT_TRUE(bam.find_next(0, 0, 1000));
  EXPECT_EQ(name_of(bam), "b");
}

}  // namespace
}  // namespace readkit::bam_region_query_test
