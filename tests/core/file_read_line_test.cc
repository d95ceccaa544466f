// Lines of a file, read into a room of the caller's.
#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/file.h"
#include "support/random_data.h"
#include "support/temp_dir.h"

namespace readkit::core_file_read_line_test {
namespace {

using Lines = std::vector<std::string>;

constexpr std::size_t kFirstWindow = std::size_t{1} << 16;

// One line; expects the NUL behind it, nothing behind the room touched, and the line told truly.
std::string line_of(File& file, std::size_t room) {
  constexpr char kUntouched = '\x7e';
  std::string to(room + 1, kUntouched);
  const LineCopy line = file.read_line(to.data(), room);
  const std::size_t size = line.length;
  EXPECT_LT(size, room);
  if (size >= room) return "(too long)";
  EXPECT_EQ(to[size], '\0');
  EXPECT_EQ(to[room], kUntouched);
  to.resize(size);
  EXPECT_EQ(line.ended, to.ends_with('\n'));
  EXPECT_EQ(line.has_nul, to.find('\0') != std::string::npos);
  return to;
}

// All lines up to the first of no characters.
Lines lines_of(File& file, std::size_t room) {
  Lines lines;
  for (std::string line = line_of(file, room); !line.empty(); line = line_of(file, room)) {
    lines.push_back(line);
  }
  return lines;
}

class FileLines : public testing::Test {
 protected:
  File open(const std::string& bytes) { return {folder_.write("f", bytes), "r"}; }

  TempDir folder_;
};

TEST_F(FileLines, LineIsReadWithItsNewline) {
  File file = open("ab\n\ncd\r\n");
  EXPECT_EQ(lines_of(file, 100), (Lines{"ab\n", "\n", "cd\r\n"}));
}

TEST_F(FileLines, LastLineNeedsNoNewline) {
  File file = open("ab\ncd");
  EXPECT_EQ(lines_of(file, 100), (Lines{"ab\n", "cd"}));
}

TEST_F(FileLines, EmptyFileHasNoLine) {
  File file = open("");
  EXPECT_EQ(line_of(file, 100), "");
  EXPECT_FALSE(file.read_failed());
}

TEST_F(FileLines, EndStaysTheEnd) {
  File file = open("a");
  EXPECT_EQ(line_of(file, 100), "a");
  for (int i = 0; i < 3; ++i) EXPECT_EQ(line_of(file, 100), "");
  EXPECT_EQ(file.tell(), 1U);
}

TEST_F(FileLines, RoomOfOneTakesNothing) {
  File file = open("ab\n");
  for (int i = 0; i < 3; ++i) EXPECT_EQ(line_of(file, 1), "");
  EXPECT_EQ(file.tell(), 0U);
  EXPECT_EQ(line_of(file, 100), "ab\n");
}

TEST_F(FileLines, RoomOfTwoTakesOneCharacter) {
  File file = open("ab\n\nc");
  EXPECT_EQ(lines_of(file, 2), (Lines{"a", "b", "\n", "\n", "c"}));
}

TEST_F(FileLines, LineThatFillsTheRoomGoesOnInTheNext) {
  File file = open("abcdef\ngh\n");
  EXPECT_EQ(lines_of(file, 4), (Lines{"abc", "def", "\n", "gh\n"}));
  EXPECT_TRUE(file.seek(0));
  EXPECT_EQ(lines_of(file, 8), (Lines{"abcdef\n", "gh\n"}));
}

TEST_F(FileLines, NulIsACharacterOfTheLine) {
  const std::string first("a\0b\n", 4);
  const std::string second("\0\0\n", 3);
  const std::string last("\0", 1);
  File file = open(first + second + last);
  EXPECT_EQ(lines_of(file, 100), (Lines{first, second, last}));
}

TEST_F(FileLines, LineMayLieAcrossTheEndOfTheWindow) {
  for (std::size_t before = 0; before <= 10; ++before) {
    const std::string filler = std::string(kFirstWindow - before - 1, 'x') + '\n';
    File file = open(filler + "abcdefgh\nij\n");
    ASSERT_TRUE(line_of(file, kFirstWindow + 100) == filler) << before;
    ASSERT_EQ(lines_of(file, 100), (Lines{"abcdefgh\n", "ij\n"})) << before;
  }
}

TEST_F(FileLines, LineMayBeLongerThanTheWindow) {
  const std::string line = std::string(3 << 20, 'x') + '\n';
  File file = open(line + "end");
  EXPECT_TRUE(line_of(file, line.size() + 100) == line);
  EXPECT_EQ(line_of(file, 100), "end");
}

TEST_F(FileLines, LinesOfAnySizeInRoomsOfAnySize) {
  Random random(31);
  std::string content;
  while (content.size() < (std::size_t{1} << 20)) {
    const std::size_t size = random() % (random() % 10 == 0 ? 100000 : 200);
    content += random_text(random, size, std::string("AC\0\r", 4));
    if (random() % 8 != 0) content += '\n';
  }
  File file = open(content);
  std::size_t at = 0;
  while (at < content.size()) {
    const std::size_t room = random() % (random() % 4 == 0 ? 200000 : 300) + 2;
    const std::size_t newline = std::min(content.find('\n', at), content.size() - 1);
    const std::string expected = content.substr(at, std::min(newline - at + 1, room - 1));
    ASSERT_TRUE(line_of(file, room) == expected) << at;
    at += expected.size();
    ASSERT_EQ(file.tell(), at);
  }
  EXPECT_EQ(line_of(file, 100), "");
}

TEST_F(FileLines, LinesAndBytesAreReadInTurns) {
  File file = open("ab\ncdef\ngh\n");
  EXPECT_EQ(line_of(file, 100), "ab\n");
  std::string bytes(2, '\0');
  EXPECT_EQ(file.read(bytes.data(), 2), 2U);
  EXPECT_EQ(bytes, "cd");
  EXPECT_EQ(line_of(file, 100), "ef\n");
  ASSERT_NE(file.peek(1), nullptr);
  file.skip(1);
  EXPECT_EQ(line_of(file, 100), "h\n");
  EXPECT_TRUE(file.seek(1));
  EXPECT_EQ(line_of(file, 100), "b\n");
}

TEST_F(FileLines, FolderHasNoLineAndTellsThatReadingFailed) {
  File file(to_path(folder_.folder()), "r");
  ASSERT_TRUE(file.is_open());
  EXPECT_FALSE(file.read_failed());
  EXPECT_EQ(line_of(file, 100), "");
  EXPECT_TRUE(file.read_failed());
}

TEST_F(FileLines, SoundFileNeverTellsThatReadingFailed) {
  File file = open("ab\n");
  EXPECT_FALSE(file.read_failed());
  EXPECT_EQ(lines_of(file, 100), (Lines{"ab\n"}));
  EXPECT_FALSE(file.read_failed());
}

TEST_F(FileLines, ClosedFileHasNoLineAndHasNotFailed) {
  File none;
  EXPECT_EQ(line_of(none, 100), "");
  EXPECT_FALSE(none.read_failed());
  File file = open("ab\n");
  EXPECT_TRUE(file.close());
  EXPECT_EQ(line_of(file, 100), "");
  EXPECT_FALSE(file.read_failed());
}

TEST_F(FileLines, FileOpenForWritingHasNoLine) {
  File file(folder_.path("out"), "wb");
  EXPECT_EQ(line_of(file, 100), "");
}

}  // namespace
}  // namespace readkit::core_file_read_line_test
