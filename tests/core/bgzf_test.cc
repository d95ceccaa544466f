// Reading blocks and bytes. Writing and positioning have files of their own.
#include "core/bgzf.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "support/bgzf_builder.h"
#include "support/bgzf_words.h"
#include "support/expect_kind.h"
#include "support/random_data.h"
#include "support/reference_decoder.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::core_bgzf_test {
namespace {

class Bgzf : public testing::Test {
 protected:
  Path file(const BgzfFile& file) { return folder_.write("f", file.bytes()); }
  Path file(const std::string& bytes) { return folder_.write("f", bytes); }

  TempDir folder_;
};

// ---- Opening ----------------------------------------------------------------------------------

TEST_F(Bgzf, FileThatCannotBeOpenedRaisesFileNotFound) {
  EXPECT_KIND(BGZF(folder_.path("missing")), FileNotFound, folder_.path("missing"));
  EXPECT_KIND(BGZF(folder_.path("missing/out"), "w"), FileNotFound, folder_.path("missing/out"));
  EXPECT_KIND(BGZF{Path()}, FileNotFound, u"");
  EXPECT_KIND(BGZF{Path(UString{u'a', 0xD800})}, FileNotFound, UString{u'a', 0xD800});
}

TEST_F(Bgzf, DefaultConstructedStreamIsClosed) {
  BGZF stream;
  char byte = 0;
  EXPECT_FALSE(stream.is_open());
  EXPECT_EQ(stream.tell(), 0u);
  EXPECT_EQ(stream.close(), -1);
  EXPECT_EQ(stream.flush(), 0);
  EXPECT_KIND(stream.read(&byte, 1, 1), InvalidBAMFormat, u"");
  EXPECT_KIND(stream.write("x", 1, 1), BAMReadOnly, u"");
}

TEST_F(Bgzf, FolderOpensButHasNoBlock) {
  BGZF in(to_path(folder_.folder()));
  EXPECT_KIND(in.read_block(), InvalidBAMFormat, to_path(folder_.folder()));
}

TEST_F(Bgzf, OpenFileIsReplacedByTheNextOne) {
  folder_.write("a", BgzfFile().block("first").marker().bytes());
  folder_.write("b", BgzfFile().block("second").marker().bytes());
  BGZF in(folder_.path("a"));
  EXPECT_EQ(take(in, 2), "fi");
  in.open(folder_.path("b"), "r");
  EXPECT_EQ(in.path().text(), folder_.text("b"));
  EXPECT_EQ(in.tell(), 0u);
  EXPECT_EQ(take(in, 100), "second");
}

// ---- The clean end, and others ----------------------------------------------------------------

TEST_F(Bgzf, FileOfOnlyTheMarkerHasNoBytesAndThenTheCleanEnd) {
  BGZF in(file(BgzfFile().marker()));
  EXPECT_EQ(take(in, 1), "");
  EXPECT_EQ(in.read_block(), 1);
  EXPECT_EQ(in.read_block(), 1);
  EXPECT_EQ(take(in, 1), "");
}

TEST_F(Bgzf, FileThatEndsWithoutMarkerRaisesInvalidBAMFormat) {
  const Path path = file(BgzfFile().block("hello"));
  BGZF in(path);
  EXPECT_EQ(take(in, 5), "hello");
  EXPECT_KIND(take(in, 1), InvalidBAMFormat, path);
}

TEST_F(Bgzf, EmptyFileRaisesInvalidBAMFormat) {
  const Path path = file("");
  BGZF in(path);
  EXPECT_KIND(in.read_block(), InvalidBAMFormat, path);
}

TEST_F(Bgzf, EmptyBlockInTheMiddleIsSkipped) {
  BGZF in(file(BgzfFile().block("ab").block("").block("").block("cd").marker()));
  EXPECT_EQ(take(in, 100), "abcd");
}

TEST_F(Bgzf, JoinedFilesAreReadOnAndMayThenEndWithoutAMarker) {
  BGZF in(file(BgzfFile().block("ab").marker().block("cd")));
  EXPECT_EQ(take(in, 4), "abcd");
  EXPECT_EQ(take(in, 1), "");
  EXPECT_EQ(in.read_block(), 1);
}

TEST_F(Bgzf, EndReachedStaysSetAfterSeeking) {
  BGZF in(file(BgzfFile().marker().block("ab")));
  EXPECT_EQ(take(in, 100), "ab");
  in.seek(virtual_offset(28, 0));
  EXPECT_EQ(take(in, 100), "ab");
  EXPECT_EQ(in.read_block(), 1);
}

TEST_F(Bgzf, EndReachedDoesNotExcuseAPartOfAHeader) {
  const Path path = file(BgzfFile().marker().block("ab").raw("\x1f\x8b"));
  BGZF in(path);
  EXPECT_EQ(take(in, 2), "ab");
  EXPECT_KIND(in.read_block(), InvalidBAMFormat, path);
}

TEST_F(Bgzf, EveryPrefixOfAFileGivesItsDataAndThenTheDocumentedError) {
  const BgzfFile whole = BgzfFile().block("hello ").block("world").marker();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    SCOPED_TRACE(size);
    const Path path = file(whole.bytes().substr(0, size));
    const bool has_first = size >= whole.offset(1);
    const bool has_second = size >= whole.offset(2);
    const std::size_t begin = has_second ? whole.offset(2) : has_first ? whole.offset(1) : 0;
    BGZF in(path);
    std::string data;
    const auto read_on = [&] {
      for (std::string byte = take(in, 1); !byte.empty(); byte = take(in, 1)) data += byte;
    };
    if (size - begin < 18) {
      EXPECT_KIND(read_on(), InvalidBAMFormat, path);
    } else {
      EXPECT_KIND(read_on(), BAMRead, path);
    }
    EXPECT_EQ(data, has_second ? "hello world" : has_first ? "hello " : "");
  }
}

