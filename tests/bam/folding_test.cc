// Folding of small bins into their parents, and whole indexes against the model.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bai.h"
#include "bam/bam.h"
#include "core/errors.h"
#include "support/bam_builder.h"
#include "support/index_model.h"
#include "support/random_data.h"
#include "support/temp_dir.h"

namespace readkit::bam_folding_test {
namespace {

// A record of a bin that takes the file from `beg` to `end`, compressed offsets.
struct Stretch {
  std::uint32_t bin;
  std::uint64_t beg;
  std::uint64_t end;
};

// The index of records of reference 0 that lie one behind the other in these stretches.
ModelReference folded(const TempDir& folder, const std::vector<Stretch>& stretches) {
  BAI index;
  index.init(stretches.front().beg << 16);
  int pos = 0;
  for (const Stretch& stretch : stretches) {
    const auto record = RecordBuilder().at(0, pos++).bin(static_cast<int>(stretch.bin)).record();
    index.add(record, stretch.end << 16);
  }
  index.finish(stretches.back().end << 16);
  index.dump(folder.path("a.bai"));
  ModelReference ref = decode_bai(folder.read("a.bai")).refs.at(0);
  EXPECT_EQ(index.refs().at(0).n_bin, static_cast<int>(ref.bins.size()));
  return ref;
}

ModelChunk chunk(std::uint64_t beg, std::uint64_t end) { return {beg << 16, end << 16}; }
using Chunks = std::vector<ModelChunk>;
using Numbers = std::vector<std::uint32_t>;

class Folding : public testing::Test {
 protected:
  ModelReference fold(const std::vector<Stretch>& stretches) { return folded(folder_, stretches); }

