// Building an index that misses nothing: what it holds, and that queries through it find what a
// scan finds.
#include <algorithm>
#include <cstdint>
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
#include "support/samtools.h"
#include "support/temp_dir.h"

namespace readkit::bam_complete_index_test {
namespace {

using Names = std::vector<std::string>;
using Numbers = std::vector<std::uint32_t>;

Names names_of(const std::vector<Alignment>& records) {
  Names names;
  for (const Alignment& record : records) names.emplace_back(record.read_name_text());
  return names;
}

RecordBuilder placed(int ref, int pos, const std::string& cigar = "5M") {
  return RecordBuilder("read").at(ref, pos).seq("ACGTA").cigar(cigar);
}
RecordBuilder unmapped(int ref, int pos) { return placed(ref, pos, "*").flag(4); }

// Records in blocks of their own, their offsets known.
class CompleteIndex : public testing::Test {
 protected:
  CompleteIndex() { file_.refs(3, 536870911).one_block_each(); }

  void add(const RecordBuilder& record) { file_.record(record); }
  // The index that is built, as its file holds it.
  ModelIndex built() {
    BAM bam(file_.write(folder_, "a.bam"));
    EXPECT_TRUE(bam.build_complete_index());
    EXPECT_TRUE(bam.has_index());
    EXPECT_TRUE(bam.save_index(folder_.path("a.bai")));
    return decode_bai(folder_.read("a.bai"));
  }
  std::uint64_t offset(std::size_t record) const { return file_.record_offset(record); }
  std::uint64_t file_end() const { return std::uint64_t{file_.bytes().size()} << 16; }