TEST_F(Bgzf, FileCutInsideABlockRaisesBAMRead) {
  const Path path = file(BgzfBlock("hello").bytes().substr(0, 30));
  BGZF in(path);
  EXPECT_KIND(in.read_block(), BAMRead, path);
}

TEST_F(Bgzf, StreamStaysOpenAfterAnError) {
  BGZF in(file(BgzfFile().block("ab").raw("no block at all, nothing of it")));
  EXPECT_EQ(take(in, 2), "ab");
  EXPECT_THROW(take(in, 1), InvalidBAMFormat);
  EXPECT_TRUE(in.is_open());
  in.seek(0);
  EXPECT_EQ(take(in, 2), "ab");
  EXPECT_EQ(in.close(), 0);
}

// ---- Block headers ----------------------------------------------------------------------------

TEST_F(Bgzf, HeaderChecks) {
  const struct {
    std::size_t offset;
    unsigned value;
    bool valid;
  } rows[] = {
      {0, 0x1e, false}, {1, 0x8a, false}, {2, 7, false},    {2, 9, false},
      {3, 0x00, false},  // FEXTRA must be set, other flags do not matter
      {3, 0xfb, false}, {3, 0x05, true},  {3, 0xff, true},  {4, 1, true},  // MTIME, XFL, OS
      {7, 0xff, true},  {8, 2, true},     {9, 3, true},     {10, 5, false},
      {10, 7, false},   {11, 1, false},   {12, 'b', false}, {13, 'c', false},
      {14, 3, false},   {15, 1, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "byte " << row.offset << " set to " << row.value);
    const BgzfBlock block = BgzfBlock("hello").set_byte(row.offset, row.value);
    EXPECT_EQ(valid_bgzf_header(reinterpret_cast<const std::uint8_t*>(block.bytes().data())),
              row.valid);
    const Path path = file(BgzfFile().block(block).marker());
    BGZF in(path);
    if (row.valid) {
      EXPECT_EQ(take(in, 100), "hello");
    } else {
      EXPECT_KIND(in.read_block(), InvalidBAMFormat, path);
    }
  }
}