  TempDir folder_;
};

TEST_F(Folding, SmallBinGoesIntoItsParent) {
  const ModelReference ref = fold({{585, 0, 100000}, {4681, 100000, 100001}});
  EXPECT_EQ(ref.numbers(), (Numbers{585, kModelPseudoBin}));
  EXPECT_EQ(ref.chunks(585), (Chunks{chunk(0, 100000), chunk(100000, 100001)}));
}

TEST_F(Folding, SmallBinWithoutAParentStays) {
  const ModelReference ref = fold({{586, 0, 100000}, {4681, 100000, 100001}});
  EXPECT_EQ(ref.numbers(), (Numbers{586, 4681, kModelPseudoBin}));
}

TEST_F(Folding, BinOfLessThan64KibIsFoldedAndOneOf64KibStays) {
  EXPECT_EQ(fold({{585, 0, 100000}, {4681, 100000, 165535}}).numbers(),
            (Numbers{585, kModelPseudoBin}));
  EXPECT_EQ(fold({{585, 0, 100000}, {4681, 100000, 165536}}).numbers(),
            (Numbers{585, 4681, kModelPseudoBin}));
}

TEST_F(Folding, SpanIsFromTheFirstChunkToTheLast) {
  const ModelReference ref = fold(
      {{585, 0, 100000}, {4681, 100000, 100001}, {585, 100001, 200000}, {4681, 200000, 200001}});
  EXPECT_EQ(ref.numbers(), (Numbers{585, 4681, kModelPseudoBin}));
}

TEST_F(Folding, BinsGoUpLevelByLevelToTheRoot) {
  const ModelReference ref =
      fold({{0, 0, 10}, {4681, 10, 20}, {585, 20, 30}, {73, 30, 40}, {9, 40, 50}, {1, 50, 60}});
  EXPECT_EQ(ref.numbers(), (Numbers{0, kModelPseudoBin}));
  EXPECT_EQ(ref.chunks(0), (Chunks{chunk(0, 10), chunk(10, 20), chunk(20, 30), chunk(30, 40),
                                   chunk(40, 50), chunk(50, 60)}));
}

TEST_F(Folding, ChunksOfTheRootAreSortedByBegin) {
  const ModelReference ref = fold({{1, 0, 10}, {0, 10, 20}});
  EXPECT_EQ(ref.chunks(0), (Chunks{chunk(0, 10), chunk(10, 20)}));
}

TEST_F(Folding, ChunksOfAnyOtherParentStayInTheOrderTheyCame) {
  const ModelReference ref = fold({{4681, 0, 10}, {585, 10, 100000}});
  EXPECT_EQ(ref.chunks(585), (Chunks{chunk(10, 100000), chunk(0, 10)}));
}

TEST_F(Folding, BinBelowTheLowestLevelIsSortedBeforeItIsFolded) {
  const ModelReference ref = fold({{4681, 0, 10}, {585, 10, 20}, {73, 20, 100000}});
  EXPECT_EQ(ref.chunks(73), (Chunks{chunk(20, 100000), chunk(0, 10), chunk(10, 20)}));
}

TEST_F(Folding, AdjacentChunksAreNotMerged) {
  const ModelReference ref = fold({{4681, 0, 10}, {4682, 10, 20}, {4681, 20, 30}});
  EXPECT_EQ(ref.chunks(4681), (Chunks{chunk(0, 10), chunk(20, 30)}));
}

TEST_F(Folding, PseudoBinIsNeverFolded) {
  const ModelReference ref = fold({{4681, 0, 10}});
  EXPECT_EQ(ref.chunks(kModelPseudoBin), (Chunks{chunk(0, 10), {1, 0}}));
}

// ---- Whole indexes ---------------------------------------------------------------------------

// Sorted records with offsets out of thin air. Mostly what a sorter would leave, at times with
// faults that an index must refuse.
std::vector<ModelRecord> random_records(Random& random) {
  const bool faulty = random() % 8 == 0;
  const bool far_apart = random() % 2 == 0;
  const std::int64_t step = std::int64_t{1}
                            << random_number(random, 2, random() % 16 == 0 ? 24 : 17);
  std::vector<ModelRecord> records;
  std::uint64_t offset = random() % 1000;
  const auto count = random_number(random, 0, 60);
  int ref = static_cast<int>(random_number(random, 0, 2));
  std::int64_t pos = 0;
  for (std::int64_t i = 0; i < count; ++i) {
    if (random() % 12 == 0) {
      ref += static_cast<int>(random_number(random, 1, 2));
      if (random() % 4 == 0) ref = 0;
      pos = 0;
    }
    if (ref > 0 && i > count - 4 && random() % 3 == 0) ref = -1;
    pos = random() % 3 == 0 ? pos : pos + random_number(random, 0, step);
    ModelRecord r;
    r.ref = ref;
    r.pos = ref < 0 ? -1 : static_cast<int>(std::min<std::int64_t>(pos, 536870800));
    if (random() % 20 == 0 && pos == 0) r.pos = -1;
    if (faulty && random() % 20 == 0)
      r.pos = static_cast<int>(random_number(random, -2, 536870920));
    r.length = random_number(random, 0, random() % 5 == 0 ? 60000 : 100);
    if (!faulty) r.length = std::min<std::int64_t>(r.length, 536870911 - r.pos);
    r.flag = random() % 6 == 0 ? 4 : 0;
    const std::int64_t covered = random() % 5 == 0 ? random_number(random, 1, 1 << 20) : r.length;
    const int beg = std::max(r.pos, 0);
    r.bin = static_cast<std::uint32_t>(
        random() % 30 == 0
            ? random_number(random, 0, 40000)
            : reg2bin(beg, static_cast<int>(beg + std::max<std::int64_t>(covered, 1))));
    r.name = "r" + std::to_string(i);
    r.beg_offset = offset;
    offset += far_apart ? random() % (std::uint64_t{1} << 34) + 1 : random() % 100000 + 1;
    r.end_offset = offset;
    records.push_back(r);
  }
  return records;
}

// Only the fields that building looks at; the bases themselves are missing.
Alignment record_from(const ModelRecord& r) {
  return RecordBuilder(r.name)
      .at(r.ref, r.pos)
      .flag(r.flag)
      .bin(static_cast<int>(r.bin))
      .l_seq(static_cast<int>(r.length))
      .record();
}

// The kind of the error that building raises, as the model words it; empty when it succeeds.
std::string build(const std::vector<ModelRecord>& records, BAI& index) {
  index.init(records.empty() ? 0 : records.front().beg_offset);
  try {
    for (const ModelRecord& r : records) index.add(record_from(r), r.end_offset);
  } catch (const BAMUnsorted&) {
    return "BAMUnsorted";
  } catch (const PositionTooBig& error) {
    return "PositionTooBig " + to_bytes(std::get<UString>(error.arguments().at(0)));
  }
  index.finish(records.empty() ? 0 : records.back().end_offset);
  return {};
}

TEST(BaiModel, RandomSortedRecordsGiveTheIndexOfTheModel) {
  const TempDir folder;
  Random random(42);
  std::size_t refused = 0;
  std::size_t folded_bins = 0;
  for (int round = 0; round < 2000; ++round) {
    const std::vector<ModelRecord> records = random_records(random);
    const ModelOutcome expected =
        model_index(records, records.empty() ? 0 : records.back().end_offset);
    BAI index;
    ASSERT_EQ(build(records, index), expected.error) << round;
    if (!expected.error.empty()) {
      ++refused;
      ASSERT_FALSE(index.dump(folder.path("no.bai"))) << round;
      continue;
    }
    const std::string name = std::to_string(round) + ".bai";
    ASSERT_TRUE(index.dump(folder.path(name))) << round;
    const std::string file = folder.read(name);
    ASSERT_TRUE(file == encode_bai(expected.index)) << round;
    for (const ModelReference& ref : expected.index.refs) {
      for (const ModelBin& bin : ref.bins) folded_bins += bin.chunks.size() > 2 ? 1 : 0;
    }
  }
  EXPECT_FALSE(folder.exists("no.bai"));
  // The rounds must have met what they are for.
  EXPECT_GT(refused, 100U);
  EXPECT_LT(refused, 1500U);
  EXPECT_GT(folded_bins, 1000U);
}

}  // namespace
}  // namespace readkit::bam_folding_test
