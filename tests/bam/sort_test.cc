// What a sort makes of a BAM file.
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/folder_watch.h"
#include "support/sort_words.h"

namespace readkit::bam_sort_test {
namespace {

RecordBuilder read_at(const std::string& name, int ref, int pos) {
  return RecordBuilder(name).at(ref, pos).bin(0);
}

class BamSort : public testing::Test {
 protected:
  void write(const Reads& reads, const std::string& name = "a.bam") {
    bam_of(reads).write(folder_, name);
  }
  // Sorts "a.bam" into base + ".bam".
  void sort(const RunLimits& limits, const std::string& base = "t") {
    BAM(folder_.path("a.bam")).sort(folder_.text(base), limits);
  }
  void sort_at_once(const std::string& base = "whole") {
    sort(RunLimits::for_this_machine(), base);
  }

  TempDir folder_;
  Random random_{7};
};

std::vector<std::pair<int, int>> places_of(const std::vector<DecodedRecord>& records) {
  std::vector<std::pair<int, int>> places;
  for (const DecodedRecord& record : records) places.emplace_back(record.ref_id, record.pos);
  return places;
}

// ---- One run ---------------------------------------------------------------------------------

TEST_F(BamSort, FileWithoutRecordsGivesAHeaderAndNoTemporary) {
  write({});
  FolderWatch watch(folder_);
  sort_at_once("t");
  EXPECT_EQ(without_readers(watch.events()), (Names{"write t.bam"}));
  const DecodedBam sorted = decode_bam(folder_.read("t.bam"));
  EXPECT_EQ(sorted.text, header_text());
  EXPECT_EQ(sorted.refs.size(), 3U);
  EXPECT_TRUE(sorted.records.empty());
}

TEST_F(BamSort, RecordsComeByReferenceThenPositionAndThoseWithoutAReferenceLast) {
  write({read_at("a", 1, 7), read_at("b", -1, -1), read_at("c", 0, 9), read_at("d", 0, 3),
         read_at("e", -1, 4), read_at("f", 2, -1), read_at("g", 0, -1), read_at("h", -2, 0)});
  sort_at_once();
  // References below -1 ascend among themselves, so -2 comes before -1.
  EXPECT_EQ(names_in(folder_, "whole.bam"), (Names{"g", "d", "c", "a", "f", "h", "b", "e"}));
}

TEST_F(BamSort, EqualRecordsOfOneRunKeepTheirOrder) {
  Reads reads;
  for (int i = 0; i < 200; ++i) {
    reads.push_back(read_at(std::to_string(i), i % 2, i % 3).flag(i % 5).mapq(200 - i));
  }
  write(reads);
  sort_at_once();
  EXPECT_EQ(names_in(folder_, "whole.bam"), names_of(in_order(records_in(folder_, "a.bam"))));
}

TEST_F(BamSort, OneRunIsAStableSortOfTheWholeRecords) {
  write(random_reads(random_, 2000));
  sort_at_once();
  const std::vector<DecodedRecord> sorted = records_in(folder_, "whole.bam");
  const std::vector<DecodedRecord> expected = in_order(records_in(folder_, "a.bam"));
  ASSERT_EQ(names_of(sorted), names_of(expected));
  EXPECT_EQ(same_records(sorted), same_records(expected));
}

TEST_F(BamSort, SortedFileStaysAsItIs) {
  write(random_reads(random_, 500));
  sort_at_once("a");
  const std::string once = folder_.read("a.bam");
  sort_at_once();
  EXPECT_EQ(folder_.read("whole.bam"), once);
}

TEST_F(BamSort, RecordsFromWhereTheFileStandsAreSorted) {
  write({read_at("a", 1, 7), read_at("b", 0, 9), read_at("c", 0, 3)});
  BAM in(folder_.path("a.bam"));
  in.next_alignment();
  in.sort(folder_.text("t"));
  EXPECT_EQ(names_in(folder_, "t.bam"), (Names{"c", "b"}));
  EXPECT_TRUE(in.at_end());
}

// ---- Many runs -------------------------------------------------------------------------------

TEST_F(BamSort, ManyRunsGiveTheSameRecordsInOrderWhateverTheirLength) {
  write(random_reads(random_, 300));
  sort_at_once();
  const std::vector<DecodedRecord> whole = records_in(folder_, "whole.bam");
  for (const std::size_t length : {1U, 2U, 3U, 7U, 50U, 75U, 100U, 150U, 299U, 300U}) {
    sort(limit_of_records(length));
    const DecodedBam sorted = decode_bam(folder_.read("t.bam"));
    EXPECT_EQ(sorted.text, header_text()) << length;
    EXPECT_TRUE(is_in_order(sorted.records)) << length;
    EXPECT_EQ(places_of(sorted.records), places_of(whole)) << length;
    EXPECT_EQ(same_records(sorted.records), same_records(whole)) << length;
    EXPECT_EQ(folder_.names(), (Names{"a.bam", "t.bam", "whole.bam"})) << length;
  }
}

TEST_F(BamSort, RunsCutByBytesGiveTheSameRecordsInOrder) {
  write(random_reads(random_, 40));
  sort_at_once();
  sort(limit_of_bytes(1));
  const std::vector<DecodedRecord> sorted = records_in(folder_, "t.bam");
  const std::vector<DecodedRecord> whole = records_in(folder_, "whole.bam");
  EXPECT_EQ(places_of(sorted), places_of(whole));
  EXPECT_EQ(same_records(sorted), same_records(whole));
  EXPECT_EQ(folder_.names(), (Names{"a.bam", "t.bam", "whole.bam"}));
}

TEST_F(BamSort, TemporariesAreMadeThenTheOutputThenTheyAreRemovedInOrder) {
  write(random_reads(random_, 5));
  FolderWatch watch(folder_);
  sort(limit_of_records(2));
  EXPECT_EQ(without_readers(watch.events()),
            (Names{"write t.0.bam", "write t.1.bam", "write t.2.bam", "write t.bam",
                   "remove t.0.bam", "remove t.1.bam", "remove t.2.bam"}));
}

TEST_F(BamSort, TemporariesAreClosedBeforeTheyAreRemoved) {
  write(random_reads(random_, 3));
  FolderWatch watch(folder_);
  sort(limit_of_records(2));
  Names events = watch.events();
  const auto place = [&](const std::string& event) {
    return std::find(events.begin(), events.end(), event) - events.begin();
  };
  ASSERT_LT(place("remove t.1.bam"), static_cast<std::ptrdiff_t>(events.size()));
  EXPECT_LT(place("close t.0.bam"), place("remove t.0.bam"));
  EXPECT_LT(place("close t.1.bam"), place("remove t.0.bam"));
  EXPECT_LT(place("write t.bam"), place("remove t.0.bam"));
}

TEST_F(BamSort, SortedRunsThatFollowOneAnotherAreJoinedInOrder) {
  Reads reads;
  for (int i = 0; i < 9; ++i) reads.push_back(read_at(std::to_string(i), 0, i));
  write(reads);
  sort(limit_of_records(2));
  EXPECT_EQ(names_in(folder_, "t.bam"), names_in(folder_, "a.bam"));
}

TEST_F(BamSort, SecondSortWritesTheSameBytes) {
  write(random_reads(random_, 200));
  sort(limit_of_records(30), "one");
  sort(limit_of_records(30), "two");
  EXPECT_EQ(folder_.read("one.bam"), folder_.read("two.bam"));
  sort_at_once("three");
  sort_at_once("four");
  EXPECT_EQ(folder_.read("three.bam"), folder_.read("four.bam"));
}

// ---- Names -----------------------------------------------------------------------------------

TEST_F(BamSort, DefaultOutputTakesTheNameOfTheFile) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"reads.bam", "reads.sorted.bam"},
      {"reads", "reads.sorted.bam"},
      {".bam", ".sorted.bam"},
      {"reads.BAM", "reads.BAM.sorted.bam"},
      {"r\xc3\xa9.bam", "r\xc3\xa9.sorted.bam"},
  };
  for (const auto& [name, output] : rows) {
    const TempDir folder;
    BAM(bam_of({read_at("b", 1, 1), read_at("a", 0, 1)}).write(folder, name)).sort();
    EXPECT_EQ(names_in(folder, output), (Names{"a", "b"})) << name;
    EXPECT_EQ(folder.names().size(), 2U) << name;
  }
}