TEST_F(Bgzf, HeaderCheckDoesNotLookAtBsize) {
  const BgzfBlock block = BgzfBlock("hello").set_bsize(0);
  EXPECT_TRUE(valid_bgzf_header(reinterpret_cast<const std::uint8_t*>(block.bytes().data())));
}

TEST_F(Bgzf, BsizeUpTo16RaisesInvalidBAMFormat) {
  for (std::uint16_t bsize = 0; bsize <= 16; ++bsize) {
    const Path path = file(BgzfFile().block(BgzfBlock("hello").set_bsize(bsize)).marker());
    BGZF in(path);
    EXPECT_KIND(in.read_block(), InvalidBAMFormat, path);
  }
}

TEST_F(Bgzf, Bsize17LeavesNothingToInflate) {
  const Path path = file(BgzfFile().block(BgzfBlock("hello").set_bsize(17)).marker());
  BGZF in(path);
  EXPECT_KIND(in.read_block(), ZLIBInflate, path);
}

// The whole rest of such a block is the inflate input; zlib's verdict on it holds.
TEST_F(Bgzf, BsizeWithoutRoomForTheTrailerIsJudgedByZlib) {
  const std::string streams[] = {
      std::string("\x03\x00", 2),                  // empty
      std::string("\x03\x00\xff\xff\xff\xff", 6),  // empty, and more
      std::string("\x01\x00\x00\xff\xff", 5),      // stored, empty
      std::string("\x01\x02\x00\xfd\xff"
                  "ab",
                  7),  // stored
      std::string("\x01\x03\x00\xfc\xff"
                  "abc",
                  8),
      std::string("\x01\x04\x00\xfb\xff"
                  "abc",
                  8),  // stored, a byte short
      raw_deflate("a"),
      std::string("\x06"),  // an invalid block type
      std::string("\xff\xff\xff\xff\xff\xff\xff\xff"),
  };
  for (const std::string& stream : streams) {
    ASSERT_LE(stream.size(), 8u);
    BgzfBlock block = BgzfBlock::around(stream);
    block.set_bsize(static_cast<std::uint16_t>(17 + stream.size()));
    const std::string bytes = block.bytes().substr(0, 18 + stream.size());
    const Path path = file(BgzfFile().raw(bytes).marker());
    const ZlibVerdict verdict = zlib_inflate(stream, 0x10000);
    BGZF in(path);
    if (verdict.ends) {
      EXPECT_EQ(take(in, 100), verdict.data);
    } else {
      EXPECT_KIND(in.read_block(), ZLIBInflate, path);
    }
  }
}

TEST_F(Bgzf, EmptyBlockOfAnyShapeSetsTheEndReachedFlag) {
  BgzfBlock block = BgzfBlock::around(std::string("\x01\x00\x00\xff\xff", 5));
  BGZF in(file(BgzfFile().block("ab").block(block)));
  EXPECT_EQ(take(in, 100), "ab");
  EXPECT_EQ(in.read_block(), 1);
}

// ---- Inflating --------------------------------------------------------------------------------

TEST_F(Bgzf, CorruptChecksumAndLengthAreNotNoticed) {
  BGZF in(file(BgzfFile()
                   .block(BgzfBlock("hello ").set_crc(0))
                   .block(BgzfBlock("world").set_isize(99))
                   .marker()));
  EXPECT_EQ(take(in, 100), "hello world");
}

