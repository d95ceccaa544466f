// Many regions in one pass, against records that are looked at one by one.
#include "bam/region_sweep.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/errors.h"
#include "support/bam_builder.h"
#include "support/expect_kind.h"
#include "support/index_model.h"
#include "support/random_bam.h"
#include "support/random_data.h"
#include "support/temp_dir.h"

namespace readkit::bam_region_sweep_test {
namespace {

using Names = std::vector<std::string>;
using Regions = std::vector<RefRegion>;

std::string name_of(const Alignment& record) { return std::string(record.read_name_text()); }

// The names of the records of each region.
std::vector<Names> swept(BAM& bam, const Regions& regions,
                         std::size_t most = RegionSweep::kMostChunks) {
  std::vector<Names> found(regions.size());
  RegionSweep sweep(bam, regions, most);
  while (sweep.next()) {
    EXPECT_FALSE(sweep.hits().empty());
    for (const std::uint32_t place : sweep.hits()) found.at(place).push_back(name_of(bam));
  }
  EXPECT_FALSE(sweep.next());
  return found;
}

std::vector<Names> looked_at(BAM& bam, const Regions& regions) {
  std::vector<Names> found(regions.size());
  bam.rewind();
  while (bam.next_alignment()) {
    for (std::size_t i = 0; i < regions.size(); ++i) {
      const auto& [ref, beg, end] = regions[i];
      if (bam.ref_id() == ref && overlap(beg, end, bam.pos(), bam.cigar_endpos())) {
        found[i].push_back(name_of(bam));
      }
    }
  }
  return found;
}

Regions random_regions(Random& random) {
  Regions regions;
  for (auto count = random_number(random, 0, 12); count > 0; --count) {
    const auto ref = static_cast<int>(random_number(random, 0, 3));
    const std::int64_t reach = random() % 2 == 0 ? 3000 : 1000000;
    const auto beg = static_cast<int>(random_number(random, 0, reach));
    const auto size = static_cast<int>(random_number(random, 0, random() % 3 == 0 ? 0 : reach));
    regions.push_back({.ref = ref, .beg = beg, .end = beg + size});
    if (random() % 4 == 0) regions.push_back(regions.front());
  }
  return regions;
}

void compare(Random& random, std::size_t bulk, std::size_t& found) {
  const TempDir folder;
  BAM indexed(random_bam(random, bulk).write(folder, "a.bam"));
  BAM scanned(folder.path("a.bam"));
  BAM opened(folder.path("a.bam"));
  indexed.build_complete_index();
  ASSERT_TRUE(indexed.save_index(folder.path("a.bai")));
  ASSERT_TRUE(opened.open_index(folder.path("a.bai")));
  for (int round = 0; round < 10; ++round) {
    const Regions regions = random_regions(random);
    const std::vector<Names> expected = looked_at(scanned, regions);
    EXPECT_EQ(swept(indexed, regions), expected);
    EXPECT_EQ(swept(opened, regions), expected);
    EXPECT_EQ(swept(indexed, regions, 1), expected) << "region by region";
    EXPECT_EQ(swept(scanned, regions), expected) << "without an index";
    for (const Names& names : expected) found += names.size();
  }
}

TEST(RegionSweep, FindsOfRandomFilesWhatLiesInTheRegions) {
  Random random(7);
  std::size_t found = 0;
  for (int file = 0; file < 60 && !testing::Test::HasFailure(); ++file) compare(random, 0, found);
  for (int file = 0; file < 4 && !testing::Test::HasFailure(); ++file) {
    compare(random, 20000, found);
  }
  EXPECT_GT(found, 1500U);
}

// A hundred records, each in a block of its own, with an index of one chunk for all of them.
class OneChunk : public testing::Test {
 protected:
  OneChunk() {
    file_.refs(2, 100000).one_block_each();
    for (int i = 0; i < 100; ++i) {
      file_.record(RecordBuilder(std::to_string(i)).at(0, 100 * i).cigar("50M"));
    }
    const ModelIndex index = {
        .refs = {{.bins = {{4681, {{file_.record_offset(0), file_.record_offset(100)}}}}}, {}}};
    folder_.write("a.bai", encode_bai(index));
  }
  BAM open() {
    BAM bam(file_.write(folder_, "a.bam"));
    EXPECT_TRUE(bam.load_index(folder_.path("a.bai")));
    return bam;
  }