TEST_F(BamSort, BaseIsUsedAsItStands) {
  write({read_at("b", 1, 1), read_at("a", 0, 1)});
  for (const std::string base : {"x.bam", "", "x.", "x y"}) {
    sort(limit_of_records(1), base);
    EXPECT_EQ(names_in(folder_, base + ".bam"), (Names{"a", "b"})) << base;
  }
  EXPECT_EQ(folder_.names(), (Names{".bam", "a.bam", "x y.bam", "x..bam", "x.bam.bam"}));
}

TEST_F(BamSort, ExistingOutputIsReplaced) {
  write({read_at("b", 1, 1), read_at("a", 0, 1)});
  for (const std::size_t length : {1U, 10U}) {
    folder_.write("t.bam", std::string(100000, 'x'));
    sort(limit_of_records(length));
    EXPECT_EQ(names_in(folder_, "t.bam"), (Names{"a", "b"})) << length;
  }
}

TEST_F(BamSort, FileMayBeSortedOntoItself) {
  for (const std::size_t length : {10U, 3U, 2U, 1U}) {
    write({read_at("c", 2, 1), read_at("b", 1, 1), read_at("a", 0, 1)});
    sort(limit_of_records(length), "a");
    EXPECT_EQ(names_in(folder_, "a.bam"), (Names{"a", "b", "c"})) << length;
    EXPECT_EQ(folder_.names(), (Names{"a.bam"})) << length;
  }
}

}  // namespace
}  // namespace readkit::bam_sort_test