TEST_F(Bgzf, CorruptChecksumAndLengthRaiseZLIBInflateWhenReadingIsStrict) {
  const Path sound = file(BgzfFile().block("hello ").block("world").marker());
  const Path wrong_crc =
      folder_.write("crc", BgzfFile().block("hello ").block(BgzfBlock("world").set_crc(0)).bytes());
  const Path wrong_size =
      folder_.write("size", BgzfFile().block(BgzfBlock("hello ").set_isize(5)).bytes());
  {
    const StrictReading strict;
    { const StrictReading again; }
    BGZF in(sound);
    EXPECT_EQ(take(in, 100), "hello world");
    BGZF damaged(wrong_crc);
    EXPECT_EQ(take(damaged, 6), "hello ");
    EXPECT_KIND(damaged.read_block(), ZLIBInflate, wrong_crc.text());
    EXPECT_KIND(BGZF(wrong_size).read_block(), ZLIBInflate, wrong_size.text());
  }
  EXPECT_EQ(BGZF(wrong_size).read_block(), 0);
}

TEST_F(Bgzf, TrailerBytesBelongToTheInflateInput) {
  // The stream reaches to the block's last byte, where CRC32 and ISIZE would stand.
  const std::string stream = raw_deflate("some data that takes a while");
  BgzfBlock block = BgzfBlock::around(stream.substr(0, stream.size() - 8));
  BGZF in(
      file(BgzfFile()
               .raw(block.bytes().substr(0, block.size() - 8) + stream.substr(stream.size() - 8))
               .marker()));
  EXPECT_EQ(take(in, 100), "some data that takes a while");
}

TEST_F(Bgzf, BytesBetweenStreamAndTrailerAreIgnored) {
  BGZF in(file(BgzfFile().block(BgzfBlock::around(raw_deflate("ab") + "junk", "ab")).marker()));
  EXPECT_EQ(take(in, 100), "ab");
}

TEST_F(Bgzf, BlockOf65536BytesIsReadAndOneOfMoreRaisesZLIBInflate) {
  const std::string most(0x10000, 'x');
  BGZF in(file(BgzfFile().block(most).marker()));
  EXPECT_TRUE(take(in, 0x20000) == most);

  const Path path = file(BgzfFile().block(most + "x").marker());
  BGZF too_much(path);
  EXPECT_KIND(too_much.read_block(), ZLIBInflate, path);
}

TEST_F(Bgzf, LargestBsizeIsRead) {
  Random random(30);
  const std::string stored = raw_deflate(random_bytes(random, 65000), 0);
  const std::string data = zlib_inflate(stored, 0x10000).data;
  const std::string filler(0x10000 - 26 - stored.size(), '\0');
  const BgzfBlock block = BgzfBlock::around(stored + filler, data);
  ASSERT_EQ(block.size(), 0x10000u);
  BGZF in(file(BgzfFile().block(block).block("end").marker()));
  EXPECT_TRUE(take(in, 0x20000) == data + "end");
}

TEST_F(Bgzf, DamagedStreamRaisesZLIBInflate) {
  const Path path = file(BgzfFile().block(BgzfBlock("hello").set_byte(18, 0x07)).marker());
  BGZF in(path);
  EXPECT_KIND(in.read_block(), ZLIBInflate, path);
}

TEST_F(Bgzf, DamagedBlockGivesZlibsDataOrZLIBInflate) {
  Random random(31);
  for (int i = 0; i < 500; ++i) {
    std::string stream = raw_deflate(random_text(random, random() % 500 + 1));
    stream[random() % stream.size()] = static_cast<char>(random() & 0xff);
    const BgzfBlock block = BgzfBlock::around(stream);
    const Path path = file(BgzfFile().block(block).marker());
    const ZlibVerdict verdict = zlib_inflate(block.bytes().substr(18), 0x10000);
    BGZF in(path);
    if (verdict.ends) {
      ASSERT_TRUE(take(in, 0x10000) == verdict.data) << i;
    } else {
      EXPECT_KIND(in.read_block(), ZLIBInflate, path);
    }
  }
}

