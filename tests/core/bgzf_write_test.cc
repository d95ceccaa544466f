// Writing blocks, closing, and handing a stream on.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "core/bgzf.h"
#include "support/bgzf_builder.h"
#include "support/bgzf_words.h"
#include "support/expect_kind.h"
#include "support/libraries.h"
#include "support/random_data.h"
#include "support/reference_decoder.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::core_bgzf_write_test {
namespace {

class BgzfWrite : public testing::Test {
 protected:
  // The sizes of the data of all blocks, the marker's 0 at the end.
  std::vector<std::size_t> block_sizes(std::string_view name) {
    std::vector<std::size_t> sizes;
    for (const DecodedBlock& block : decode_blocks(folder_.read(name))) {
      sizes.push_back(block.data.size());
    }
    return sizes;
  }

  TempDir folder_;
};

using Sizes = std::vector<std::size_t>;

TEST_F(BgzfWrite, NothingWrittenGivesTheMarkerAlone) {
  BGZF out(folder_.path("f"), "w");
  EXPECT_EQ(out.close(), 0);
  EXPECT_EQ(folder_.read("f"), bgzf_marker());
}

TEST_F(BgzfWrite, MarkerIsTheLastBlock) {
  BGZF out(folder_.path("f"), "w");
  EXPECT_EQ(put(out, "hello"), 5u);
  EXPECT_EQ(out.close(), 0);
  EXPECT_TRUE(folder_.read("f").ends_with(bgzf_marker()));
}

TEST_F(BgzfWrite, BlocksCarryTheFixedHeaderSizeChecksumAndLength) {
  BGZF out(folder_.path("f"), "w");
  put(out, "hello");
  out.close();
  const std::string file = folder_.read("f");
  ASSERT_GT(file.size(), 28u);
  const std::string block = file.substr(0, file.size() - 28);
  EXPECT_EQ(block.substr(0, 16), std::string("\x1f\x8b\x08\x04\0\0\0\0\0\xff\x06\0BC\x02\0", 16));
  EXPECT_EQ(block.substr(16, 2), little_endian(block.size() - 1, 2));
  EXPECT_EQ(block.substr(block.size() - 8, 4), little_endian(zlib_crc32("hello"), 4));
  EXPECT_EQ(block.substr(block.size() - 4), little_endian(5, 4));
}

TEST_F(BgzfWrite, Exactly65280BytesMakeAFullBlockAtOnce) {
  BGZF out(folder_.path("f"), "w");
  EXPECT_EQ(put(out, std::string(65279, 'x')), 65279u);
  EXPECT_EQ(out.tell(), 0u);
  put(out, "x");
  EXPECT_EQ(out.uncompressed_position(), 65280u);
  const std::uint64_t first_block = out.tell() >> 16;
  EXPECT_EQ(out.close(), 0);
  EXPECT_EQ(block_sizes("f"), (Sizes{65280, 0}));
  EXPECT_EQ(decode_blocks(folder_.read("f"))[1].offset, first_block);
}

TEST_F(BgzfWrite, ByteMoreThan65280StaysBufferedUntilClose) {
  BGZF out(folder_.path("f"), "w");
  EXPECT_EQ(put(out, std::string(65281, 'x')), 65281u);
  EXPECT_EQ(out.uncompressed_position(), 65280u);
  EXPECT_EQ(out.close(), 0);
  EXPECT_EQ(block_sizes("f"), (Sizes{65280, 1, 0}));
}

TEST_F(BgzfWrite, LargeWriteMakesManyFullBlocks) {
  Random random(40);
  const std::string data = random_text(random, 3 * 65280 + 100);
  BGZF out(folder_.path("f"), "w");
  EXPECT_EQ(put(out, data), data.size());
  EXPECT_EQ(out.close(), 0);
  EXPECT_EQ(block_sizes("f"), (Sizes{65280, 65280, 65280, 100, 0}));
  EXPECT_TRUE(decode_bgzf(folder_.read("f")) == data);
}

TEST_F(BgzfWrite, SizeOfThePiecesDoesNotMatter) {
  Random random(41);
  const std::string data = random_text(random, 200000);
  BGZF whole(folder_.path("whole"), "w");
  put(whole, data);
  whole.close();
  BGZF pieces(folder_.path("pieces"), "w");
  for (std::size_t at = 0; at < data.size();) {
    const std::string_view piece = std::string_view(data).substr(at, random() % 5000);
    ASSERT_EQ(put(pieces, piece), piece.size());
    at += piece.size();
  }
  pieces.close();
  EXPECT_TRUE(folder_.read("whole") == folder_.read("pieces"));
}

TEST_F(BgzfWrite, WriteCountsBytesInElementsOfASize) {
  BGZF out(folder_.path("f"), "w");
  EXPECT_EQ(out.write("abcdef", 2, 3), 6u);
  EXPECT_EQ(out.write("abcdef", 0, 3), 0u);
  EXPECT_EQ(out.write("abcdef", 3, 0), 0u);
  out.close();
  EXPECT_EQ(decode_bgzf(folder_.read("f")), "abcdef");
}

TEST_F(BgzfWrite, FlushEndsTheBlock) {
  BGZF out(folder_.path("f"), "w");
  EXPECT_EQ(out.flush(), 0);  // nothing is pending
  put(out, "ab");
  EXPECT_EQ(out.flush(), 0);
  EXPECT_EQ(out.flush(), 0);
  put(out, "c");
  EXPECT_EQ(out.uncompressed_position(), 2u);
  out.close();
  EXPECT_EQ(block_sizes("f"), (Sizes{2, 1, 0}));
}

TEST_F(BgzfWrite, TellNamesTheNextBlockAndNotTheBufferedBytes) {
  BGZF out(folder_.path("f"), "w");
  put(out, "ab");
  EXPECT_EQ(out.tell(), 0u);
  out.flush();
  const std::uint64_t second = out.tell();
  EXPECT_EQ(second & 0xffff, 0u);
  put(out, "cd");
  EXPECT_EQ(out.tell(), second);
  out.close();
  EXPECT_EQ(decode_blocks(folder_.read("f"))[1].offset, second >> 16);
}

TEST_F(BgzfWrite, GzreadReadsWhatWasWritten) {
  Random random(42);
  const std::string data = random_bytes(random, 150000) + random_text(random, 150000);
  BGZF out(folder_.path("f"), "w");
  put(out, data);
  ASSERT_EQ(out.close(), 0);
  EXPECT_TRUE(gunzip_file(folder_.native("f")) == data);
}

TEST_F(BgzfWrite, ReaderReadsWhatWasWritten) {
  Random random(43);
  const std::string data = random_text(random, 300000);
  BGZF out(folder_.path("f"), "w");
  put(out, data);
  ASSERT_EQ(out.close(), 0);
  BGZF in(folder_.path("f"));
  EXPECT_TRUE(take(in, data.size() + 1) == data);
}

TEST_F(BgzfWrite, OnlyTheExactFlavourWritesBlocksOfZlibsDefaultLevel) {
  Random random(44);
  const std::string data = random_text(random, 100000) + random_bytes(random, 100000);
  BGZF out(folder_.path("f"), "w");
  put(out, data);
  out.close();
  const bool is_zlibs = folder_.read("f") == BgzfFile().blocks(data, 65280).marker().bytes();
  EXPECT_EQ(is_zlibs, flavour_name() == "exact");
}

// ---- What is refused and what fails ------------------------------------------------------------

TEST_F(BgzfWrite, WriteIsRefusedUnlessTheModeIsExactlyW) {
  for (const char* mode : {"r", "wb", "w+", "a", "r+"}) {
    const Path path = folder_.write("f", bgzf_marker());
    BGZF stream(path, mode);
    EXPECT_TRUE(stream.is_open()) << mode;
    EXPECT_KIND(put(stream, "x"), BAMReadOnly, path);
    EXPECT_KIND(put(stream, ""), BAMReadOnly, path);
    EXPECT_EQ(stream.flush(), 0) << mode;
    EXPECT_EQ(stream.close(), 0) << mode;
  }
}

TEST_F(BgzfWrite, RefusedWriterLeavesNoMarker) {
  BGZF stream(folder_.path("f"), "wb");
  stream.close();
  EXPECT_EQ(folder_.read("f"), "");
}

TEST_F(BgzfWrite, ReadingAndSeekingInAWriterRaiseAndLeaveItsDataAlone) {
  BGZF out(folder_.path("f"), "w");
  put(out, "hello");
  EXPECT_THROW(take(out, 1), MsgIdException);
  EXPECT_THROW(out.seek(virtual_offset(100, 0)), MsgIdException);
  EXPECT_EQ(out.close(), 0);
  EXPECT_EQ(decode_bgzf(folder_.read("f")), "hello");
}

TEST_F(BgzfWrite, CloseTwiceGivesMinusOne) {
  BGZF out(folder_.path("f"), "w");
  EXPECT_EQ(out.close(), 0);
  EXPECT_FALSE(out.is_open());
  EXPECT_EQ(out.close(), -1);
  EXPECT_EQ(folder_.read("f"), bgzf_marker());
}

TEST_F(BgzfWrite, FullBlockAfterCloseRaisesFileWrite) {
  const Path path = folder_.path("f");
  BGZF out(path, "w");
  out.close();
  EXPECT_KIND(put(out, std::string(65280, 'x')), FileWrite, path);
  EXPECT_EQ(folder_.read("f"), bgzf_marker());
}

TEST_F(BgzfWrite, TemporaryFileHoldsTheSameDataInBytesOfItsOwn) {
  Random random(46);
  const std::string data = random_text(random, 200000);
  const auto write = [&](const char* name, Packing packing) {
    BGZF out;
    out.open(folder_.path("other"), "w");
    out.set_packing(Packing::kNone);  // holds for the file that is open
    out.open(folder_.path(name), "w");
    if (packing != Packing::kFull) out.set_packing(packing);
    BGZF moved = std::move(out);
    put(moved, data);
    EXPECT_EQ(moved.close(), 0);
  };
  write("kept", Packing::kFull);
  write("temporary", Packing::kQuick);
  write("stored", Packing::kNone);
  const auto content = [&](const char* name) {
    std::string all;
    for (const DecodedBlock& block : decode_blocks(folder_.read(name))) all += block.data;
    return all;
  };
  EXPECT_EQ(content("temporary"), data);
  EXPECT_EQ(content("stored"), data);
  EXPECT_EQ(content("kept"), data);
  for (const char* name : {"temporary", "stored"}) {
    EXPECT_EQ(folder_.read("kept") == folder_.read(name), flavour_name() == "exact") << name;
  }
}

class BgzfFullDevice : public testing::Test {
 protected:
  void SetUp() override {
    if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "this system has no /dev/full";
  }