  BamBuilder file_;
  TempDir folder_;
};

// ---- What the index holds ----------------------------------------------------------------------

TEST_F(CompleteIndex, HasAsManyReferencesAsTheHeader) {
  add(placed(1, 10));
  const ModelIndex index = built();
  ASSERT_EQ(index.refs.size(), 3U);
  EXPECT_EQ(index.refs[0], ModelReference{});
  EXPECT_EQ(index.refs[2], ModelReference{});
  BAM bam(folder_.path("a.bam"));
  EXPECT_TRUE(bam.load_index(folder_.path("a.bai")));
}

TEST_F(CompleteIndex, BinsAscendAndThePseudoBinIsTheLast) {
  for (const int pos : {10, 16380, 20000, 131070, 140000, 300000}) add(placed(0, pos));
  const ModelIndex index = built();
  Numbers numbers;
  for (const ModelBin& bin : index.refs[0].bins) numbers.push_back(bin.number);
  EXPECT_EQ(numbers, (Numbers{73, 585, 4681, 4682, 4689, 4699, kModelPseudoBin}));
}

TEST_F(CompleteIndex, BinIsThatOfTheExtentWhateverTheRecordStores) {
  add(placed(0, 10).bin(600));
  add(placed(0, 20, "2M20000N3M").bin(4681));
  EXPECT_EQ(built().refs[0].numbers(), (Numbers{585, 4681, kModelPseudoBin}));
}

TEST_F(CompleteIndex, ChunksOfABinAreMergedWhereOneBeginsInTheBlockInWhichTheOtherEnds) {
  file_ = BamBuilder().refs(3, 536870911).block_size(100000);
  add(placed(0, 10));
  add(placed(0, 11, "2M20000N3M"));
  add(placed(0, 12));
  const ModelIndex index = built();
  EXPECT_EQ(index.refs[0].chunks(4681).size(), 1U);
  EXPECT_EQ(index.refs[0].chunks(585).size(), 1U);
}

TEST_F(CompleteIndex, EveryWindowHasTheFirstRecordThatOverlapsItAndEmptyOnesTheEntryBefore) {
  add(placed(0, 2 * 16384));
  add(placed(0, 2 * 16384 + 5, "1M40000N1M"));
  add(unmapped(0, 4 * 16384 - 1));
  add(unmapped(0, 7 * 16384));
  add(placed(0, 7 * 16384));
  const auto linear = built().refs[0].linear;
  EXPECT_EQ(linear, (std::vector<std::uint64_t>{0, 0, offset(0), offset(1), offset(1), offset(1),
                                                offset(1), offset(3)}));
}

TEST_F(CompleteIndex, PseudoBinHasOffsetsAndCountsAlsoAfterASecondVisit) {
  add(placed(0, 10));
  add(unmapped(0, 10));
  add(placed(2, 10));
  add(placed(0, 3));
  add(RecordBuilder().flag(4));
  const ModelIndex index = built();
  EXPECT_EQ(index.refs[0].chunks(kModelPseudoBin),
            (std::vector<ModelChunk>{{offset(0), offset(4)}, {2, 1}}));
  EXPECT_EQ(index.refs[2].chunks(kModelPseudoBin),
            (std::vector<ModelChunk>{{offset(2), offset(3)}, {1, 0}}));
  EXPECT_EQ(index.n_no_coor, 1U);
}

TEST_F(CompleteIndex, WhatLiesOutsideTheSchemeBelongsToTheRootAndToTheFirstOrLastWindow) {
  add(unmapped(0, -2147483647 - 1));
  add(unmapped(0, -40000));
  add(placed(0, 536870900, "2M100000N3M"));
  const ModelIndex index = built();
  EXPECT_EQ(index.refs[0].numbers(), (Numbers{0, 4678, kModelPseudoBin}));
  ASSERT_EQ(index.refs[0].linear.size(), 32768U);
  EXPECT_EQ(index.refs[0].linear.front(), offset(0));
  EXPECT_EQ(index.refs[0].linear.back(), offset(2));
}

TEST_F(CompleteIndex, IndexOfBuildIndexStaysWhatItIs) {
  add(placed(0, 20000));
  add(placed(0, 10 * 16384));
  const Path path = file_.write(folder_, "a.bam");
  BAM bam(path);
  bam.build_complete_index();
  bam.build_index();
  bam.save_index(folder_.path("a.bai"));
  EXPECT_EQ(folder_.read("a.bai"), encode_bai(model_index_of(file_.bytes()).index));
}

TEST_F(CompleteIndex, ErrorsAreThoseOfBuildIndexAndLeaveNoIndex) {
  add(placed(0, 20));
  add(placed(0, 10));
  BAM bam(file_.write(folder_, "a.bam"));
  EXPECT_KIND(bam.build_complete_index(), BAMUnsorted);
  EXPECT_FALSE(bam.has_index());
  EXPECT_FALSE(bam.save_index(folder_.path("a.bai")));
}

TEST_F(CompleteIndex, ReferenceBeyondTheDictionaryRaisesReferenceIdNotFound) {
  add(placed(3, 20));
  BAM bam(file_.write(folder_, "a.bam"));
  EXPECT_KIND(bam.build_complete_index(), ReferenceIDNotFound, u"3");
}

// ---- Queries -----------------------------------------------------------------------------------

// Two records that a query through the index of `build_index` misses.
TEST_F(CompleteIndex, QueriesFindWhatASparseLinearIndexHides) {
  for (int window = 0; window <= 17; ++window) {
    add(placed(0, window * 16384 + 10).tag_text("XX", 'Z', std::string(70000, 'x')));
  }
  BAM bam(file_.write(folder_, "a.bam"));
  bam.build_index();
  EXPECT_EQ(bam.filter_overlapping(0, 9 * 16384, 17 * 16384).size(), 2U);
  bam.build_complete_index();
  EXPECT_EQ(bam.filter_overlapping(0, 9 * 16384, 17 * 16384).size(), 8U);
}

// A file that comes back to reference 0 is indexed though it is not in order. Its second visit
// covers windows that the first one left out, before and behind those that it did not.
TEST_F(CompleteIndex, QueriesFindTheRecordsOfASecondVisitToReferenceZero) {
  const std::string bulk(70000, 'x');
  Random random(5);
  const auto read = [&](int ref, std::int64_t window, const std::string& cigar) {
    RecordBuilder record = placed(ref, static_cast<int>(window * 16384 + 7), cigar);
    add(record.tag_bytes("XBBC" + little_endian(20000, 4) + random_bytes(random, 20000)));
  };
  for (const int window : {5, 6, 20, 30}) read(0, window, "5M");
  read(1, 3, "5M");
  for (const int window : {1, 2, 9, 18, 25}) read(0, window, window == 18 ? "1M70000N1M" : "3M");
  const Path path = file_.write(folder_, "a.bam");
  BAM scanned(path);
  BAM indexed(path);
  indexed.build_complete_index();
  for (int first = 0; first < 32; ++first) {
    for (int last = first; last < 32; ++last) {
      const int beg = first * 16384;
      const int end = (last + 1) * 16384;
      ASSERT_EQ(indexed.filter_overlapping(0, beg, end).size(),
                scanned.filter_overlapping(0, beg, end).size())
          << first << " to " << last;
    }
  }
}

// Builds, compares with the model, and asks for random regions.
void compare(Random& random, const BamBuilder& file, int queries, std::size_t& found) {
  const TempDir folder;
  const Path path = file.write(folder, "a.bam");
  const std::string bytes = folder.read("a.bam");
  const std::vector<ModelRecord> records = model_records(bytes);
  BAM built(path);
  ASSERT_TRUE(built.build_complete_index());
  ASSERT_TRUE(built.save_index(folder.path("a.bai")));
  ASSERT_TRUE(decode_bai(folder.read("a.bai")) ==
              model_complete_index(records, 3, std::uint64_t{bytes.size()} << 16));
  BAM opened(path);
  ASSERT_TRUE(opened.open_index(folder.path("a.bai")));
  for (int query = 0; query < queries; ++query) {
    const auto ref = static_cast<int>(random_number(random, 0, 2));
    const int near = records.empty() ? 0 : records[random() % records.size()].pos;
    const auto beg = static_cast<int>(near + random_number(random, -40000, 40000));
    const std::int64_t length = std::int64_t{1} << random_number(random, 0, 20);
    const auto end = static_cast<int>(beg + random_number(random, 1, length));
    SCOPED_TRACE(testing::Message() << "reference " << ref << ", " << beg << " to " << end);
    Names expected;
    for (const std::size_t i : model_scan(records, ref, beg, end)) {
      expected.push_back(records[i].name);
    }
    ASSERT_EQ(names_of(built.filter_overlapping(ref, beg, end)), expected);
    ASSERT_EQ(names_of(opened.filter_overlapping(ref, beg, end)), expected);
    found += expected.size();
  }
}

TEST(CompleteIndexModel, RandomFilesHoldTheIndexOfTheModelAndAnswerLikeAScan) {
  Random random(71);
  std::size_t found = 0;
  for (int round = 0; round < 60 && !testing::Test::HasFatalFailure(); ++round) {
    SCOPED_TRACE(round);
    compare(random, random_bam(random, 0), 5, found);
  }
  for (int round = 0; round < 10 && !testing::Test::HasFatalFailure(); ++round) {
    SCOPED_TRACE(round);
    compare(random, random_bam(random, 20000), 20, found);
  }
  EXPECT_GT(found, 1000U);
}

TEST(CompleteIndexModel, SamtoolsReadsTheIndexAndFindsTheSameRecords) {
  Random random(72);
  const TempDir folder;
  random_bam(random, 20000).write(folder, "a.bam");
  BAM bam(folder.path("a.bam"));
  bam.build_complete_index();
  bam.save_index(folder.path("a.bam.bai"));
  for (int query = 0; query < 20; ++query) {
    const auto beg = static_cast<int>(random_number(random, 0, 2000000));
    const auto end = static_cast<int>(beg + random_number(random, 1, 1000000));
    const std::string name = "chr" + std::to_string(query % 3 + 1);
    Names theirs;
    for (const std::string& line :
         samtools({"view", "--no-PG", folder.native("a.bam"),
                   name + ":" + std::to_string(beg + 1) + "-" + std::to_string(end)})) {
      theirs.push_back(split_tabs(line).at(0));
    }
    EXPECT_EQ(names_of(bam.filter_overlapping(query % 3, beg, end)), theirs);
  }
}

}  // namespace
}  // namespace readkit::bam_complete_index_test
