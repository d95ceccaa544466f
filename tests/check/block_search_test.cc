// Where a block begins among other bytes.
#include "check/block_search.h"

#include <string>

#include <gtest/gtest.h>

#include "support/bgzf_builder.h"

namespace readkit::check_block_search_test {
namespace {

BlockPlace place(const std::string& bytes, bool is_rest) {
  return find_block({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}, is_rest);
}
std::size_t stated(const BgzfBlock& block) {
  return stated_block_size(reinterpret_cast<const std::uint8_t*>(block.bytes().data()));
}

TEST(BlockSearch, StatedSizeIsThatOfASoundHeader) {
  const BgzfBlock block("some data");
  EXPECT_EQ(stated(block), block.size());
  EXPECT_EQ(stated(BgzfBlock("some data").set_byte(0, 0x1e)), 0U);
  EXPECT_EQ(stated(BgzfBlock("some data").set_byte(12, 'X')), 0U);
  EXPECT_EQ(stated(BgzfBlock("some data").set_bsize(25)), 0U);  // no byte of data
  EXPECT_EQ(stated(BgzfBlock("some data").set_bsize(26)), 27U);
}

TEST(BlockSearch, BlockIsFoundBehindOtherBytes) {
  const std::string block = BgzfBlock("some data").bytes();
  const std::string junk = "\x1f\x8b\x08 junk";
  EXPECT_EQ(place(junk + block + block, false).at, junk.size());
  EXPECT_TRUE(place(junk + block + block, false).is_found);
  EXPECT_EQ(place(junk + block, true).at, junk.size());
  EXPECT_TRUE(place(junk + block, true).is_found);
  EXPECT_TRUE(place(junk + block + "cut", true).is_found);
}

TEST(BlockSearch, HeaderThatNoBlockFollowsIsNotABlock) {
  const std::string block = BgzfBlock("some data").bytes();
  const std::string alone = block + std::string(100, 'x');
  EXPECT_FALSE(place(alone, true).is_found);
  EXPECT_EQ(place(alone, true).at, alone.size());
  const BlockPlace second = place(alone + block, true);
  EXPECT_TRUE(second.is_found);
  EXPECT_EQ(second.at, alone.size());
}

TEST(BlockSearch, SearchGoesOnWhereMoreBytesWouldTell) {
  const std::string block = BgzfBlock("some data").bytes();
  const std::string junk(50, 'x');
  const BlockPlace cut = place(junk + block, false);  // what follows the block is not there yet
  EXPECT_FALSE(cut.is_found);
  EXPECT_EQ(cut.at, junk.size());
  EXPECT_EQ(place(junk, false).at, junk.size());
  EXPECT_EQ(place(junk + "\x1f\x8b", false).at, junk.size());
  EXPECT_EQ(place(junk + "\x1f\x8b", true).at, junk.size() + 2);
  EXPECT_FALSE(place("", true).is_found);
}

}  // namespace
}  // namespace readkit::check_block_search_test
