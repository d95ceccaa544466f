// Building the index of an open file.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/bam_builder.h"
#include "support/bgzf_builder.h"
#include "support/expect_kind.h"
#include "support/memory.h"
#include "support/temp_dir.h"

namespace readkit::bam_build_index_test {
namespace {

RecordBuilder placed(int ref, int pos) {
  return RecordBuilder("read").at(ref, pos).seq("ACGTA").cigar("5M");
}
RecordBuilder unplaced() { return RecordBuilder("nowhere").flag(4).seq("ACGT"); }

class BuildIndex : public testing::Test {
 protected:
  BAM open(const BamBuilder& file) { return BAM(file.write(folder_, "a.bam")); }

  TempDir folder_;
};

TEST_F(BuildIndex, OffsetsAreThoseAtWhichRecordsBeginAndEnd) {
  BamBuilder file;
  file.refs(2, 100000).record(placed(0, 10)).record(placed(0, 20)).record(placed(1, 10));
  for (const std::size_t size : {30U, 1000U}) {
    file.block_size(size);
    BAM bam = open(file);
    EXPECT_TRUE(bam.build_index());
    EXPECT_TRUE(bam.has_index());
    const auto& bins = bam.index().refs().at(0).bins;
    EXPECT_EQ(bins.at(4681).chunks,
              (std::vector<Chunk>{{file.record_offset(0), file.record_offset(2)}}));
    const Chunk& last = bam.index().refs().at(1).bins.at(4681).chunks.at(0);
    EXPECT_EQ(last.beg, file.record_offset(2));
  }
}

// The end is met only behind the end marker, and that is where the last chunk ends.
TEST_F(BuildIndex, LastChunkOfTheFileEndsBehindTheEndMarker) {
  const BamBuilder file = BamBuilder().refs(1, 100000).record(placed(0, 10));
  BAM bam = open(file);
  EXPECT_TRUE(bam.build_index());
  const auto& bins = bam.index().refs().at(0).bins;
  const std::uint64_t end = virtual_offset(file.bytes().size(), 0);
  EXPECT_EQ(bins.at(4681).chunks, (std::vector<Chunk>{{file.record_offset(0), end}}));
  EXPECT_EQ(bins.at(kMetadataBin).chunks.at(0), (Chunk{file.record_offset(0), end}));
}

TEST_F(BuildIndex, FirstChunkBeginsWhereTheHeaderEndsAlsoBeforeAnEmptyBlock) {
  const BamBuilder file = BamBuilder().refs(1, 100000).record(placed(0, 10));
  BgzfFile blocks;
  blocks.block(file.header_bytes()).marker().block(placed(0, 10).bytes()).marker();
  BAM bam(folder_.write("a.bam", blocks.bytes()));
  EXPECT_TRUE(bam.build_index());
  EXPECT_EQ(bam.first_record(), virtual_offset(blocks.offset(1), 0));
  EXPECT_EQ(bam.index().refs().at(0).bins.at(4681).chunks.at(0).beg, bam.first_record());
}

TEST_F(BuildIndex, StartsAtTheFirstRecordWhereverTheStreamStands) {
  BAM bam = open(BamBuilder().refs(1, 100000).record(placed(0, 10)).record(placed(0, 20)));
  bam.next_alignment();
  bam.next_alignment();
  EXPECT_TRUE(bam.build_index());
  EXPECT_EQ(bam.index().refs().at(0).bins.at(kMetadataBin).chunks.at(1), (Chunk{2, 0}));
  EXPECT_TRUE(bam.at_end());
}

TEST_F(BuildIndex, BuildingAgainReplacesTheIndex) {
  BAM bam = open(BamBuilder().refs(1, 100000).record(placed(0, 10)).record(unplaced()));
  bam.build_index();
  bam.save_index(folder_.path("first.bai"));
  bam.build_index();
  bam.save_index(folder_.path("second.bai"));
  EXPECT_EQ(folder_.read("first.bai"), folder_.read("second.bai"));
}

TEST_F(BuildIndex, UnsortedFileLeavesNoIndexToSave) {
  BAM bam = open(BamBuilder().refs(1, 100000).record(placed(0, 20)).record(placed(0, 10)));
  EXPECT_KIND(bam.build_index(), BAMUnsorted);
  EXPECT_FALSE(bam.has_index());
  EXPECT_FALSE(bam.save_index(folder_.path("a.bai")));
  EXPECT_FALSE(folder_.exists("a.bai"));
}

TEST_F(BuildIndex, DamageAfterTheFirstRecordOutOfOrderIsNotSeen) {
  BAM bam = open(BamBuilder()
                     .refs(1, 100000)
                     .record(placed(0, 20))
                     .record(placed(0, 10))
                     .record(RecordBuilder().l_seq(-1)));
  EXPECT_KIND(bam.build_index(), BAMUnsorted);
}

TEST_F(BuildIndex, ReferenceBeyondTheDictionaryBelowTwoToThe20GrowsTheIndex) {
  BAM bam = open(BamBuilder().refs(1, 100000).record(placed(0, 10)).record(placed(1000, 10)));
  EXPECT_TRUE(bam.build_index());
  EXPECT_EQ(bam.index().get_num_refs(), 1001);
}

TEST_F(BuildIndex, ReferenceBeyondTheDictionaryAndTwoToThe20RaisesReferenceIdNotFound) {
  BAM bam = open(BamBuilder().refs(1, 100000).record(placed(1048576, 10)));
  EXPECT_KIND(bam.build_index(), ReferenceIDNotFound, u"1048576");
  BAM worse = open(BamBuilder().refs(1, 100000).record(placed(2147483647, 10)));
  const auto build = [&] { EXPECT_KIND(worse.build_index(), ReferenceIDNotFound, u"2147483647"); };
  EXPECT_LT(memory_growth(build), kMuchMemory);
}

}  // namespace
}  // namespace readkit::bam_build_index_test
