#include "quality/fastq_lines.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/gateway_calls.h"
#include "support/temp_dir.h"

namespace readkit::quality_fastq_lines_test {
namespace {

using Ints = std::vector<int>;

class FastqLines : public testing::Test {
 protected:
  void open(const std::string& bytes) { file_ = File(folder_.write("f", bytes), "r"); }
  int line(buffer_t& buffer) { return readLine(&buffer, file_); }
  // The lengths of `count` lines, read into one buffer.
  Ints lengths(const std::string& bytes, std::size_t count) {
    open(bytes);
    buffer_t buffer;
    Ints all;
    while (all.size() < count) all.push_back(line(buffer));
    return all;
  }

  TempDir folder_;
  LeakCheck leaks_;
  File file_;
};

std::string_view text_of(const buffer_t& buffer, int length) {
  return {buffer.text.get(), static_cast<std::size_t>(length)};
}

// ---- The buffer --------------------------------------------------------------------------------

TEST_F(FastqLines, BufferStartsAt1000BytesOfTheHostsMemory) {
  const std::size_t before = host::live_blocks();
  const buffer_t buffer;
  EXPECT_EQ(buffer.capacity, 1000);
  EXPECT_EQ(host::live_blocks(), before + 1);
}

TEST_F(FastqLines, ExpandedBufferKeepsItsContent) {
  buffer_t buffer;
  std::string content;
  for (int i = 0; i < 1000; ++i) content += static_cast<char>('a' + i % 26);
  content.copy(buffer.text.get(), content.size());
  bufferExpand(&buffer, 50000);
  EXPECT_EQ(buffer.capacity, 50000);
  EXPECT_EQ(text_of(buffer, 1000), content);
  buffer.text[49999] = 'x';
}

TEST_F(FastqLines, BufferMayBecomeSmaller) {
  buffer_t buffer;
  std::string("abcdef").copy(buffer.text.get(), 6);
  bufferExpand(&buffer, 3);
  EXPECT_EQ(buffer.capacity, 3);
  EXPECT_EQ(text_of(buffer, 3), "abc");
}

// ---- Lengths of texts --------------------------------------------------------------------------

TEST(SequenceLength, EndsAtTheNewlineOrTheNul) {
  const std::pair<const char*, int> rows[] = {
      {"", 0},        {"\n", 0},         {"a", 1},    {"abc\n", 3},    {"abc\ndef\n", 3},
      {"\r\n", 0},    {"ab\r\n", 2},     {"ab\r", 3}, {"ab\r\r\n", 3}, {"a\rb\n", 3},
      {"a\r\0\n", 2}, {"ab\0cd\r\n", 2}, {"\r", 1},   {"a b\t\n", 4},
  };
  for (const auto& [text, length] : rows) {
    EXPECT_EQ(sequenceLength(text), length) << testing::PrintToString(text);
  }
}

// ---- Lines -------------------------------------------------------------------------------------

TEST_F(FastqLines, LengthIsWithoutTheLinesEnd) {
  EXPECT_EQ(lengths("abc\nd\n", 3), (Ints{3, 1, 0}));
  EXPECT_EQ(lengths("abc\r\nd\r\n", 3), (Ints{3, 1, 0}));
}

TEST_F(FastqLines, OnlyOneReturnRightBeforeTheNewlineBelongsToTheEnd) {
  EXPECT_EQ(lengths("ab\r\r\na\rb\n", 3), (Ints{3, 3, 0}));
}

TEST_F(FastqLines, LastLineNeedsNoNewline) {
  EXPECT_EQ(lengths("abc\nde", 3), (Ints{3, 2, 0}));
  EXPECT_EQ(lengths("ab\r", 2), (Ints{3, 0}));  // no newline, so no end of a line
}

TEST_F(FastqLines, EmptyLineAndEndOfFileAreBothZero) {
  EXPECT_EQ(lengths("", 2), (Ints{0, 0}));
  EXPECT_EQ(lengths("\n\r\nab\n", 4), (Ints{0, 0, 2, 0}));
}

TEST_F(FastqLines, TextOfTheLineIsInTheBuffer) {
  open("ACGT\r\nAC\n");
  buffer_t buffer;
  EXPECT_EQ(text_of(buffer, line(buffer)), "ACGT");
  EXPECT_EQ(text_of(buffer, line(buffer)), "AC");
  EXPECT_EQ(line(buffer), 0);
}

// Doubled until the line and a NUL fit, and one byte more unless a newline lies there.
int capacity_for(const std::string& line) {
  std::size_t capacity = 1000;
  while (line.size() > capacity - (line.back() == '\n' ? 1 : 2)) capacity *= 2;
  return static_cast<int>(capacity);
}

TEST_F(FastqLines, LongLinesAreReadWhole) {
  Ints sizes = {3997, 3998, 3999, 4000, 4001, 100000};
  for (int size = 996; size <= 1003; ++size) sizes.push_back(size);
  for (int size = 1996; size <= 2003; ++size) sizes.push_back(size);
  for (const int size : sizes) {
    std::string text;
    for (int i = 0; i < size; ++i) text += "ACGTN"[i % 5];
    for (const std::string end : {"\n", "\r\n"}) {
      open(text + end + "next" + end);
      buffer_t buffer;
      ASSERT_EQ(line(buffer), size);
      ASSERT_TRUE(text_of(buffer, size) == text) << size;
      ASSERT_EQ(buffer.capacity, capacity_for(text + end)) << size;
      ASSERT_EQ(text_of(buffer, line(buffer)), "next") << size;
      ASSERT_EQ(line(buffer), 0) << size;
    }
    open(text);
    buffer_t buffer;
    ASSERT_EQ(line(buffer), size);
    ASSERT_TRUE(text_of(buffer, size) == text) << size;
    ASSERT_EQ(buffer.capacity, capacity_for(text)) << size;
    ASSERT_EQ(line(buffer), 0) << size;
  }
}

TEST_F(FastqLines, LineEndThatAFullBufferCutsInTwoIsOneLineEnd) {
  // 999 bytes fit beside the NUL: the return is the last of them.
  EXPECT_EQ(lengths(std::string(998, 'A') + "\r\nACG\r\n", 3), (Ints{998, 3, 0}));
  EXPECT_EQ(lengths(std::string(1998, 'A') + "\r\nACG\r\n", 3), (Ints{1998, 3, 0}));
}

TEST_F(FastqLines, GrownBufferStaysGrown) {
  open(std::string(1500, 'A') + "\nACG\n" + std::string(1990, 'C') + "\n");
  buffer_t buffer;
  EXPECT_EQ(line(buffer), 1500);
  EXPECT_EQ(buffer.capacity, 2000);
  EXPECT_EQ(text_of(buffer, line(buffer)), "ACG");
  EXPECT_EQ(buffer.capacity, 2000);
  EXPECT_EQ(line(buffer), 1990);
  EXPECT_EQ(buffer.capacity, 2000);
}

TEST_F(FastqLines, NothingOfALongerLineBeforeIsLeft) {
  EXPECT_EQ(lengths(std::string(1500, 'A') + "\nC\n\nG", 5), (Ints{1500, 1, 0, 1, 0}));
}

// ---- NULs inside a line ------------------------------------------------------------------------

// A line of so many letters with NULs in some places, and a line of three behind it.
std::string with_nuls(std::size_t size, const std::vector<std::size_t>& places) {
  std::string text(size, 'A');
  for (const std::size_t place : places) text[place] = '\0';
  return text + "\nCCC\n";
}

TEST_F(FastqLines, NulEndsTheTextButNotTheLine) {
  EXPECT_EQ(lengths(with_nuls(10, {4}), 3), (Ints{4, 3, 0}));
  EXPECT_EQ(lengths(with_nuls(10, {0}), 3), (Ints{0, 3, 0}));
  EXPECT_EQ(lengths(with_nuls(10, {9}), 3), (Ints{9, 3, 0}));
  EXPECT_EQ(lengths(with_nuls(900, {4, 7}), 3), (Ints{4, 3, 0}));
  EXPECT_EQ(lengths(std::string("AA\0\r\nCCC\n", 9), 3), (Ints{2, 3, 0}));
  EXPECT_EQ(lengths(std::string("AA\r\0\nCCC\n", 9), 3), (Ints{3, 3, 0}));
}

TEST_F(FastqLines, NulBeforeTheLastPieceOfALongLineIsAnyCharacter) {
  open(with_nuls(1500, {4}));
  buffer_t buffer;
  ASSERT_EQ(line(buffer), 1500);
  std::string text(1500, 'A');
  text[4] = '\0';
  EXPECT_TRUE(text_of(buffer, 1500) == text);
  EXPECT_EQ(lengths(with_nuls(1500, {997}), 3), (Ints{1500, 3, 0}));
  EXPECT_EQ(lengths(with_nuls(5000, {0, 500, 1100, 2000}), 3), (Ints{5000, 3, 0}));
}

TEST_F(FastqLines, NulInTheLastPieceOfALongLineEndsItsText) {
  EXPECT_EQ(lengths(with_nuls(1500, {999}), 3), (Ints{999, 3, 0}));
  EXPECT_EQ(lengths(with_nuls(1500, {1200}), 3), (Ints{1200, 3, 0}));
  EXPECT_EQ(lengths(with_nuls(1500, {4, 1200, 1300}), 3), (Ints{1200, 3, 0}));
  EXPECT_EQ(lengths(with_nuls(1500, {1499}), 3), (Ints{1499, 3, 0}));
}

TEST_F(FastqLines, NulOnTheLastByteOfAFullBufferEndsTheLine) {
  // Byte 998 is where a buffer of 1000 shows whether it is full; the rest is a line of its own.
  EXPECT_EQ(lengths(with_nuls(1500, {998}), 4), (Ints{998, 501, 3, 0}));
  EXPECT_EQ(lengths(with_nuls(1500, {4, 998}), 4), (Ints{4, 501, 3, 0}));
  EXPECT_EQ(lengths(with_nuls(2500, {1998}), 4), (Ints{1998, 501, 3, 0}));
  EXPECT_EQ(lengths(with_nuls(999, {998}), 4), (Ints{998, 0, 3, 0}));
}

// ---- Records -----------------------------------------------------------------------------------

class FastqRecords : public FastqLines {
 protected:
  int next() { return fillBuffersFASTQ(&seq_, &qual_, file_); }
  int first(const std::string& bytes) {
    open(bytes);
    return next();
  }

