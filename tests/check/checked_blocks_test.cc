// Blocks that are verified, and what is read behind damaged ones.
#include "check/checked_blocks.h"

#include <string>

#include <gtest/gtest.h>

#include "support/bgzf_builder.h"
#include "support/check_words.h"
#include "support/reference_decoder.h"
#include "support/temp_dir.h"

namespace readkit::check_checked_blocks_test {
namespace {

struct Read {
  std::string data;  // of all blocks, '|' where bytes were lost
  Found found;
  std::uint64_t blocks = 0;
  bool marker = false;
};

Read read_all(const std::string& bytes) {
  const TempDir folder;
  File file(folder.write("a", bytes), "rb");
  Findings findings;
  CheckedBlocks blocks(file, findings);
  Read all;
  while (blocks.next()) {
    if (blocks.is_broken()) all.data += '|';
    blocks.mend();
    all.data.append(reinterpret_cast<const char*>(blocks.bytes()), blocks.left());
  }
  EXPECT_FALSE(blocks.next());
  if (blocks.is_broken()) all.data += '|';
  all.found = found(findings);
  all.blocks = blocks.blocks();
  all.marker = blocks.ends_with_marker();
  return all;
}

// "one", a block that a test damages, "three" and the marker.
BgzfFile with(const BgzfBlock& block) {
  return BgzfFile().block("one").block(block).block("three").marker();
}
std::uint64_t second() { return virtual_offset(BgzfBlock("one").size(), 0); }

TEST(CheckedBlocks, SoundFileIsReadWhole) {
  const Read all = read_all(with(BgzfBlock("two")).bytes());
  EXPECT_EQ(all.data, "onetwothree");
  EXPECT_EQ(all.found, Found{});
  EXPECT_EQ(all.blocks, 4U);
  EXPECT_TRUE(all.marker);
}

TEST(CheckedBlocks, ChecksumIsVerifiedAndTheDataUsed) {
  const Read all = read_all(with(BgzfBlock("two").set_crc(zlib_crc32("two") ^ 1)).bytes());
  EXPECT_EQ(all.found, (Found{finding("BlockCRC", second())}));
  EXPECT_EQ(all.data, "onetwothree");
}

TEST(CheckedBlocks, LengthIsVerifiedAndTheDataUsed) {
  const Read all = read_all(with(BgzfBlock("two").set_isize(4)).bytes());
  EXPECT_EQ(all.found, (Found{finding("BlockLength", second())}));
  EXPECT_EQ(all.data, "onetwothree");
}

TEST(CheckedBlocks, BlockThatDoesNotInflateIsLost) {
  const Read all = read_all(with(BgzfBlock::around("\x07 none", "two")).bytes());
  EXPECT_EQ(all.found, (Found{finding("BlockData", second())}));
  EXPECT_EQ(all.data, "one|three");
  EXPECT_EQ(all.blocks, 4U);
}

TEST(CheckedBlocks, BlockOfMoreDataThanABlockHoldsIsLost) {
  const std::string much(65537, 'a');
  const Read all = read_all(with(BgzfBlock::around(raw_deflate(much), much)).bytes());
  EXPECT_EQ(all.found, (Found{finding("BlockData", second())}));
  EXPECT_EQ(all.data, "one|three");
}

TEST(CheckedBlocks, BytesBetweenBlocksArePassedOver) {
  const std::string bytes = BgzfFile().block("one").raw("junk").block("three").marker().bytes();
  const Read all = read_all(bytes);
  EXPECT_EQ(all.found, (Found{finding("BlockHeader", second())}));
  EXPECT_EQ(all.data, "one|three");
  EXPECT_EQ(all.blocks, 3U);
}

TEST(CheckedBlocks, SearchCrossesTheWindowOfTheFile) {
  std::string junk(300000, 'x');
  for (std::size_t i = 0; i < junk.size(); i += 1000) junk.replace(i, 4, "\x1f\x8b\x08\x04");
  const Read all = read_all(BgzfFile().block("one").raw(junk).block("three").marker().bytes());
  EXPECT_EQ(all.found, (Found{finding("BlockHeader", second())}));
  EXPECT_EQ(all.data, "one|three");
}

TEST(CheckedBlocks, SizeThatIsWrongLosesNoOtherBlock) {
  const BgzfBlock sound("two");
  for (const int change : {-3, 5, 40, 60}) {
    BgzfBlock block("two");
    block.set_bsize(static_cast<std::uint16_t>(static_cast<int>(sound.size()) - 1 + change));
    const Read all = read_all(with(block).bytes());
    EXPECT_TRUE(all.data.ends_with("three")) << change << ' ' << all.data;
    EXPECT_GE(all.found.size(), 1U) << change;
    EXPECT_TRUE(all.marker) << change;
  }
}

TEST(CheckedBlocks, FlagsMustBeThoseOfABlock) {
  const Read all = read_all(with(BgzfBlock("two").set_byte(3, 0x0c)).bytes());
  EXPECT_EQ(all.found, (Found{finding("BlockHeader", second())}));
  EXPECT_EQ(all.data, "onetwothree");
}

TEST(CheckedBlocks, MissingMarkerIsFoundAtTheEnd) {
  const std::string bytes = BgzfFile().block("one").bytes();
  const Read all = read_all(bytes);
  EXPECT_EQ(all.found, (Found{finding("EndMarker", virtual_offset(bytes.size(), 0))}));
  EXPECT_FALSE(all.marker);
  EXPECT_EQ(all.data, "one");
  // An empty block of other bytes is not the marker.
  const std::string other = BgzfFile().block("one").block(BgzfBlock("").set_byte(9, 3)).bytes();
  EXPECT_FALSE(read_all(other).marker);
  EXPECT_EQ(read_all(other).blocks, 2U);
}

TEST(CheckedBlocks, EveryTruncationIsFound) {
  const BgzfFile file = with(BgzfBlock("two"));
  for (std::size_t size = 0; size < file.size(); ++size) {
    const Read all = read_all(file.bytes().substr(0, size));
    ASSERT_EQ(all.found.size(), 1U) << size;
    const bool at_block =
        size == 0 || size == file.offset(1) || size == file.offset(2) || size == file.offset(3);
    const std::string expected = at_block ? "EndMarker " : "BlockTruncated ";
    EXPECT_EQ(all.found[0].substr(0, expected.size()), expected) << size;
    EXPECT_FALSE(all.marker) << size;
    EXPECT_TRUE(std::string("onetwothree|").find(all.data.substr(0, all.data.find('|'))) == 0);
  }
}

// Every bit of the compressed data and of the trailer, and of the size. A bit that means nothing,
// with which another reader makes the same bytes of the data, is no damage.
TEST(CheckedBlocks, EveryFlippedBitThatChangesTheDataIsFound) {
  const std::string data = "ACGTACGTTTGACAGGCATACGATCAGCATCAGAGAACGTTTACCAGGTACCCATTTACAGGAT";
  const BgzfFile file = BgzfFile().block(data).block("three").marker();
  int without_meaning = 0;
  for (std::size_t bit = 16 * 8; bit < file.offset(1) * 8; ++bit) {
    std::string bytes = file.bytes();
    bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ 1 << bit % 8);
    const Read all = read_all(bytes);
    EXPECT_TRUE(all.data.ends_with("three")) << bit;
    if (!all.found.empty()) continue;
    EXPECT_EQ(decode_bgzf(bytes), data + "three") << bit;
    ++without_meaning;
  }
  EXPECT_LT(without_meaning, 16);
}

TEST(CheckedBlocks, ReadCrossesBlocksAndStopsWhereBytesAreLost) {
  const TempDir folder;
  const BgzfFile bytes =
      BgzfFile().block("one").block("").block("two").raw("junk").block("three").marker();
  File file(folder.write("a", bytes.bytes()), "rb");
  Findings findings;
  CheckedBlocks blocks(file, findings);
  std::string taken(100, '\0');
  EXPECT_EQ(blocks.read(taken.data(), 100), 6U);
  EXPECT_EQ(taken.substr(0, 6), "onetwo");
  EXPECT_TRUE(blocks.is_broken());
  EXPECT_EQ(blocks.broken_at(), virtual_offset(bytes.offset(3), 0));
  EXPECT_EQ(blocks.read(taken.data(), 100), 0U);
  blocks.mend();
  EXPECT_EQ(blocks.tell(), virtual_offset(bytes.offset(4), 0));
  EXPECT_EQ(blocks.read(taken.data(), 2), 2U);
  EXPECT_EQ(blocks.tell(), virtual_offset(bytes.offset(4), 2));
  EXPECT_EQ(blocks.read(taken.data(), 100), 3U);
  EXPECT_FALSE(blocks.is_broken());
}

}  // namespace
}  // namespace readkit::check_checked_blocks_test