  const Path device_{u"/dev/full"};
};

TEST_F(BgzfFullDevice, FailedFlushInsideWriteRaisesFileWrite) {
  Random random(45);
  const std::string data = random_bytes(random, 65280);
  BGZF out(device_, "w");
  const auto fill = [&] {
    for (int i = 0; i < 1000; ++i) put(out, data);
  };
  EXPECT_KIND(fill(), FileWrite, device_);
  EXPECT_KIND(put(out, data), FileWrite, device_);  // and again, without an end
}

TEST_F(BgzfFullDevice, FailedCloseGivesMinusOne) {
  BGZF out(device_, "w");
  put(out, "hello");
  EXPECT_EQ(out.close(), -1);
  EXPECT_FALSE(out.is_open());
}

TEST_F(BgzfFullDevice, FailedMarkerAloneGivesMinusOne) {
  BGZF out(device_, "w");
  EXPECT_EQ(out.close(), -1);
}

TEST_F(BgzfFullDevice, DestructorIgnoresTheFailure) {
  EXPECT_NO_THROW({
    BGZF out(device_, "w");
    put(out, "hello");
  });
}

TEST_F(BgzfFullDevice, ReopeningIgnoresTheFailure) {
  const TempDir folder;
  BGZF out(device_, "w");
  put(out, "hello");
  out.open(folder.path("f"), "w");
  put(out, "world");
  EXPECT_EQ(out.close(), 0);
  EXPECT_EQ(decode_bgzf(folder.read("f")), "world");
}

// ---- Handing on -------------------------------------------------------------------------------

TEST_F(BgzfWrite, DestructorFinishesTheFile) {
  {
    BGZF out(folder_.path("f"), "w");
    put(out, "hello");
  }
  EXPECT_EQ(block_sizes("f"), (Sizes{5, 0}));
}

TEST_F(BgzfWrite, ReopeningFinishesTheFile) {
  BGZF out(folder_.path("a"), "w");
  put(out, "hello");
  out.open(folder_.path("b"), "w");
  EXPECT_EQ(block_sizes("a"), (Sizes{5, 0}));
  put(out, "world!");
  out.close();
  EXPECT_EQ(block_sizes("b"), (Sizes{6, 0}));
}

TEST_F(BgzfWrite, MoveConstructedWriterGoesOnAndItsSourceOwnsNothing) {
  BGZF first(folder_.path("f"), "w");
  put(first, "ab");
  BGZF second = std::move(first);
  EXPECT_FALSE(first.is_open());
  EXPECT_EQ(first.close(), -1);
  EXPECT_EQ(second.path().text(), folder_.text("f"));
  put(second, "cd");
  EXPECT_EQ(second.close(), 0);
  EXPECT_EQ(block_sizes("f"), (Sizes{4, 0}));
}

TEST_F(BgzfWrite, MoveAssignmentFinishesTheOldFileAndTakesTheNewOne) {
  BGZF first(folder_.path("a"), "w");
  put(first, "ab");
  BGZF second(folder_.path("b"), "w");
  put(second, "cde");
  second = std::move(first);
  EXPECT_EQ(decode_bgzf(folder_.read("b")), "cde");
  EXPECT_FALSE(first.is_open());  // exactly one object owns the file
  EXPECT_EQ(first.close(), -1);
  put(second, "f");
  EXPECT_EQ(second.close(), 0);
  EXPECT_EQ(block_sizes("a"), (Sizes{3, 0}));
  EXPECT_EQ(block_sizes("b"), (Sizes{3, 0}));
}

TEST_F(BgzfWrite, MovedReaderGoesOnInTheMiddleOfABlock) {
  folder_.write("f", BgzfFile().block("abc").block("def").marker().bytes());
  BGZF first(folder_.path("f"));
  EXPECT_EQ(take(first, 2), "ab");
  const std::uint64_t offset = first.tell();
  BGZF second = std::move(first);
  EXPECT_EQ(second.tell(), offset);
  EXPECT_EQ(take(second, 2), "cd");
  BGZF third;
  third = std::move(second);
  EXPECT_EQ(take(third, 100), "ef");
  EXPECT_EQ(third.read_block(), 1);  // the end-reached flag comes along
  EXPECT_EQ(third.close(), 0);
}

TEST_F(BgzfWrite, MovedFromStreamCanBeOpenedAgain) {
  folder_.write("f", BgzfFile().block("abc").marker().bytes());
  BGZF first(folder_.path("f"));
  BGZF second = std::move(first);
  first.open(folder_.path("f"), "r");
  EXPECT_EQ(take(first, 9), "abc");
  EXPECT_EQ(take(second, 9), "abc");
}

TEST_F(BgzfWrite, MoveAssignmentToItselfChangesNothing) {
  BGZF out(folder_.path("f"), "w");
  put(out, "ab");
  BGZF& same = out;
  out = std::move(same);
  EXPECT_TRUE(out.is_open());
  EXPECT_EQ(out.close(), 0);
  EXPECT_EQ(block_sizes("f"), (Sizes{2, 0}));
}

// ---- The fast flavour -------------------------------------------------------------------------

TEST_F(BgzfWrite, RealDataIsAtMostOnePercentLargerThanZlibsDefaultLevel) {
  SKIP_WITHOUT_TEST_DATA();
  std::size_t ours = 0;
  std::size_t zlibs = 0;
  for (const std::string& name : bam_files()) {
    const std::string data = gunzip_file(name).substr(0, 10 * 65280);
    BGZF out(folder_.path("f"), "w");
    put(out, data);
    ASSERT_EQ(out.close(), 0) << name;
    const std::string file = folder_.read("f");
    ASSERT_TRUE(decode_bgzf(file) == data) << name;
    ours += file.size();
    zlibs += BgzfFile().blocks(data, 65280).marker().size();
  }
  EXPECT_LE(static_cast<double>(ours), 1.01 * static_cast<double>(zlibs));
}

}  // namespace
}  // namespace readkit::core_bgzf_write_test