  buffer_t seq_;
  buffer_t qual_;
};

TEST_F(FastqRecords, RecordFillsBothBuffers) {
  for (const char* bytes :
       {"@a\nACGT\n+\nIJKL\n@b\nAC\n+b\n!~\n", "@a\r\nACGT\r\n+\r\nIJKL\r\n@b\r\nAC\r\n+b\r\n!~"}) {
    ASSERT_EQ(first(bytes), 4);
    EXPECT_EQ(text_of(seq_, 4), "ACGT");
    EXPECT_EQ(text_of(qual_, 4), "IJKL");
    ASSERT_EQ(next(), 2);
    EXPECT_EQ(text_of(seq_, 2), "AC");
    EXPECT_EQ(text_of(qual_, 2), "!~");
    EXPECT_EQ(next(), kNoRecord);
  }
}

TEST_F(FastqRecords, HeaderAndSeparatorMayBeAnything) {
  for (const char* bytes : {"r\nAC\nx\nII\n", ">\nAC\n\nII\n", "+\nAC\n@\nII\n", " \nAC\n\r\nII"}) {
    EXPECT_EQ(first(bytes), 2) << bytes;
    EXPECT_EQ(next(), kNoRecord) << bytes;
  }
}

TEST_F(FastqRecords, LengthsThatDifferAreTold) {
  EXPECT_EQ(first("@\nACGT\n+\nIII\n"), kUnequalLengths);
  EXPECT_EQ(first("@\nACGT\n+\nIIIII\n@\nA\n+\nI\n"), kUnequalLengths);
  EXPECT_EQ(next(), 1);
}

TEST_F(FastqRecords, EmptySequenceIsZeroWhateverItsQualities) {
  EXPECT_EQ(first("@\n\n+\n\n"), 0);
  EXPECT_EQ(first("@\n\n+\nIII\n@\nAC\n+\nII\n"), 0);
  EXPECT_EQ(next(), 2);
}

TEST_F(FastqRecords, EveryPrefixOfARecordGivesWhatItsLinesSay) {
  const std::string record = "@r\nACGT\n+\nIIII\n";
  for (std::size_t size = 0; size <= record.size(); ++size) {
    int expected = kUnequalLengths;
    if (size == 0) expected = kNoRecord;
    if (size >= 1 && size <= 3) expected = 0;  // "@r\n" and nothing more
    if (size >= 14) expected = 4;              // all but the last newline
    EXPECT_EQ(first(record.substr(0, size)), expected) << size;
    EXPECT_EQ(next(), kNoRecord) << size;
  }
}

TEST_F(FastqRecords, EmptyHeaderLineEndsTheFile) {
  EXPECT_EQ(first(""), kNoRecord);
  EXPECT_EQ(first("\nAC\n+\nII\n"), kNoRecord);
  EXPECT_EQ(first("\r\nAC\n+\nII\n"), kNoRecord);
  EXPECT_EQ(first(std::string("\0@\nAC\n+\nII\n", 11)), kNoRecord);
}

TEST_F(FastqRecords, LongHeadersAndSeparatorsTakeNothingOfTheLines) {
  const std::string rest(3000, 'x');
  ASSERT_EQ(first("@" + rest + "\nACGT\n+" + rest + "\nIJKL\n"), 4);
  EXPECT_EQ(text_of(seq_, 4), "ACGT");
  EXPECT_EQ(text_of(qual_, 4), "IJKL");
  EXPECT_EQ(seq_.capacity, 4000);
  EXPECT_EQ(qual_.capacity, 4000);
}

}  // namespace
}  // namespace readkit::quality_fastq_lines_test
