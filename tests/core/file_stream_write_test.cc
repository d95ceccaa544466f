// File streams that write, and file streams that move while they are open.
#include <ios>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "core/file_stream.h"
#include "support/random_data.h"
#include "support/temp_dir.h"

namespace readkit::core_file_stream_write_test {
namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 18;

// ---- Writing -----------------------------------------------------------------------------------

TEST(FileStream, WritesOfAllSizesBringOutExactlyTheirBytes) {
  const TempDir folder;
  Random random(33);
  for (int round = 0; round < 6; ++round) {
    FileStream stream;
    stream.open(folder.path("f"), std::ios::out | std::ios::trunc | std::ios::binary);
    std::string expected;
    for (int step = 0; step < 40; ++step) {
      const std::size_t sizes[] = {
          0, 1, random() % 100, random() % 5000, random() % 50000, kBufferSize - 1 + random() % 3};
      const std::string piece =
          random_text(random, 64) + std::string(sizes[random() % std::size(sizes)], 'x');
      if (random() % 8 == 0) {
        stream.put('p');
        stream << 12345;
        expected += "p12345";
      }
      if (random() % 16 == 0) stream.flush();
      stream.write(piece.data(), static_cast<std::streamsize>(piece.size()));
      expected += piece;
      ASSERT_EQ(stream.tellp(), static_cast<std::streamoff>(expected.size()));
    }
    stream.close();
    ASSERT_TRUE(stream.good());
    ASSERT_TRUE(folder.read("f") == expected) << "in round " << round;
  }
}

TEST(FileStream, WritesThatFillTheBufferExactlyAreKept) {
  const TempDir folder;
  for (const std::size_t first : {kBufferSize - 2, kBufferSize - 1, kBufferSize}) {
    for (const std::size_t second : {std::size_t{1}, std::size_t{2}, kBufferSize}) {
      FileStream stream;
      stream.open(folder.path("f"), std::ios::out | std::ios::trunc);
      stream << std::string(first, 'a') << std::string(second, 'b');
      stream.close();
      EXPECT_TRUE(stream.good());
      EXPECT_TRUE(folder.read("f") == std::string(first, 'a') + std::string(second, 'b'))
          << first << " and " << second;
    }
  }
}

TEST(FileStream, WriteOfNothingChangesNothing) {
  const TempDir folder;
  FileStream stream;
  stream.open(folder.path("f"), std::ios::out);
  stream.write("", 0);
  stream << "";
  EXPECT_TRUE(stream.good());
  stream << "a";
  stream.write("", 0);
  stream.close();
  EXPECT_EQ(folder.read("f"), "a");
}

TEST(FileStream, DestructorBringsOutWhatWasWritten) {
  const TempDir folder;
  const std::string text(1000, 'x');
  {
    FileStream stream;
    stream.open(folder.path("f"), std::ios::out);
    stream << text;
  }
  EXPECT_EQ(folder.read("f"), text);
}

TEST(FileStream, OpenForReadingTakesNothing) {
  const TempDir folder;
  FileStream stream;
  stream.open(folder.write("f", "abc"), std::ios::in);
  stream.write("x", 1);
  EXPECT_TRUE(stream.bad());
  stream.close();
  EXPECT_EQ(folder.read("f"), "abc");
}

TEST(FileStream, OpenForBothReadsAndWritesInPlace) {
  const TempDir folder;
  FileStream stream;
  stream.open(folder.write("f", "one\ntwo\nthree\n"), std::ios::in | std::ios::out);
  std::string_view line;
  ASSERT_TRUE(stream.next_line(line));
  stream.seekp(4);
  stream << "TWO";
  stream.seekg(0);
  ASSERT_TRUE(stream.next_line(line));
  ASSERT_TRUE(stream.next_line(line));
  EXPECT_EQ(line, "TWO");
  stream.close();
  EXPECT_EQ(folder.read("f"), "one\nTWO\nthree\n");
}

TEST(FileStream, FullDeviceFailsAtTheLatestOnClose) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "this system has no /dev/full";
  FileStream small;
  small.open(Path(u"/dev/full"), std::ios::out);
  small << "abc";
  EXPECT_TRUE(small.good());
  small.close();
  EXPECT_TRUE(small.fail());
  FileStream large;
  large.open(Path(u"/dev/full"), std::ios::out);
  large << std::string(2 * kBufferSize, 'x');
  EXPECT_TRUE(large.bad());
}

