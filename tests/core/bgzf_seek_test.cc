// Virtual offsets: telling and seeking.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/bgzf.h"
#include "support/bgzf_builder.h"
#include "support/bgzf_words.h"
#include "support/expect_kind.h"
#include "support/random_data.h"
#include "support/reference_decoder.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::core_bgzf_seek_test {
namespace {

class BgzfSeek : public testing::Test {
 protected:
  BgzfSeek() { folder_.write("f", file_.bytes()); }

  // A virtual offset inside the n-th block.
  std::uint64_t in_block(std::size_t n, std::uint64_t inside) const {
    return virtual_offset(file_.offset(n), inside);
  }

  TempDir folder_;
  const BgzfFile file_ = BgzfFile().block("abcde").block("fghij").block("klmno").marker();
};

TEST_F(BgzfSeek, TellNamesThePlaceInTheBlock) {
  BGZF in(folder_.path("f"));
  EXPECT_EQ(in.tell(), 0u);
  take(in, 2);
  EXPECT_EQ(in.tell(), in_block(0, 2));
  take(in, 4);
  EXPECT_EQ(in.tell(), in_block(1, 1));
}

TEST_F(BgzfSeek, TellAtTheEndOfABlockNamesTheNextBlock) {
  BGZF in(folder_.path("f"));
  take(in, 5);
  EXPECT_EQ(in.tell(), in_block(1, 0));
  take(in, 10);
  EXPECT_EQ(in.tell(), in_block(3, 0));
  EXPECT_EQ(take(in, 1), "");
  EXPECT_EQ(in.tell(), virtual_offset(file_.size(), 0));
}

TEST_F(BgzfSeek, GivesBackItsArgumentAndPositionsTheNextRead) {
  BGZF in(folder_.path("f"));
  for (const std::uint64_t offset :
       {in_block(2, 1), in_block(0, 4), in_block(1, 0), in_block(1, 3), in_block(0, 0)}) {
    EXPECT_EQ(in.seek(offset), offset);
    EXPECT_EQ(in.tell(), offset);
  }
  in.seek(in_block(1, 3));
  EXPECT_EQ(take(in, 100), "ijklmno");
  in.seek(in_block(0, 4));
  EXPECT_EQ(take(in, 3), "efg");
}

// Nothing is retried: the damaged block is the current one, so a seek to it reads nothing, and it
// has no data.
TEST_F(BgzfSeek, ToADamagedBlockASecondTimeGoesOnBehindIt) {
  const BgzfFile damaged =
      BgzfFile().block("abcde").block(BgzfBlock::around("\xff\xff")).block("klmno").marker();
  BGZF in(folder_.write("g", damaged.bytes()));
  const std::uint64_t offset = virtual_offset(damaged.offset(1), 0);
  EXPECT_KIND(in.seek(offset), ZLIBInflate, folder_.text("g"));
  EXPECT_EQ(in.seek(offset), offset);
  EXPECT_EQ(take(in, 5), "klmno");
  in.seek(0);
  EXPECT_KIND(in.seek(offset), ZLIBInflate, folder_.text("g"));
}

TEST_F(BgzfSeek, InsideTheCurrentBlockDoesNotTouchTheFile) {
  BGZF in(folder_.path("f"));
  in.seek(in_block(1, 2));
  folder_.truncate("f", 0);
  in.seek(in_block(1, 0));
  EXPECT_EQ(take(in, 2), "fg");
  in.seek(in_block(1, 4));
  EXPECT_EQ(take(in, 1), "j");
}

TEST_F(BgzfSeek, InsideTheCurrentBlockLoadsNothing) {
  BGZF in(folder_.path("f"));
  take(in, 8);
  const std::uint64_t position = in.uncompressed_position();
  const std::uint8_t* const next = in.peek_in_block(1);
  for (const std::uint64_t inside : {std::uint64_t{0}, std::uint64_t{4}, std::uint64_t{3}}) {
    in.seek(in_block(1, inside));
    EXPECT_EQ(in.uncompressed_position(), position);  // every block loaded adds to it
  }
  EXPECT_EQ(in.peek_in_block(1), next);
  in.seek(in_block(0, 0));
  EXPECT_GT(in.uncompressed_position(), position);
}

TEST_F(BgzfSeek, InsideTheCurrentBlockWorksOnAPipeAndElsewhereRaisesBGZFSeek) {
  const std::string name = folder_.native("pipe");
  ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
  const int writer = open(name.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(writer, 0);
  ASSERT_EQ(write(writer, file_.bytes().data(), file_.size()), static_cast<ssize_t>(file_.size()));
  BGZF in(folder_.path("pipe"));
  close(writer);
  EXPECT_EQ(take(in, 3), "abc");
  in.seek(in_block(0, 1));
  EXPECT_EQ(take(in, 4), "bcde");
  in.seek(in_block(0, 0));  // used up, but still the current block
  EXPECT_EQ(take(in, 1), "a");
  EXPECT_KIND(in.seek(virtual_offset(1 << 20, 0)), BGZFSeek, folder_.path("pipe"));
}

TEST_F(BgzfSeek, BlockIsInflatedAgainAfterAnotherOneWasLoaded) {
  Random random(50);
  const std::string first = random_bytes(random, 60000);
  BgzfFile file;
  file.block(first);
  for (int i = 0; i < 30; ++i) file.block(random_bytes(random, 60000));
  folder_.write("big", file.marker().bytes());
  BGZF in(folder_.path("big"));
  EXPECT_TRUE(take(in, 60000) == first);
  in.seek(virtual_offset(file.offset(30), 0));
  folder_.overwrite("big", file.offset(0), std::string(40, '\0'));
  EXPECT_KIND(in.seek(0), InvalidBAMFormat, folder_.path("big"));
}

TEST_F(BgzfSeek, InsideOffsetAtOrPastTheBlocksLengthGoesOnWithTheNextBlock) {
  constexpr std::uint64_t kInside[] = {5, 6, 1000, 65535};
  for (const std::uint64_t inside : kInside) {
    BGZF in(folder_.path("f"));
    in.seek(in_block(1, inside));
    EXPECT_EQ(in.tell(), in_block(2, 0));
    EXPECT_EQ(take(in, 2), "kl");
  }
}

TEST_F(BgzfSeek, InsideOffsetPastTheCurrentBlockGoesOnWithTheNextBlock) {
  BGZF in(folder_.path("f"));
  take(in, 1);
  in.seek(in_block(0, 65535));
  EXPECT_EQ(in.tell(), in_block(1, 0));
  EXPECT_EQ(take(in, 100), "fghijklmno");
}

TEST_F(BgzfSeek, ThatLandsOnTheCleanEndLeavesAnEmptyBlock) {
  BGZF in(folder_.path("f"));
  take(in, 100);
  in.seek(in_block(1, 0));
  EXPECT_EQ(take(in, 1), "f");
  const std::uint64_t end = virtual_offset(file_.size(), 0);
  EXPECT_EQ(in.seek(end + 2), end + 2);
  EXPECT_EQ(take(in, 3), "");  // nothing of the block that was loaded before
  EXPECT_EQ(in.tell(), end);
  in.seek(in_block(1, 2));
  EXPECT_EQ(take(in, 1), "h");
}

TEST_F(BgzfSeek, ToTheFilesEndRaisesInvalidBAMFormatBeforeAMarkerWasRead) {
  BGZF in(folder_.path("f"));
  EXPECT_KIND(in.seek(virtual_offset(file_.size(), 0)), InvalidBAMFormat, folder_.path("f"));
}

TEST_F(BgzfSeek, ToTheMarkerReadsNothingMore) {
  BGZF in(folder_.path("f"));
  in.seek(in_block(3, 0));
  EXPECT_EQ(take(in, 1), "");
  EXPECT_EQ(in.read_block(), 1);
}

TEST_F(BgzfSeek, ToWhatIsNoBlockRaisesInvalidBAMFormat) {
  BGZF in(folder_.path("f"));
  EXPECT_KIND(in.seek(virtual_offset(7, 0)), InvalidBAMFormat, folder_.path("f"));
  in.seek(in_block(2, 0));
  EXPECT_EQ(take(in, 5), "klmno");
}

TEST_F(BgzfSeek, BlockAddressUses48Bits) {
  // A sparse file, so that a block stands beyond 4 GiB.
  const std::uint64_t address = (std::uint64_t{5} << 30) + 12345;
  folder_.truncate("f", address);
  folder_.overwrite("f", address, BgzfFile().block("far").marker().bytes());
  BGZF in(folder_.path("f"));
  EXPECT_EQ(in.seek(virtual_offset(address, 1)), virtual_offset(address, 1));
  EXPECT_EQ(in.tell(), virtual_offset(address, 1));
  EXPECT_EQ(take(in, 100), "ar");
}

TEST_F(BgzfSeek, EveryOffsetToldIsFoundAgain) {
  Random random(51);
  const std::string data = random_text(random, 100000, "abcdefgh");
  folder_.write("g", BgzfFile().blocks(data, 777).marker().bytes());
  BGZF in(folder_.path("g"));
  std::vector<std::pair<std::uint64_t, std::size_t>> places;
  std::size_t done = 0;
  while (done < data.size()) {
    places.emplace_back(in.tell(), done);
    done += take(in, random() % 2000).size();
  }
  for (int i = 0; i < 500; ++i) {
    const auto& [offset, at] = places[random() % places.size()];
    in.seek(offset);
    ASSERT_EQ(in.tell(), offset);
    ASSERT_TRUE(take(in, 3000) == data.substr(at, 3000)) << at;
  }
}

TEST_F(BgzfSeek, EveryBlockOfARealFileIsFoundByItsOffset) {
  SKIP_WITHOUT_TEST_DATA();
  const std::string name = test_file("bam/ex1.bam");
  const std::vector<DecodedBlock> blocks = decode_blocks(read_file(name));
  ASSERT_GT(blocks.size(), 1u);
  BGZF in(to_path(name));
  for (auto block = blocks.rbegin(); block != blocks.rend(); ++block) {
    in.seek(virtual_offset(block->offset, 0));
    EXPECT_TRUE(take(in, block->data.size()) == block->data) << block->offset;
  }
}

}  // namespace
}  // namespace readkit::core_bgzf_seek_test
