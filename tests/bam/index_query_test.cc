// Queries through an index: how the list of chunks is walked, and random files against the model.
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/bam_builder.h"
#include "support/bgzf_builder.h"
#include "support/expect_kind.h"
#include "support/index_model.h"
#include "support/random_bam.h"
#include "support/random_data.h"
#include "support/temp_dir.h"

namespace readkit::bam_index_query_test {
namespace {

using Names = std::vector<std::string>;
using Chunks = std::vector<ModelChunk>;

std::string name_of(const Alignment& record) { return std::string(record.read_name_text()); }

// Records "0" to "9" of one reference, all in the first window, each in a block of its own; and an
// index that names whatever chunks a test likes.
class IndexQuery : public testing::Test {
 protected:
  IndexQuery() {
    file_.refs(1, 100000).one_block_each();
    for (int i = 0; i < 10; ++i) {
      file_.record(RecordBuilder(std::to_string(i)).at(0, 100 + i).cigar("5M"));
    }
  }

  std::uint64_t offset(std::size_t record) const { return file_.record_offset(record); }
  // A chunk of the records [first, end).
  ModelChunk chunk(std::size_t first, std::size_t end) const {
    return {offset(first), offset(end)};
  }
  BAM open(const Chunks& chunks) {
    BAM bam(file_.write(folder_, "a.bam"));
    const ModelIndex index = {.refs = {{.bins = {{4681, chunks}}}}};
    EXPECT_TRUE(bam.load_index(folder_.write("a.bai", encode_bai(index))));
    return bam;
  }
  static Names walk(BAM& bam) {
    bam.index_find_init(0, 0, 1000);
    Names names;
    while (bam.index_next_alignment()) names.push_back(name_of(bam));
    return names;
  }