TEST(FileStream, CloseOfAClosedStreamSetsTheFailBit) {
  const TempDir folder;
  FileStream stream;
  stream.open(folder.write("f", "abc"), std::ios::in);
  stream.close();
  EXPECT_TRUE(stream.good());
  EXPECT_FALSE(stream.is_open());
  stream.close();
  EXPECT_EQ(stream.rdstate(), std::ios::failbit);
}

// ---- Moving ------------------------------------------------------------------------------------

// Lines of more than two buffers.
std::vector<std::string> numbered_lines() {
  std::vector<std::string> lines;
  for (int i = 0; i < 60000; ++i) lines.push_back("line " + std::to_string(i));
  return lines;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + '\n';
  return text;
}

void expect_lines(FileStream& stream, const std::vector<std::string>& lines, std::size_t from,
                  std::size_t to) {
  std::string_view line;
  for (std::size_t i = from; i < to; ++i) {
    ASSERT_TRUE(stream.next_line(line)) << i;
    ASSERT_EQ(line, lines[i]);
  }
}

TEST(FileStreamMove, ReaderGoesOnWhereItWas) {
  const TempDir folder;
  const std::vector<std::string> lines = numbered_lines();
  FileStream first;
  first.open(folder.write("f", joined(lines)), std::ios::in);
  expect_lines(first, lines, 0, 7);
  FileStream second(std::move(first));
  expect_lines(second, lines, 7, 30000);
  FileStream third;
  third = std::move(second);
  expect_lines(third, lines, 30000, lines.size());
  std::string_view line;
  EXPECT_FALSE(third.next_line(line));
  EXPECT_TRUE(third.eof());
}

TEST(FileStreamMove, SourceIsClosedAndMayBeOpenedAnew) {
  const TempDir folder;
  FileStream first;
  first.open(folder.write("f", "one\ntwo\n"), std::ios::in);
  FileStream second(std::move(first));
  EXPECT_FALSE(first.is_open());
  std::string_view line;
  EXPECT_FALSE(first.next_line(line));
  first.open(folder.write("g", "three\n"), std::ios::in);
  EXPECT_TRUE(first.next_line(line));
  EXPECT_EQ(line, "three");
  EXPECT_TRUE(second.next_line(line));
  EXPECT_EQ(line, "one");
  first = std::move(second);
  EXPECT_FALSE(second.is_open());
  EXPECT_TRUE(first.next_line(line));
  EXPECT_EQ(line, "two");
}

TEST(FileStreamMove, StateMovesAlong) {
  const TempDir folder;
  FileStream first;
  first.open(folder.write("f", "one"), std::ios::in);
  std::string_view line;
  EXPECT_TRUE(first.next_line(line));
  FileStream second(std::move(first));
  EXPECT_EQ(second.rdstate(), std::ios::eofbit);
  FileStream third;
  third = std::move(second);
  EXPECT_EQ(third.rdstate(), std::ios::eofbit);
  EXPECT_FALSE(third.next_line(line));
  EXPECT_EQ(third.rdstate(), std::ios::eofbit | std::ios::failbit);
}

TEST(FileStreamMove, WriterLosesNoByte) {
  const TempDir folder;
  const std::string part(kBufferSize / 2 + 1, 'x');
  FileStream first;
  first.open(folder.path("f"), std::ios::out);
  first << "1" << part;
  FileStream second(std::move(first));
  second << "2" << part;
  FileStream third;
  third = std::move(second);
  third << "3" << part;
  third.close();
  EXPECT_TRUE(third.good());
  EXPECT_TRUE(folder.read("f") == "1" + part + "2" + part + "3" + part);
}

TEST(FileStreamMove, AssignmentClosesTheOldFile) {
  const TempDir folder;
  FileStream old;
  old.open(folder.path("old"), std::ios::out);
  old << "kept";
  FileStream next;
  next.open(folder.path("next"), std::ios::out);
  next << "new";
  old = std::move(next);
  EXPECT_EQ(folder.read("old"), "kept");
  EXPECT_FALSE(next.is_open());
  old.close();
  EXPECT_EQ(folder.read("next"), "new");
}

TEST(FileStreamMove, AssignmentToItselfChangesNothing) {
  const TempDir folder;
  FileStream stream;
  stream.open(folder.write("f", "one\ntwo\n"), std::ios::in);
  std::string_view line;
  EXPECT_TRUE(stream.next_line(line));
  FileStream& same = stream;
  stream = std::move(same);
  EXPECT_TRUE(stream.is_open());
  EXPECT_TRUE(stream.good());
  EXPECT_TRUE(stream.next_line(line));
  EXPECT_EQ(line, "two");
}

}  // namespace
}  // namespace readkit::core_file_stream_write_test
