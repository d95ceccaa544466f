#include "bam/bai.h"

#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/index_model.h"
#include "support/random_data.h"
#include "support/temp_dir.h"

namespace readkit {

// For failure messages.
static void PrintTo(const Chunk& chunk, std::ostream* out) {
  *out << '[' << (chunk.beg >> 16) << ':' << (chunk.beg & 0xffff) << ", " << (chunk.end >> 16)
       << ':' << (chunk.end & 0xffff) << ')';
}

}  // namespace readkit

namespace readkit::bam_bai_test {
namespace {

using Chunks = std::vector<Chunk>;

constexpr std::uint64_t kNone = std::numeric_limits<std::uint64_t>::max();

// A virtual offset.
constexpr std::uint64_t at(std::uint64_t block, std::uint64_t inside) {
  return block << 16 | inside;
}

Chunks merged(Chunks chunks) {
  const std::int64_t count = Chunk::merge_adj_chunks(chunks);
  EXPECT_EQ(count, static_cast<std::int64_t>(chunks.size()));
  return chunks;
}

// ---- Chunks ----------------------------------------------------------------------------------

TEST(Chunks, OrderIsByBeginAlone) {
  EXPECT_TRUE((Chunk{1, 9} < Chunk{2, 3}));
  EXPECT_FALSE((Chunk{1, 3} < Chunk{1, 9}));
  EXPECT_FALSE((Chunk{1, 9} < Chunk{1, 3}));
}

TEST(Chunks, MergingNoneOrOneChangesNothing) {
  EXPECT_EQ(merged({}), Chunks{});
  EXPECT_EQ(merged({{9, 3}}), (Chunks{{9, 3}}));
}

TEST(Chunks, MergingSortsByBegin) {
  EXPECT_EQ(merged({{at(90, 0), at(95, 0)}, {at(10, 0), at(15, 0)}, {at(50, 0), at(55, 0)}}),
            (Chunks{{at(10, 0), at(15, 0)}, {at(50, 0), at(55, 0)}, {at(90, 0), at(95, 0)}}));
}

TEST(Chunks, ChunkThatBeginsInTheBlockWhereTheOneBeforeEndsIsMerged) {
  EXPECT_EQ(merged({{at(1, 0), at(7, 100)}, {at(7, 900), at(9, 5)}}),
            (Chunks{{at(1, 0), at(9, 5)}}));
  EXPECT_EQ(merged({{at(1, 0), at(7, 0)}, {at(7, 65535), at(9, 5)}}),
            (Chunks{{at(1, 0), at(9, 5)}}));
}

TEST(Chunks, ChunkThatBeginsInALaterBlockStaysApart) {
  const Chunks apart = {{at(1, 0), at(7, 65535)}, {at(8, 0), at(9, 5)}};
  EXPECT_EQ(merged(apart), apart);
}

TEST(Chunks, MergedChunkEndsAtTheLargerEnd) {
  EXPECT_EQ(merged({{at(1, 0), at(90, 0)}, {at(2, 0), at(3, 0)}, {at(60, 0), at(70, 0)}}),
            (Chunks{{at(1, 0), at(90, 0)}}));
}

TEST(Chunks, MergingGoesOnFromTheMergedEnd) {
  EXPECT_EQ(merged({{at(1, 0), at(5, 0)},
                    {at(5, 1), at(8, 0)},
                    {at(8, 1), at(9, 0)},
                    {at(20, 0), at(21, 0)},
                    {at(21, 0), at(22, 0)}}),
            (Chunks{{at(1, 0), at(9, 0)}, {at(20, 0), at(22, 0)}}));
}

TEST(RefIdxBins, SortingOrdersTheChunksByBegin) {
  RefIdxBin bin{5, 3, {{30, 31}, {10, 11}, {20, 21}}};
  bin.sort_chunks();
  EXPECT_EQ(bin.chunks, (Chunks{{10, 11}, {20, 21}, {30, 31}}));
  EXPECT_EQ(bin.n_chunk, 3);
}

TEST(RefIdxBins, MergingSetsTheCount) {
  RefIdxBin bin{5, 3, {{30, 31}, {10, 11}, {at(9, 0), at(9, 1)}}};
  bin.merge_adj_chunks();
  EXPECT_EQ(bin.chunks, (Chunks{{10, 31}, {at(9, 0), at(9, 1)}}));
  EXPECT_EQ(bin.n_chunk, 2);
}

TEST(RefIndexes, NewOneIsEmpty) {
  const RefIndex index;
  EXPECT_EQ(index.n_bin, 0);
  EXPECT_EQ(index.n_intv, 0);
  EXPECT_TRUE(index.bins.empty());
  EXPECT_TRUE(index.linear.empty());
  EXPECT_EQ(index.bins.max_load_factor(), 1.0F);
}

// ---- Lookup ----------------------------------------------------------------------------------

class FindChunks : public testing::Test {
 protected:
  // An index of one reference.
  BAI load(const ModelReference& ref) {
    BAI index;
    const std::string name = std::to_string(++count_) + ".bai";
    index.load(folder_.write(name, encode_bai({.refs = {ref}})));
    return index;
  }