  BamBuilder file_;
  TempDir folder_;
};

TEST_F(IndexQuery, OnlyTheChunksAreRead) {
  BAM bam = open({chunk(1, 3), chunk(6, 7)});
  EXPECT_EQ(walk(bam), (Names{"1", "2", "6"}));
}

TEST_F(IndexQuery, EmptyListYieldsNothingAndReadsNothing) {
  BAM bam = open({});
  bam.next_alignment();
  bam.index_find_init(0, 0, 1000);
  EXPECT_FALSE(bam.index_next_alignment());
  EXPECT_FALSE(bam.find_next(0, 0, 1000));
  EXPECT_TRUE(bam.next_alignment());
  EXPECT_EQ(name_of(bam), "1");
}

TEST_F(IndexQuery, SettingUpDoesNotSeek) {
  BAM bam = open({chunk(7, 8)});
  bam.next_alignment();
  bam.index_find_init(0, 0, 1000);
  bam.next_alignment();
  EXPECT_EQ(name_of(bam), "1");
}

TEST_F(IndexQuery, SettingUpAgainStartsAnew) {
  BAM bam = open({chunk(2, 5)});
  bam.index_find_init(0, 0, 1000);
  bam.index_next_alignment();
  bam.index_next_alignment();
  EXPECT_EQ(walk(bam), (Names{"2", "3", "4"}));
}

TEST_F(IndexQuery, DestroyingEndsTheQuery) {
  BAM bam = open({chunk(2, 5)});
  bam.index_find_init(0, 0, 1000);
  EXPECT_TRUE(bam.index_next_alignment());
  bam.index_find_destroy();
  EXPECT_FALSE(bam.index_next_alignment());
}

TEST_F(IndexQuery, WalkStaysAtItsEnd) {
  BAM bam = open({chunk(2, 4)});
  walk(bam);
  EXPECT_FALSE(bam.index_next_alignment());
  EXPECT_FALSE(bam.index_next_alignment());
}

TEST_F(IndexQuery, EveryChunkGivesARecordBeforeItsEndIsLookedAt) {
  // The first chunk is empty: the walk steps on to the second one at once. The third is empty too,
  // but is entered by a step, after which one record is read.
  BAM bam = open({{offset(1), offset(1)}, chunk(3, 4), {offset(6), offset(6)}, chunk(8, 9)});
  EXPECT_EQ(walk(bam), (Names{"3", "6", "8"}));
}

TEST_F(IndexQuery, LastChunkMayReachBeyondTheRecords) {
  BAM bam = open({{offset(8), ~std::uint64_t{0}}});
  EXPECT_EQ(walk(bam), (Names{"8", "9"}));
  EXPECT_TRUE(bam.at_end());
}

TEST_F(IndexQuery, DamageOutsideTheChunksIsNotSeen) {
  file_.record(RecordBuilder().l_seq(-1));
  BAM bam = open({chunk(1, 2)});
  EXPECT_EQ(bam.filter_overlapping(0, 0, 1000).size(), 1U);
  BAM met = open({chunk(9, 11)});
  EXPECT_KIND(met.filter_overlapping(0, 0, 1000), InvalidBAMFormat, met.path());
}

TEST_F(IndexQuery, ChunkThatDoesNotPointAtABlockRaisesTheErrorOfReading) {
  BAM bam = open({{offset(1) + (1 << 16), offset(3)}});
  EXPECT_KIND(bam.filter_overlapping(0, 0, 1000), InvalidBAMFormat, bam.path());
}

TEST_F(IndexQuery, ChunkThatPointsBeyondTheFileRaisesTheErrorOfReading) {
  BAM bam = open({{std::uint64_t{1} << 40, ~std::uint64_t{0}}});
  EXPECT_KIND(bam.filter_overlapping(0, 0, 1000), InvalidBAMFormat, bam.path());
}

TEST_F(IndexQuery, ChunkThatPointsPastItsBlockGoesOnWithTheNextBlock) {
  BAM bam = open({{offset(1) | 0xffff, offset(4)}});
  EXPECT_EQ(walk(bam), (Names{"2", "3"}));
}

TEST_F(IndexQuery, ChunkThatPointsAtTheEndMarkerYieldsNothing) {
  BAM bam = open({{offset(10), ~std::uint64_t{0}}});
  EXPECT_EQ(walk(bam), Names{});
}

TEST_F(IndexQuery, QueryAfterAnErrorStartsAnew) {
  file_.record(RecordBuilder().l_seq(-1));
  BAM bam = open({chunk(8, 11)});
  EXPECT_THROW(walk(bam), InvalidBAMFormat);
  bam.index_find_init(0, 0, 1000);
  EXPECT_TRUE(bam.index_next_alignment());
  EXPECT_EQ(name_of(bam), "8");
}

TEST_F(IndexQuery, IndexThatIsNotTakenLeavesAQueryReadingAll) {
  BAM bam(file_.write(folder_, "a.bam"));
  EXPECT_FALSE(bam.load_index(folder_.write("b.bai", encode_bai({.refs = {{}, {}}}))));
  EXPECT_EQ(bam.filter_overlapping(0, 0, 1000).size(), 10U);
}

// The lower bound is the first non-zero window of the region. Building leaves most windows unset,
// so a bound may come from a window behind the records of the ones before it; those are missed.
TEST_F(IndexQuery, SparseWindowsHideRecordsThatLieBeforeTheBound) {
  BamBuilder file;
  file.refs(1, 1000000).one_block_each();
  for (int window = 0; window <= 17; ++window) {
    file.record(RecordBuilder(std::to_string(window))
                    .at(0, window * 16384 + 10)
                    .cigar("5M")
                    .seq("AAAAA")
                    .tag_text("XX", 'Z', std::string(70000, 'x')));
  }
  BAM bam(file.write(folder_, "sparse.bam"));
  bam.build_index();
  const auto& linear = bam.index().refs().at(0).linear;
  EXPECT_EQ(linear.at(9), 0U);
  EXPECT_EQ(linear.at(16), file.record_offset(16));
  const auto names = [&](int beg, int end) {
    Names all;
    for (const Alignment& r : bam.filter_overlapping(0, beg, end)) all.push_back(name_of(r));
    return all;
  };
  EXPECT_EQ(names(9 * 16384, 16 * 16384), (Names{"9", "10", "11", "12", "13", "14", "15"}));
  // With window 16 in the region only chunks that end at its record or later are left.
  EXPECT_EQ(names(9 * 16384, 17 * 16384), (Names{"15", "16"}));
}

// ---- Random files
// --------------------------------------------------------------------------------

Names names_at(const std::vector<ModelRecord>& records, const std::vector<std::size_t>& places) {
  Names names;
  for (const std::size_t place : places) names.push_back(records.at(place).name);
  return names;
}

Names names_of(const std::vector<Alignment>& records) {
  Names names;
  for (const Alignment& record : records) names.push_back(name_of(record));
  return names;
}

struct Tally {
  std::size_t found = 0;
  std::size_t missed = 0;
};

// Compares index and queries of one file with the model.
void compare(Random& random, const BamBuilder& file, Tally& tally) {
  const TempDir folder;
  const Path path = file.write(folder, "a.bam");
  const std::vector<ModelRecord> records = model_records(folder.read("a.bam"));
  const auto file_end = std::uint64_t{folder.read("a.bam").size()} << 16;
  const ModelIndex index = model_index(records, file_end).index;
  BAM scanned(path);
  BAM indexed(path);
  ASSERT_TRUE(indexed.build_index());
  ASSERT_TRUE(indexed.save_index(folder.path("a.bai")));
  ASSERT_TRUE(folder.read("a.bai") == encode_bai(index));
  for (int query = 0; query < 8; ++query) {
    const auto ref = static_cast<int>(random_number(random, 0, 2));
    int beg = 0;
    int end = 536870912;
    if (query > 0 && !records.empty()) {
      const int near = std::max(records.at(random() % records.size()).pos, 0);
      beg = static_cast<int>(std::max<std::int64_t>(near + random_number(random, -30, 30), 0));
      end = static_cast<int>(beg + random_number(random, 0, query % 2 == 0 ? 60 : 300000));
    }
    SCOPED_TRACE(testing::Message() << "reference " << ref << ", " << beg << " to " << end);
    const Names all = names_at(records, model_scan(records, ref, beg, end));
    const Names expected =
        names_at(records, model_query(records, model_chunks(index, ref, beg, end), ref, beg, end));
    ASSERT_EQ(names_of(scanned.filter_overlapping(ref, beg, end)), all);
    ASSERT_EQ(names_of(indexed.filter_overlapping(ref, beg, end)), expected);
    tally.found += expected.size();
    tally.missed += all.size() - expected.size();
  }
}

TEST(QueryModel, RandomSmallFilesGiveTheRecordsOfTheModel) {
  Random random(43);
  Tally tally;
  for (int round = 0; round < 300 && !testing::Test::HasFatalFailure(); ++round) {
    SCOPED_TRACE(round);
    compare(random, random_bam(random, 0), tally);
  }
  EXPECT_GT(tally.found, 5000U);
}

TEST(QueryModel, RandomLargeFilesGiveTheRecordsOfTheModel) {
  Random random(44);
  Tally tally;
  for (int round = 0; round < 10 && !testing::Test::HasFatalFailure(); ++round) {
    SCOPED_TRACE(round);
    compare(random, random_bam(random, 20000), tally);
  }
  EXPECT_GT(tally.found, 200U);
  // Files beyond 64 KiB keep their bins apart, so that the lower bound has something to cut.
  EXPECT_GT(tally.missed, 0U);
}

}  // namespace
}  // namespace readkit::bam_index_query_test
