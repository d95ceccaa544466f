// Lines of a file.
#include "check/text_lines.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace readkit::check_text_lines_test {
namespace {

std::vector<std::string> lines_of(const std::string& bytes, bool* is_ended = nullptr) {
  const TempDir folder;
  File file(folder.write("a", bytes), "rb");
  TextLines lines(file);
  std::vector<std::string> all;
  std::string_view line;
  bool ended = true;
  while (lines.next(line)) {
    all.emplace_back(line);
    EXPECT_EQ(lines.number(), all.size());
    ended = lines.is_ended();
  }
  EXPECT_FALSE(lines.next(line));
  EXPECT_EQ(lines.number(), all.size());
  if (is_ended != nullptr) *is_ended = ended;
  return all;
}

using Lines = std::vector<std::string>;

TEST(TextLines, LinesComeWithoutTheirEnds) {
  EXPECT_EQ(lines_of(""), Lines{});
  EXPECT_EQ(lines_of("\n"), Lines{""});
  EXPECT_EQ(lines_of("a\n\nb\r\n\r\nc\rd\n"), (Lines{"a", "", "b", "", "c\rd"}));
}

TEST(TextLines, LastLineMayLackItsEnd) {
  bool is_ended = true;
  EXPECT_EQ(lines_of("a\nb", &is_ended), (Lines{"a", "b"}));
  EXPECT_FALSE(is_ended);
  EXPECT_EQ(lines_of("a\nb\n", &is_ended), (Lines{"a", "b"}));
  EXPECT_TRUE(is_ended);
}

TEST(TextLines, LinesCrossTheWindowOfTheFile) {
  Lines expected;
  std::string bytes;
  for (std::size_t i = 0; i < 60; ++i) {
    expected.emplace_back(i * 1999 % 70000, static_cast<char>('a' + i % 26));
    bytes += expected.back() + '\n';
  }
  expected.emplace_back(700000, 'z');
  bytes += expected.back() + '\n';
  EXPECT_EQ(lines_of(bytes), expected);
}

}  // namespace
}  // namespace readkit::check_text_lines_test
