#include "bam/bam.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/bam_builder.h"
#include "support/bgzf_builder.h"
#include "support/expect_kind.h"
#include "support/reference_decoder.h"
#include "support/temp_dir.h"

namespace readkit::bam_bam_test {
namespace {

// A file with a record at each of these places (reference, position).
using Places = std::vector<std::pair<int, int>>;

BamBuilder file_at(const Places& places) {
  BamBuilder file;
  file.text("@HD\tVN:1.6\n").refs(3, 100000);
  for (const auto& [ref, pos] : places) file.record(RecordBuilder().at(ref, pos).cigar("5M"));
  return file;
}

class Bam : public testing::Test {
 protected:
  BAM open(const BamBuilder& file) { return BAM(file.write(folder_, "a.bam")); }
  bool is_sorted(const Places& places) { return open(file_at(places)).is_sorted(); }

  TempDir folder_;
};

std::vector<int> positions(BAM& bam) {
  std::vector<int> all;
  while (bam.next_alignment()) all.push_back(bam.pos());
  return all;
}

// ---- Opening ---------------------------------------------------------------------------------

TEST_F(Bam, OpeningReadsTheHeader) {
  const BAM bam = open(file_at({}));
  EXPECT_EQ(bam.sam_header(), "@HD\tVN:1.6\n");
  EXPECT_EQ(bam.get_num_refs(), 3);
  EXPECT_EQ(bam.path().text(), folder_.text("a.bam"));
}

TEST_F(Bam, FirstRecordOffsetIsJustAfterTheHeader) {
  const BamBuilder file = file_at({{0, 1}});
  EXPECT_EQ(open(file).first_record(), virtual_offset(0, file.header_bytes().size()));
}

TEST_F(Bam, MissingFileRaisesFileNotFoundWithItsName) {
  EXPECT_KIND(BAM(folder_.path("no.bam")), FileNotFound, folder_.path("no.bam"));
}

TEST_F(Bam, EmptyNameRaisesFileNotFoundWithTheEmptyName) {
  EXPECT_KIND(BAM{Path()}, FileNotFound, u"");
}

TEST_F(Bam, OpeningForWritingInAMissingFolderRaisesFileNotFound) {
  EXPECT_KIND(BAM(folder_.path("no/a.bam"), "w"), FileNotFound, folder_.path("no/a.bam"));
}

TEST_F(Bam, WrongMagicRaisesInvalidBamFormat) {
  const Path path =
      folder_.write("a.bam", BgzfFile().block(std::string("BAM\2\0\0\0\0\0\0\0\0", 12)).bytes());
  EXPECT_KIND(BAM{path}, InvalidBAMFormat, path);
}

TEST_F(Bam, HeaderCutShortRaisesBamRead) {
  const std::string header = file_at({}).header_bytes();
  const Path path = folder_.write(
      "a.bam", BgzfFile().block(header.substr(0, header.size() - 1)).marker().bytes());
  EXPECT_KIND(BAM{path}, BAMRead, path);
}

TEST_F(Bam, NamesOutsideAsciiOpen) {
  const Path path = file_at({{0, 7}}).write(folder_, "r\xc3\xa9\xf0\x9f\xa7\xac.bam");
  BAM bam(path);
  EXPECT_EQ(positions(bam), (std::vector<int>{7}));
}

TEST_F(Bam, AnyModeWithAnRReadsTheHeader) {
  const BAM bam(file_at({}).write(folder_, "a.bam"), "r+");
  EXPECT_EQ(bam.get_num_refs(), 3);
}

// ---- Reading ---------------------------------------------------------------------------------

TEST_F(Bam, AtEndIsFalseBeforeTheFirstRecordAndTrueAfterTheLast) {
  BAM bam = open(file_at({{0, 1}}));
  EXPECT_FALSE(bam.at_end());
  EXPECT_TRUE(bam.next_alignment());
  EXPECT_FALSE(bam.at_end());
  EXPECT_FALSE(bam.next_alignment());
  EXPECT_TRUE(bam.at_end());
}

TEST_F(Bam, RecordsThatCrossBlocksAreReadWhole) {
  BamBuilder file = file_at({{0, 1}, {0, 2}, {1, 3}, {-1, -1}});
  for (const std::size_t size : {1U, 7U, 40U, 41U}) {
    BAM bam = open(file.block_size(size));
    EXPECT_EQ(positions(bam), (std::vector<int>{1, 2, 3, -1})) << size;
  }
}

TEST_F(Bam, RewindGoesBackToTheFirstRecord) {
  BAM bam = open(file_at({{0, 1}, {0, 2}}).one_block_each());
  positions(bam);
  bam.rewind();
  EXPECT_EQ(positions(bam), (std::vector<int>{1, 2}));
}

TEST_F(Bam, WithoutAnEndMarkerTheEndRaisesInvalidBamFormat) {
  BAM bam = open(file_at({{0, 1}}).without_marker());
  EXPECT_TRUE(bam.next_alignment());
  EXPECT_KIND(bam.next_alignment(), InvalidBAMFormat, bam.path());
}

TEST_F(Bam, RecordCutShortIsTheEnd) {
  const std::string content = file_at({{0, 1}, {0, 2}}).content();
  BAM bam(folder_.write("a.bam",
                        BgzfFile().block(content.substr(0, content.size() - 1)).marker().bytes()));
  EXPECT_EQ(positions(bam), (std::vector<int>{1}));
  EXPECT_TRUE(bam.at_end());
}

// ---- Names and lookups -----------------------------------------------------------------------

TEST_F(Bam, ReferencesAreFoundByIndexAndByName) {
  const BAM bam = open(BamBuilder().ref("chr1", 10).ref("chr2", 4294967295U));
  EXPECT_EQ(bam.get_ref_name(1), "chr2");
  EXPECT_EQ(bam.get_ref_len(1), 4294967295U);
  EXPECT_EQ(bam.get_ref_id("chr2"), 1);
}

TEST_F(Bam, ReferencesOutsideTheDictionaryRaiseReferenceIdNotFound) {
  const BAM bam = open(file_at({}));
  EXPECT_KIND(bam.get_ref_name(3), ReferenceIDNotFound, u"3");
  EXPECT_KIND(bam.get_ref_name(-1), ReferenceIDNotFound, u"-1");
  EXPECT_KIND(bam.get_ref_len(3), ReferenceIDNotFound, u"3");
  EXPECT_KIND(bam.get_ref_id("chr9"), ReferenceIDNotFound, u"chr9");
}

TEST_F(Bam, RegionsAreReadByTheHeader) {
  const BAM bam = open(file_at({}));
  int ref = -7;
  int beg = -7;
  int end = -7;
  EXPECT_TRUE(bam.parse_region("chr2:1,000-2,000", &ref, &beg, &end));
  EXPECT_EQ(ref, 1);
  EXPECT_EQ(beg, 999);
  EXPECT_EQ(end, 2000);
  EXPECT_KIND(bam.parse_region("chr2", &ref, &beg, &end), InvalidRegion, u"chr2");
}

// ---- Writing ---------------------------------------------------------------------------------

TEST_F(Bam, OpeningForWritingLeavesTheHeaderEmpty) {
  const BAM bam(folder_.path("w.bam"), "w");
  EXPECT_EQ(bam.get_num_refs(), 0);
  EXPECT_EQ(bam.sam_header(), "");
  EXPECT_EQ(bam.first_record(), 0U);
  EXPECT_FALSE(bam.at_end());
}

TEST_F(Bam, HeaderAndRecordsThatAreWrittenShareABlock) {
  const BamBuilder file = file_at({{0, 1}, {2, 5}});
  BAM in = open(file);
  BAM out(folder_.path("w.bam"), "w");
  EXPECT_TRUE(out.write(in.header()));
  while (in.next_alignment()) EXPECT_TRUE(out.write(in));
  EXPECT_EQ(out.close(), 0);
  const std::vector<DecodedBlock> blocks = decode_blocks(folder_.read("w.bam"));
  ASSERT_EQ(blocks.size(), 2U);
  EXPECT_EQ(blocks[0].data, file.content());
  EXPECT_EQ(blocks[1].bytes, bgzf_marker());
}

TEST_F(Bam, DestructionWritesTheEndMarker) {
  { BAM(folder_.path("w.bam"), "w").write(BamHeader()); }
  EXPECT_TRUE(folder_.read("w.bam").ends_with(bgzf_marker()));
}

TEST_F(Bam, ClosingTwiceFails) {
  BAM bam(folder_.path("w.bam"), "w");
  EXPECT_EQ(bam.close(), 0);
  EXPECT_EQ(bam.close(), -1);
}

TEST_F(Bam, WritingToAFileOpenForReadingRaisesBamReadOnly) {
  BAM bam = open(file_at({}));
  EXPECT_KIND(bam.write(bam.header()), BAMReadOnly, bam.path());
  EXPECT_KIND(bam.write(RecordBuilder().record()), BAMReadOnly, bam.path());
}

// ---- Sort order ------------------------------------------------------------------------------

TEST_F(Bam, WithoutRecordsIsSortedAndAtEnd) {
  BAM bam = open(file_at({}));
  EXPECT_TRUE(bam.is_sorted());
  EXPECT_TRUE(bam.at_end());
}

TEST_F(Bam, LowerReferenceAfterHigherIsUnsorted) { EXPECT_FALSE(is_sorted({{1, 0}, {0, 0}})); }

TEST_F(Bam, PlacedRecordAfterUnplacedIsUnsorted) { EXPECT_FALSE(is_sorted({{-1, -1}, {0, 0}})); }

TEST_F(Bam, UnplacedRecordsAfterPlacedAreSorted) {
  EXPECT_TRUE(is_sorted({{0, 0}, {-1, -1}}));
  EXPECT_TRUE(is_sorted({{0, 0}, {2, 0}, {-1, -1}, {-1, -1}}));
}

TEST_F(Bam, LowerPositionOnOneReferenceIsUnsorted) {
  EXPECT_FALSE(is_sorted({{0, 100}, {0, 99}}));
  EXPECT_FALSE(is_sorted({{0, 5}, {1, 100}, {1, 100}, {1, 99}}));
}

TEST_F(Bam, EqualPositionsAreSorted) { EXPECT_TRUE(is_sorted({{0, 100}, {0, 100}})); }

TEST_F(Bam, PositionsStartAnewOnEachReference) { EXPECT_TRUE(is_sorted({{0, 100}, {1, 0}})); }

TEST_F(Bam, PositionsOfUnplacedRecordsAreNotCompared) {
  EXPECT_TRUE(is_sorted({{-1, 100}, {-1, 99}}));
}

TEST_F(Bam, ReturningToAReferenceIsUnsorted) { EXPECT_FALSE(is_sorted({{1, 5}, {2, 5}, {1, 6}})); }

TEST_F(Bam, SortTestStopsAtTheFirstRecordOutOfOrder) {
  BAM bam = open(file_at({{0, 9}, {0, 8}, {0, 7}}).record_bytes(RecordBuilder().l_seq(-1).bytes()));
  EXPECT_FALSE(bam.is_sorted());
  EXPECT_FALSE(bam.at_end());
  EXPECT_EQ(bam.pos(), 8);
  EXPECT_TRUE(bam.next_alignment());
  EXPECT_EQ(bam.pos(), 7);
}

TEST_F(Bam, SortTestStartsAtTheFirstRecordWhereverTheStreamStands) {
  BAM bam = open(file_at({{0, 9}, {0, 8}, {1, 7}}));
  bam.next_alignment();
  bam.next_alignment();
  EXPECT_FALSE(bam.is_sorted());
}

// ---- Order of files --------------------------------------------------------------------------

class BamOrder : public Bam {
 protected:
  // A file whose current record lies at (ref, pos).
  BAM at(int ref, int pos) {
    BAM bam = open(file_at({{ref, pos}}));
    bam.next_alignment();
    return bam;
  }
  BAM ended() {
    BAM bam = open(file_at({}));
    bam.next_alignment();
    return bam;
  }
};

TEST_F(BamOrder, LiveFilesCompareByTheirCurrentRecords) {
  EXPECT_TRUE(at(0, 1) < at(0, 2));
  EXPECT_FALSE(at(0, 2) < at(0, 1));
  EXPECT_FALSE(at(0, 1) < at(0, 1));
  EXPECT_TRUE(at(1, 0) < at(-1, 0));
  EXPECT_TRUE(at(0, 1) <= at(0, 1));
  EXPECT_TRUE(at(0, 1) <= at(0, 2));
  EXPECT_FALSE(at(0, 2) <= at(0, 1));
}

TEST_F(BamOrder, FileAtEndComesAfterALiveOne) {
  EXPECT_TRUE(at(2, 5) < ended());
  EXPECT_FALSE(ended() < at(2, 5));
  EXPECT_TRUE(at(2, 5) <= ended());
  EXPECT_FALSE(ended() <= at(2, 5));
}

TEST_F(BamOrder, TwoFilesAtEndAreEqual) {
  EXPECT_FALSE(ended() < ended());
  EXPECT_TRUE(ended() <= ended());
}

// ---- Moving ----------------------------------------------------------------------------------

TEST_F(Bam, MovedFileReadsOn) {
  BAM first = open(file_at({{0, 1}, {0, 2}, {0, 3}}).one_block_each());
  first.next_alignment();
  BAM second(std::move(first));
  EXPECT_EQ(second.pos(), 1);
  EXPECT_EQ(second.get_num_refs(), 3);
  BAM third(file_at({{1, 50}}).write(folder_, "b.bam"));
  third = std::move(second);
  EXPECT_EQ(positions(third), (std::vector<int>{2, 3}));
  EXPECT_EQ(third.path().text(), folder_.text("a.bam"));
}

TEST_F(Bam, MovingFilesAboutInAListClosesNoLiveOne) {
  std::vector<BAM> files;
  for (int i = 0; i < 9; ++i) {
    const std::string name = std::to_string(i) + ".bam";
    files.emplace_back(file_at({{0, i}, {0, i + 100}}).write(folder_, name));
    files.back().next_alignment();
  }
  std::swap(files[0], files[8]);
  files.erase(files.begin() + 3);
  std::vector<int> rest;
  for (BAM& file : files) rest.push_back(file.next_alignment() ? file.pos() : -1);
  EXPECT_EQ(rest, (std::vector<int>{108, 101, 102, 104, 105, 106, 107, 100}));
}

TEST_F(Bam, MovedWriterWritesOn) {
  BAM first(folder_.path("w.bam"), "w");
  first.write(BamHeader());
  BAM second(std::move(first));
  second.write(RecordBuilder().at(0, 4).record());
  EXPECT_EQ(second.close(), 0);
  BAM in(folder_.path("w.bam"));
  EXPECT_EQ(positions(in), (std::vector<int>{4}));
}

TEST_F(Bam, MovedFileKeepsItsIndexAndItsQuery) {
  BAM first = open(file_at({{0, 1}, {0, 2}, {1, 3}}).one_block_each());
  first.build_index();
  first.find_init(0, 0, 1000);
  EXPECT_TRUE(first.find_next(0, 0, 1000));
  BAM second(std::move(first));
  EXPECT_TRUE(second.has_index());
  EXPECT_TRUE(second.find_next(0, 0, 1000));
  EXPECT_EQ(second.pos(), 2);
  EXPECT_FALSE(second.find_next(0, 0, 1000));
}

}  // namespace
}  // namespace readkit::bam_bam_test
