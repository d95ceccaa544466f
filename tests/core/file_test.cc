#include "core/file.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/closes_on_exec.h"
#include "support/random_data.h"
#include "support/temp_dir.h"

namespace readkit::core_file_test {
namespace {

std::string take(File& file, std::size_t size) {
  std::string bytes(size, '\0');
  bytes.resize(file.read(bytes.data(), size));
  return bytes;
}

TEST(File, ClosedFileReadsNothingAndAcceptsNothing) {
  File file;
  EXPECT_FALSE(file.is_open());
  EXPECT_EQ(file.peek(1), nullptr);
  EXPECT_EQ(take(file, 5), "");
  EXPECT_FALSE(file.write("x", 1));
  EXPECT_FALSE(file.seek(0));
  EXPECT_FALSE(file.close());
  EXPECT_EQ(file.tell(), 0u);
}

TEST(File, FileThatCannotBeOpenedIsClosed) {
  const TempDir folder;
  EXPECT_FALSE(File(folder.path("missing"), "rb").is_open());
  EXPECT_FALSE(File(folder.path("missing/out"), "wb").is_open());
}

// They did: a program started by another thread amid a long call kept the disk space of temporary
// files, and a pipe open that its reader waited for.
TEST(File, ProgramsThatTheProcessStartsDoNotHoldFilesOpen) {
  const TempDir folder;
  const File in(folder.write("in", "abc"), "rb");
  const File out(folder.path("out"), "w");
  EXPECT_TRUE(closes_on_exec(folder.native("in")));
  EXPECT_TRUE(closes_on_exec(folder.native("out")));
}

// What waits to be written must not come out twice, as what the standard library keeps would.
TEST(File, AChildThatExitsBringsOutNothingOfItsParent) {
  const TempDir folder;
  File out(folder.path("out"), "wb");
  ASSERT_TRUE(out.write("abc", 3));
  const pid_t child = fork();
  if (child == 0) std::exit(0);
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(folder.read("out"), "");
  EXPECT_TRUE(out.close());
  EXPECT_EQ(folder.read("out"), "abc");
}

TEST(File, PeekShowsBytesWithoutTakingThem) {
  const TempDir folder;
  File file(folder.write("f", "abcdef"), "rb");
  const std::uint8_t* bytes = file.peek(4);
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(std::string(bytes, bytes + 4), "abcd");
  EXPECT_EQ(file.tell(), 0u);
  file.skip(2);
  EXPECT_EQ(file.tell(), 2u);
  EXPECT_EQ(take(file, 3), "cde");
}

TEST(File, PassTakesBytesFewOrManyAndNoneWhenFewerAreLeft) {
  const TempDir folder;
  Random random(9);
  const std::string bytes = random_bytes(random, 1 << 20);
  const Path path = folder.write("f", bytes);
  for (const std::size_t size : {0U, 1U, 3000U, 65535U, 65536U, 70000U, 500000U, 1048570U}) {
    File file(path, "rb");
    EXPECT_EQ(take(file, 3), bytes.substr(0, 3));
    EXPECT_TRUE(file.pass(size));
    EXPECT_EQ(file.tell(), size + 3);
    EXPECT_EQ(take(file, 3), bytes.substr(size + 3, 3));
    EXPECT_FALSE(file.pass(bytes.size() - size - 5));
    EXPECT_EQ(take(file, 1), "");
  }
  EXPECT_TRUE(File(path, "rb").pass(bytes.size()));
  EXPECT_FALSE(File(path, "rb").pass(std::uint64_t{1} << 35));
  EXPECT_FALSE(File(path, "rb").pass(std::uint64_t{1} << 62));
  EXPECT_FALSE(File().pass(1));
}

TEST(File, PassReadsWhereTheFileCannotBePositioned) {
  const TempDir folder;
  const std::string pipe = folder.native("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const std::string bytes = std::string(200000, 'a') + "b";
  std::thread writer([&] { folder.write("pipe", bytes); });
  File file(folder.path("pipe"), "rb");
  EXPECT_TRUE(file.pass(200000));
  EXPECT_EQ(take(file, 5), "b");
  writer.join();
}

TEST(File, OnlyFilesThatCanBeReadAgainAreRegular) {
  const TempDir folder;
  EXPECT_TRUE(is_regular_file(folder.write("f", "x")));
  EXPECT_FALSE(is_regular_file(folder.path("missing")));
  EXPECT_FALSE(is_regular_file(Path(u"/dev/null")));
  EXPECT_FALSE(is_regular_file(to_path(folder.folder())));
}

TEST(File, PeekBeyondTheEndShowsNothingAndTellsHowMuchIsLeft) {
  const TempDir folder;
  File file(folder.write("f", "abcdef"), "rb");
  EXPECT_EQ(take(file, 2), "ab");
  EXPECT_EQ(file.peek(5), nullptr);
  EXPECT_EQ(file.available(), 4u);
  EXPECT_EQ(take(file, 9), "cdef");
  EXPECT_EQ(file.peek(1), nullptr);
  EXPECT_EQ(file.available(), 0u);
  EXPECT_EQ(file.tell(), 6u);
}

TEST(File, PeekIsLimited) {
  const TempDir folder;
  File file(folder.write("f", std::string(2 * File::kMaxPeek, 'x')), "rb");
  EXPECT_NE(file.peek(File::kMaxPeek), nullptr);
  EXPECT_EQ(file.peek(File::kMaxPeek + 1), nullptr);
}

TEST(File, LargeFileIsReadInPiecesOfAnySize) {
  const TempDir folder;
  Random random(20);
  const std::string content = random_bytes(random, 3 << 20);
  File file(folder.write("f", content), "rb");
  std::string found;
  while (found.size() < content.size()) {
    const std::size_t size = random() % 100000 + 1;
    if (random() % 2 == 0 && size <= content.size() - found.size()) {
      const std::uint8_t* bytes = file.peek(size);
      ASSERT_NE(bytes, nullptr);
      found.append(bytes, bytes + size);
      file.skip(size);
    } else {
      found += take(file, size);
    }
    ASSERT_EQ(file.tell(), found.size());
  }
  EXPECT_TRUE(found == content);
}

TEST(File, SeekPositionsTheNextReadAnywhere) {
  const TempDir folder;
  Random random(21);
  const std::string content = random_bytes(random, 2 << 20);
  File file(folder.write("f", content), "rb");
  for (int i = 0; i < 300; ++i) {
    const std::size_t offset = random() % (content.size() + 1);
    ASSERT_TRUE(file.seek(offset));
    ASSERT_EQ(file.tell(), offset);
    const std::size_t size = random() % 3000;
    ASSERT_TRUE(take(file, size) == content.substr(offset, size)) << offset;
  }
}

TEST(File, SeekBeyondTheEndReadsNothing) {
  const TempDir folder;
  File file(folder.write("f", "abc"), "rb");
  EXPECT_TRUE(file.seek(1000));
  EXPECT_EQ(take(file, 1), "");
  EXPECT_TRUE(file.seek(1));
  EXPECT_EQ(take(file, 5), "bc");
}

TEST(File, OffsetBeyondTheSystemsRangeCannotBeSeekedTo) {
  const TempDir folder;
  File file(folder.write("f", "abc"), "rb");
  EXPECT_FALSE(file.seek(~std::uint64_t{0}));
  EXPECT_EQ(take(file, 3), "abc");
}

TEST(File, WhatIsWrittenIsInTheFileAfterClose) {
  const TempDir folder;
  File file(folder.path("f"), "wb");
  EXPECT_TRUE(file.write("abc", 3));
  EXPECT_TRUE(file.write("", 0));
  EXPECT_TRUE(file.write("de", 2));
  EXPECT_EQ(file.tell(), 5u);
  EXPECT_TRUE(file.close());
  EXPECT_FALSE(file.is_open());
  EXPECT_EQ(folder.read("f"), "abcde");
  EXPECT_FALSE(file.close());
}

TEST(File, AppendKeepsWhatWasThere) {
  const TempDir folder;
  File file(folder.write("f", "abc"), "ab");
  EXPECT_TRUE(file.write("de", 2));
  EXPECT_TRUE(file.close());
  EXPECT_EQ(folder.read("f"), "abcde");
}

TEST(File, FullDeviceFailsAtTheLatestOnClose) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "this system has no /dev/full";
  File file(Path(u"/dev/full"), "wb");
  ASSERT_TRUE(file.is_open());
  file.write("abc", 3);
  EXPECT_FALSE(file.close());
}

TEST(File, FileThatHasFailedAcceptsNothingMore) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "this system has no /dev/full";
  File file(Path(u"/dev/full"), "wb");
  EXPECT_TRUE(file.write("abc", 3));
  EXPECT_FALSE(file.flush());
  EXPECT_FALSE(file.write("x", 1));
  EXPECT_FALSE(file.close());
}

TEST(File, FlushBringsOutWhatWasWritten) {
  const TempDir folder;
  File file(folder.path("f"), "wb");
  EXPECT_TRUE(file.write("abc", 3));
  EXPECT_EQ(folder.read("f"), "");
  EXPECT_TRUE(file.flush());
  EXPECT_EQ(folder.read("f"), "abc");
  EXPECT_TRUE(file.close());
  EXPECT_FALSE(file.flush());
}

TEST(File, WriterThatWasMovedFromAcceptsNothing) {
  const TempDir folder;
  File file(folder.path("f"), "wb");
  EXPECT_TRUE(file.write("abc", 3));
  File other = std::move(file);
  EXPECT_FALSE(file.write("x", 1));
  EXPECT_FALSE(file.flush());
  EXPECT_FALSE(file.close());
  EXPECT_TRUE(other.write("de", 2));
  EXPECT_TRUE(other.close());
  EXPECT_EQ(folder.read("f"), "abcde");
}

TEST(File, MovedWriterBringsOutWhatWasWritten) {
  const TempDir folder;
  {
    File file(folder.path("f"), "wb");
    EXPECT_TRUE(file.write("abc", 3));
    File other(folder.path("g"), "wb");
    EXPECT_TRUE(other.write("xyz", 3));
    file = std::move(other);
    EXPECT_EQ(folder.read("f"), "abc");
    EXPECT_TRUE(file.write("de", 2));
  }
  EXPECT_EQ(folder.read("g"), "xyzde");
}

TEST(File, FileOpenForReadingAcceptsNothing) {
  const TempDir folder;
  File file(folder.write("f", "abc"), "rb");
  EXPECT_FALSE(file.write("x", 1));
  file.close();
  EXPECT_EQ(folder.read("f"), "abc");
}

TEST(File, FolderOpensAndReadsNothing) {
  const TempDir folder;
  File file(to_path(folder.folder()), "rb");
  EXPECT_EQ(take(file, 1), "");
}

TEST(File, MovedFileGoesOnWhereItWas) {
  const TempDir folder;
  File first(folder.write("f", "abcdef"), "rb");
  EXPECT_EQ(take(first, 2), "ab");
  File second = std::move(first);
  EXPECT_FALSE(first.is_open());
  EXPECT_EQ(second.tell(), 2u);
  EXPECT_EQ(take(second, 9), "cdef");
  first = std::move(second);
  EXPECT_TRUE(first.seek(1));
  EXPECT_EQ(take(first, 2), "bc");
}

TEST(File, PipeIsReadButCannotBePositioned) {
  const TempDir folder;
  const std::string name = folder.native("pipe");
  ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
  const int writer = open(name.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(writer, 0);
  ASSERT_EQ(write(writer, "abcdef", 6), 6);
  File file(folder.path("pipe"), "rb");
  close(writer);
  EXPECT_EQ(take(file, 3), "abc");
  EXPECT_TRUE(file.seek(1));  // still in memory
  EXPECT_EQ(take(file, 2), "bc");
  EXPECT_FALSE(file.seek(100));
}

// ---- Names -------------------------------------------------------------------------------------

TEST(RemoveFile, RemovesAFileOnce) {
  const TempDir folder;
  const Path path = folder.write("f", "abc");
  EXPECT_TRUE(remove_file(path));
  EXPECT_FALSE(folder.exists("f"));
  EXPECT_FALSE(remove_file(path));
}

TEST(RemoveFile, TellsOfWhatCannotBeRemoved) {
  const TempDir folder;
  std::filesystem::create_directory(folder.native("sub"));
  folder.write("sub/f", "abc");
  EXPECT_FALSE(remove_file(folder.path("sub")));
  EXPECT_FALSE(remove_file(folder.path("missing/f")));
  EXPECT_FALSE(remove_file(Path()));
  EXPECT_EQ(folder.read("sub/f"), "abc");
}

TEST(RemoveFile, RemovesALinkAndNotWhatItLeadsTo) {
  const TempDir folder;
  folder.write("f", "abc");
  std::filesystem::create_symlink(folder.native("f"), folder.native("link"));
  EXPECT_TRUE(remove_file(folder.path("link")));
  EXPECT_EQ(folder.read("f"), "abc");
}

TEST(IsSameFile, NamesAndLinksOfOneFile) {
  const TempDir folder;
  const Path path = folder.write("f", "abc");
  std::filesystem::create_directory(folder.native("sub"));
  std::filesystem::create_hard_link(folder.native("f"), folder.native("hard"));
  std::filesystem::create_symlink(folder.native("f"), folder.native("soft"));
  for (const char* name : {"f", "./f", "sub/../f", "hard", "soft"}) {
    EXPECT_TRUE(is_same_file(path, folder.path(name))) << name;
    EXPECT_TRUE(is_same_file(folder.path(name), path)) << name;
  }
}

TEST(IsSameFile, OtherFilesAreNotTheSameWhateverTheyHold) {
  const TempDir folder;
  const Path path = folder.write("f", "abc");
  EXPECT_FALSE(is_same_file(path, folder.write("g", "abc")));
  EXPECT_FALSE(is_same_file(path, to_path(folder.folder())));
}

TEST(IsSameFile, FileThatDoesNotExistIsTheSameAsNone) {
  const TempDir folder;
  const Path path = folder.write("f", "abc");
  EXPECT_FALSE(is_same_file(path, folder.path("missing")));
  EXPECT_FALSE(is_same_file(folder.path("missing"), path));
  EXPECT_FALSE(is_same_file(folder.path("missing"), folder.path("missing")));
  EXPECT_FALSE(is_same_file(Path(), Path()));
  std::filesystem::create_symlink(folder.native("missing"), folder.native("dangling"));
  EXPECT_FALSE(is_same_file(path, folder.path("dangling")));
}

}  // namespace
}  // namespace readkit::core_file_test