// ---- Reading bytes ----------------------------------------------------------------------------

TEST_F(Bgzf, ReadCountsBytesInElementsOfASize) {
  BGZF in(file(BgzfFile().block("abc").block("defgh").marker()));
  char bytes[16] = {};
  EXPECT_EQ(in.read(bytes, 4, 1), 4u);
  EXPECT_EQ(std::string(bytes, 4), "abcd");
  EXPECT_EQ(in.read(bytes, 2, 2), 4u);
  EXPECT_EQ(std::string(bytes, 4), "efgh");
  EXPECT_EQ(in.read(bytes, 4, 1), 0u);
}

TEST_F(Bgzf, ReadIsShortOnlyAtTheEnd) {
  BGZF in(file(BgzfFile().block("abc").block("de").marker()));
  char bytes[16] = {};
  EXPECT_EQ(in.read(bytes, 4, 4), 5u);
  EXPECT_EQ(std::string(bytes, 5), "abcde");
}

TEST_F(Bgzf, ReadOfNothingLoadsNothing) {
  BGZF in(file("no block"));
  char byte = 0;
  EXPECT_EQ(in.read(&byte, 0, 5), 0u);
  EXPECT_EQ(in.read(&byte, 5, 0), 0u);
  EXPECT_EQ(in.checked_read(&byte, 1, 0), 0u);
}

TEST_F(Bgzf, CheckedReadRaisesBAMReadWhenBytesAreMissing) {
  const Path path = file(BgzfFile().block("abc").marker());
  BGZF in(path);
  char bytes[8] = {};
  EXPECT_EQ(in.checked_read(bytes, 1, 2), 2u);
  EXPECT_KIND(in.checked_read(bytes, 1, 2), BAMRead, path);
  EXPECT_KIND(in.checked_read(bytes, 1, 1), BAMRead, path);
}

TEST_F(Bgzf, UncompressedPositionCountsTheBlocksBefore) {
  BGZF in(file(BgzfFile().block("abc").block("").block("defgh").block("i").marker()));
  EXPECT_EQ(in.uncompressed_position(), 0u);
  take(in, 1);
  EXPECT_EQ(in.uncompressed_position(), 0u);
  take(in, 3);
  EXPECT_EQ(in.uncompressed_position(), 3u);
  take(in, 5);
  EXPECT_EQ(in.uncompressed_position(), 8u);
}

TEST_F(Bgzf, PeekInBlockShowsOnlyWhatTheBlockHolds) {
  BGZF in(file(BgzfFile().block("abc").block("de").marker()));
  EXPECT_EQ(in.peek_in_block(1), nullptr);
  take(in, 1);
  const std::uint8_t* bytes = in.peek_in_block(2);
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(std::string(bytes, bytes + 2), "bc");
  EXPECT_EQ(in.peek_in_block(3), nullptr);
  in.skip_in_block(1);
  EXPECT_EQ(in.peek_in_block(2), nullptr);
  EXPECT_EQ(take(in, 3), "cde");
  in.seek(virtual_offset(BgzfBlock("abc").size(), 9));
  EXPECT_EQ(in.peek_in_block(1), nullptr);  // beyond the block
}

TEST_F(Bgzf, EveryRealFileInflatesToWhatZlibGives) {
  SKIP_WITHOUT_TEST_DATA();
  Random random(32);
  for (const std::string& name : bam_files()) {
    const std::string expected = gunzip_file(name);
    BGZF in(to_path(name));
    std::string data(expected.size(), '\0');
    std::size_t done = 0;
    while (done < data.size()) {
      const std::size_t wanted = std::min<std::size_t>(random() % 200000 + 1, data.size() - done);
      ASSERT_EQ(in.read(data.data() + done, 1, wanted), wanted) << name;
      done += wanted;
    }
    EXPECT_TRUE(data == expected) << name;
  }
}

}  // namespace
}  // namespace readkit::core_bgzf_test