  BamBuilder file_;
  TempDir folder_;
};

TEST_F(OneChunk, WhatLiesBehindTheLastRegionIsNotRead) {
  BAM bam = open();
  const Regions regions = {{.ref = 0, .beg = 500, .end = 720}, {.ref = 0, .beg = 700, .end = 820}};
  EXPECT_EQ(swept(bam, regions), (std::vector<Names>{{"5", "6", "7"}, {"7", "8"}}));
  EXPECT_LE(bam.tell(), file_.record_offset(10));
}

// Records in four windows, one chunk for all of them, and a first block that cannot be inflated.
class Windows : public testing::Test {
 protected:
  Windows() {
    file_.refs(1, 100000).one_block_each();
    for (int i = 0; i < 8; ++i) {
      file_.record(RecordBuilder(std::to_string(i)).at(0, 8192 * i).cigar("50M"));
    }
    file_.write(folder_, "a.bam");
    std::string bytes = folder_.read("a.bam");
    // The first byte of the block's deflate stream.
    bytes.at((file_.record_offset(0) >> 16) + 18) = 7;
    folder_.write("a.bam", bytes);
  }
  // What a region of the last window finds through an index with these windows, by both readers.
  Names found(const std::vector<std::uint64_t>& linear) {
    const ModelIndex index = {
        .refs = {{.bins = {{585, {{file_.record_offset(0), file_.record_offset(8)}}}},
                  .linear = linear}}};
    folder_.write("a.bai", encode_bai(index));
    BAM opened(folder_.path("a.bam"));
    BAM loaded(folder_.path("a.bam"));
    EXPECT_TRUE(opened.open_index(folder_.path("a.bai")));
    EXPECT_TRUE(loaded.load_index(folder_.path("a.bai")));
    const Regions regions = {{.ref = 0, .beg = 57344, .end = 60000}};
    const Names names = swept(opened, regions).at(0);
    EXPECT_EQ(swept(loaded, regions).at(0), names);
    return names;
  }
  std::uint64_t offset(std::size_t record) const { return file_.record_offset(record); }

  BamBuilder file_;
  TempDir folder_;
};

TEST_F(Windows, WhatLiesBeforeTheRegionsWindowIsNotRead) {
  EXPECT_EQ(found({offset(0), offset(2), offset(4), offset(6)}), Names{"7"});
  // The two windows before have no record of their own.
  EXPECT_EQ(found({offset(0), offset(6), offset(6), offset(6)}), Names{"7"});
}

TEST_F(Windows, ChunksAreReadFromTheirBeginWhereWindowsDoNotTellTheRegions) {
  EXPECT_THROW(found({offset(6), offset(6), offset(6), offset(6)}), ZLIBInflate) << "the first";
  EXPECT_THROW(found({0, 0, offset(6), offset(6)}), ZLIBInflate) << "nothing before";
  EXPECT_THROW(found({offset(0), offset(2), offset(7), offset(6)}), ZLIBInflate) << "descending";
  EXPECT_THROW(found({offset(0), offset(2), offset(4), 0}), ZLIBInflate) << "no offset";
  EXPECT_THROW(found({offset(0), offset(2), offset(4)}), ZLIBInflate) << "behind the windows";
  EXPECT_THROW(found({}), ZLIBInflate) << "no windows";
}

TEST_F(OneChunk, ARecordOutOfOrderIsAnError) {
  file_.record(RecordBuilder("back").at(0, 5000));
  const ModelIndex index = {
      .refs = {{.bins = {{4681, {{file_.record_offset(0), file_.record_offset(101)}}}}}, {}}};
  folder_.write("a.bai", encode_bai(index));
  BAM bam = open();
  const Regions all = {{.ref = 0, .beg = 0, .end = 100000}};
  EXPECT_KIND(swept(bam, all), BAMUnsorted);
  const Regions some = {{.ref = 0, .beg = 0, .end = 400}};
  EXPECT_EQ(swept(bam, some).at(0).size(), 4U);
}

TEST_F(OneChunk, ChunksThatPointNowhereAreErrorsOrNothing) {
  const auto found_from = [this](std::uint64_t offset) {
    const ModelIndex index = {.refs = {{.bins = {{4681, {{offset, ~std::uint64_t{0}}}}}}, {}}};
    folder_.write("a.bai", encode_bai(index));
    BAM bam = open();
    const Regions all = {{.ref = 0, .beg = 0, .end = 100000}};
    return swept(bam, all).at(0);
  };
  // What stands in the header's block is no record.
  EXPECT_EQ(found_from(0), Names{});
  EXPECT_EQ(found_from(1), Names{});
  EXPECT_THROW(found_from(0x12345), InvalidBAMFormat);
  EXPECT_THROW(found_from(~std::uint64_t{0} >> 1), BGZFSeek);
}

}  // namespace
}  // namespace readkit::bam_region_sweep_test