  TempDir folder_;
  int count_ = 0;
};

// One chunk in each of some bins, all in blocks of their own. Bin 4681 covers [0, 16384), 4682 the
// next window, 585 both; 4689 covers [131072, 147456).
const std::vector<ModelBin> kBins = {{4682, {{at(40, 0), at(41, 0)}}},
                                     {4681, {{at(20, 0), at(21, 0)}}},
                                     {585, {{at(10, 0), at(11, 0)}}},
                                     {4689, {{at(60, 0), at(61, 0)}}},
                                     {0, {{at(80, 0), at(81, 0)}}}};

TEST_F(FindChunks, CandidateBinsAreThoseThatTheRegionTouches) {
  const BAI index = load({.bins = kBins});
  EXPECT_EQ(index.find_chunks(0, 0, 1),
            (Chunks{{at(10, 0), at(11, 0)}, {at(20, 0), at(21, 0)}, {at(80, 0), at(81, 0)}}));
  EXPECT_EQ(index.find_chunks(0, 16383, 16385), (Chunks{{at(10, 0), at(11, 0)},
                                                        {at(20, 0), at(21, 0)},
                                                        {at(40, 0), at(41, 0)},
                                                        {at(80, 0), at(81, 0)}}));
  EXPECT_EQ(index.find_chunks(0, 16384, 16385),
            (Chunks{{at(10, 0), at(11, 0)}, {at(40, 0), at(41, 0)}, {at(80, 0), at(81, 0)}}));
  EXPECT_EQ(index.find_chunks(0, 536870911, 536870912), (Chunks{{at(80, 0), at(81, 0)}}));
}

TEST_F(FindChunks, RegionWhoseWindowsAreAllZeroGivesEveryChunk) {
  const BAI index = load({.bins = kBins, .linear = {0, 0, at(90, 0)}});
  EXPECT_EQ(index.find_chunks(0, 0, 20000).size(), 4U);
}

TEST_F(FindChunks, WithoutALinearIndexEveryChunkIsGiven) {
  EXPECT_EQ(load({.bins = kBins}).find_chunks(0, 0, 20000).size(), 4U);
}

TEST_F(FindChunks, ChunksThatEndBeforeTheFirstNonZeroWindowAreLeftOut) {
  const BAI index = load({.bins = kBins, .linear = {0, at(30, 0), at(1, 0)}});
  EXPECT_EQ(index.find_chunks(0, 0, 49152),
            (Chunks{{at(40, 0), at(41, 0)}, {at(80, 0), at(81, 0)}}));
}

TEST_F(FindChunks, ChunkThatEndsExactlyAtTheLowerBoundIsKept) {
  const BAI exact = load({.bins = kBins, .linear = {at(21, 0)}});
  EXPECT_EQ(exact.find_chunks(0, 0, 1).front(), (Chunk{at(20, 0), at(21, 0)}));
  const BAI later = load({.bins = kBins, .linear = {at(21, 1)}});
  EXPECT_EQ(later.find_chunks(0, 0, 1), (Chunks{{at(80, 0), at(81, 0)}}));
}

TEST_F(FindChunks, OnlyWindowsOfTheRegionCount) {
  const BAI index = load({.bins = kBins, .linear = {at(99, 0), 0, at(99, 0)}});
  EXPECT_EQ(index.find_chunks(0, 16384, 32768),
            (Chunks{{at(10, 0), at(11, 0)}, {at(40, 0), at(41, 0)}, {at(80, 0), at(81, 0)}}));
}

TEST_F(FindChunks, WindowsBeyondTheLinearIndexCountAsZero) {
  const BAI index = load({.bins = kBins, .linear = {at(99, 0)}});
  EXPECT_EQ(index.find_chunks(0, 131072, 536870912),
            (Chunks{{at(60, 0), at(61, 0)}, {at(80, 0), at(81, 0)}}));
}

TEST_F(FindChunks, NegativeBeginCountsAsTheFirstWindow) {
  const BAI index = load({.bins = kBins, .linear = {at(81, 1)}});
  EXPECT_EQ(index.find_chunks(0, -1, 1), Chunks{});
  EXPECT_EQ(index.find_chunks(0, std::numeric_limits<int>::min(), 1), Chunks{});
  EXPECT_EQ(load({.bins = kBins}).find_chunks(0, -1, 1),
            (Chunks{{at(10, 0), at(11, 0)}, {at(20, 0), at(21, 0)}, {at(80, 0), at(81, 0)}}));
}

TEST_F(FindChunks, WindowWithAllBitsSetIsNoBound) {
  EXPECT_EQ(load({.bins = kBins, .linear = {kNone}}).find_chunks(0, 0, 1).size(), 3U);
}

TEST_F(FindChunks, PseudoBinIsNeverACandidate) {
  const BAI index = load({.bins = {{kModelPseudoBin, {{at(1, 0), at(9, 0)}, {7, 8}}}}});
  EXPECT_EQ(index.find_chunks(0, 0, 536870912), Chunks{});
  EXPECT_EQ(index.find_chunks(0, 536870911, std::numeric_limits<int>::max()), Chunks{});
}

TEST_F(FindChunks, EmptyRegionTakesTheBinOfTheWindowInsideWhichItLies) {
  const BAI index = load({.bins = kBins});
  EXPECT_EQ(index.find_chunks(0, 100, 100).size(), 3U);
  EXPECT_EQ(index.find_chunks(0, 16384, 16384),
            (Chunks{{at(10, 0), at(11, 0)}, {at(80, 0), at(81, 0)}}));
}

TEST_F(FindChunks, RegionThatEndsBeforeItBeginsGivesTheRootBin) {
  const BAI index = load({.bins = kBins, .linear = {at(99, 0)}});
  EXPECT_EQ(index.find_chunks(0, 536870000, 1), (Chunks{{at(80, 0), at(81, 0)}}));
  EXPECT_EQ(index.find_chunks(0, 536870000, std::numeric_limits<int>::min()),
            (Chunks{{at(80, 0), at(81, 0)}}));
}

TEST_F(FindChunks, ResultIsSortedAndMerged) {
  const BAI index = load({.bins = {{4681, {{at(9, 3), at(12, 0)}, {at(30, 0), at(31, 0)}}},
                                   {585, {{at(5, 0), at(9, 2)}}},
                                   {0, {{at(1, 0), at(2, 0)}}}}});
  EXPECT_EQ(index.find_chunks(0, 0, 1),
            (Chunks{{at(1, 0), at(2, 0)}, {at(5, 0), at(12, 0)}, {at(30, 0), at(31, 0)}}));
}

TEST_F(FindChunks, ReferenceOutsideTheIndexGivesNothing) {
  const BAI index = load({.bins = kBins});
  for (const int ref : {-1, 1, 2, std::numeric_limits<int>::min(), 2147483647}) {
    EXPECT_EQ(index.find_chunks(ref, 0, 536870912), Chunks{}) << ref;
  }
  EXPECT_EQ(BAI().find_chunks(0, 0, 1), Chunks{});
}

TEST_F(FindChunks, LookupLeavesTheIndexAsItIs) {
  const BAI index = load({.bins = kBins, .linear = {0, at(30, 0)}});
  const Chunks first = index.find_chunks(0, 0, 20000);
  EXPECT_EQ(index.find_chunks(0, 0, 20000), first);
  EXPECT_EQ(index.refs()[0].bins.at(4681).chunks, (Chunks{{at(20, 0), at(21, 0)}}));
}

// A random index of one reference with chunks that reach into each other.
ModelReference random_reference(Random& random) {
  ModelReference ref;
  for (const std::uint32_t number :
       {0U, 1U, 2U, 9U, 10U, 73U, 74U, 585U, 586U, 4681U, 4682U, 4689U, 37450U}) {
    if (random() % 3 == 0) continue;
    ref.bins.push_back({number, {}});
    for (std::uint64_t n = random() % 4; n > 0; --n) {
      const std::uint64_t beg = random() % 4000000;
      ref.bins.back().chunks.emplace_back(beg, beg + random() % 400000);
    }
  }
  for (std::uint64_t n = random() % 6; n > 0; --n) {
    ref.linear.push_back(random() % 2 == 0 ? 0 : random() % 4000000);
  }
  return ref;
}

TEST_F(FindChunks, RandomIndexesGiveTheChunksOfTheModel) {
  Random random(41);
  for (int round = 0; round < 1000; ++round) {
    const ModelReference ref = random_reference(random);
    const BAI index = load(ref);
    for (int query = 0; query < 4; ++query) {
      const auto beg = static_cast<int>(random_number(random, 0, 100000));
      const auto end = static_cast<int>(beg + random_number(random, 0, 100000));
      Chunks expected;
      for (const auto& [from, to] : model_chunks({.refs = {ref}}, 0, beg, end)) {
        expected.push_back({from, to});
      }
      ASSERT_EQ(index.find_chunks(0, beg, end), expected) << round << ' ' << beg << ' ' << end;
    }
  }
}

}  // namespace
}  // namespace readkit::bam_bai_test
