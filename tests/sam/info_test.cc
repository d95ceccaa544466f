// The information scan of a SAM file.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "sam/sam.h"
#include "support/expect_kind.h"
#include "support/random_data.h"
#include "support/temp_dir.h"

namespace readkit::sam_info_test {
namespace {

using Names = std::vector<std::string>;
using Counts = std::vector<std::uint32_t>;

struct Info {
  bool sorted = false;
  Counts counts;
  Names names;
  bool operator==(const Info&) const = default;
};

Info scan(SAM& in, int requested = 2) {
  Info info;
  in.kxsaminfo(info.sorted, info.counts, info.names, requested);
  return info;
}

// A line with no more fields than the scan needs.
std::string at(const std::string& reference, const std::string& position) {
  return "r\t0\t" + reference + "\t" + position + "\t";
}

class SamInfo : public testing::Test {
 protected:
  Info info_of(const std::string& text, int requested = 2) {
    SAM in(folder_.write("a.sam", text), "r");
    return scan(in, requested);
  }
  // One line for each place.
  Info info_at(const std::vector<std::pair<std::string, int>>& places, int requested = 2) {
    std::string text = "@HD\tVN:1.6\n";
    for (const auto& [name, position] : places) text += at(name, std::to_string(position)) + "\n";
    return info_of(text, requested);
  }
  bool sorted(const std::vector<std::pair<std::string, int>>& places) {
    const Info info = info_at(places);
    EXPECT_EQ(info_at(places, 1).sorted, info.sorted);
    return info.sorted;
  }

  TempDir folder_;
};

// ---- Results -----------------------------------------------------------------------------------

TEST_F(SamInfo, NamesComeInTheOrderOfFirstAppearance) {
  EXPECT_EQ(info_at({{"chr1", 5}, {"chr1", 9}, {"chr2", 1}}),
            (Info{true, {0, 2, 1}, {"*", "chr1", "chr2"}}));
  EXPECT_EQ(info_at({{"b", 5}, {"a", 9}, {"*", 0}, {"b", 1}}),
            (Info{false, {1, 2, 1}, {"*", "b", "a"}}));
}

TEST_F(SamInfo, FileWithoutRecordsIsSortedAndHasTheStarAlone) {
  const Info nothing = {true, {0}, {"*"}};
  for (const char* text : {"", "@HD\tVN:1.6\n", "@HD\tVN:1.6", "@SQ\tSN:chr1\tLN:5\n", "\n\n"}) {
    EXPECT_EQ(info_of(text), nothing) << text;
  }
}

TEST_F(SamInfo, NamesOfTheHeaderDoNotMatter) {
  EXPECT_EQ(info_of("@SQ\tSN:chr2\tLN:5\n@SQ\tSN:chr1\tLN:5\n" + at("chr1", "1") + "\n" +
                    at("chr2", "1") + "\n"),
            (Info{true, {0, 1, 1}, {"*", "chr1", "chr2"}}));
}

TEST_F(SamInfo, OrderOfLinesDecidesTheFlag) {
  EXPECT_TRUE(sorted({{"a", 5}}));
  EXPECT_TRUE(sorted({{"a", 5}, {"a", 5}, {"a", 6}, {"b", 1}, {"c", 1}}));
  EXPECT_FALSE(sorted({{"a", 5}, {"a", 4}}));
  EXPECT_FALSE(sorted({{"a", 5}, {"b", 5}, {"a", 6}}));
  EXPECT_FALSE(sorted({{"a", 5}, {"b", 5}, {"c", 5}, {"b", 5}}));
  EXPECT_FALSE(sorted({{"a", 5}, {"a", 9}, {"a", 7}, {"a", 8}}));
}

TEST_F(SamInfo, LinesWithoutReferenceBelongBeforeAllOthers) {
  EXPECT_TRUE(sorted({{"*", 0}, {"*", 0}, {"a", 5}}));
  EXPECT_FALSE(sorted({{"a", 5}, {"*", 0}}));
  EXPECT_FALSE(sorted({{"a", 5}, {"*", 0}, {"b", 5}}));
}

TEST_F(SamInfo, PositionsWithoutReferenceAreNotChecked) {
  EXPECT_TRUE(sorted({{"*", 9}, {"*", 5}, {"*", 7}, {"a", 1}}));
}

TEST_F(SamInfo, PositionsAreUnsigned) {
  EXPECT_TRUE(sorted({{"a", 5}, {"a", -1}}));
  EXPECT_FALSE(sorted({{"a", -1}, {"a", 5}}));
  EXPECT_TRUE(info_of(at("a", "4294967294") + "\n" + at("a", "4294967295")).sorted);
}

TEST_F(SamInfo, LongPositionsThatFit64BitsAreCutTo32) {
  const std::string nine = "18446744069414584329";  // 2^64 - 2^32 + 9
  EXPECT_TRUE(info_of(at("a", "8") + "\n" + at("a", nine) + "\n" + at("a", "10")).sorted);
  EXPECT_FALSE(info_of(at("a", "10") + "\n" + at("a", nine)).sorted);
  // One digit more saturates.
  EXPECT_FALSE(info_of(at("a", nine + "0") + "\n" + at("a", "10")).sorted);
}

TEST_F(SamInfo, ScanForTheFlagAloneStopsAtTheFirstLineOutOfOrder) {
  const std::vector<std::pair<std::string, int>> places = {
      {"a", 5}, {"b", 9}, {"b", 8}, {"c", 1}, {"a", 1}};
  for (const int requested : {-1, 0, 1}) {
    EXPECT_EQ(info_at(places, requested), (Info{false, {0, 1, 2}, {"*", "a", "b"}})) << requested;
  }
  for (const int requested : {2, 3, 16}) {
    EXPECT_EQ(info_at(places, requested), (Info{false, {0, 2, 2, 1}, {"*", "a", "b", "c"}}))
        << requested;
  }
}

TEST_F(SamInfo, ScanForTheFlagAloneReadsASortedFileToItsEnd) {
  EXPECT_EQ(info_at({{"a", 5}, {"b", 9}, {"b", 10}}, 1), (Info{true, {0, 1, 2}, {"*", "a", "b"}}));
}

// ---- Lines -------------------------------------------------------------------------------------

TEST_F(SamInfo, EmptyLinesAndLinesOfOneCarriageReturnAreSkipped) {
  EXPECT_EQ(info_of("\n\r\n" + at("a", "5") + "\n\n\r\n\r\n" + at("a", "6") + "\r\n\n\r"),
            (Info{true, {0, 2}, {"*", "a"}}));
}

TEST_F(SamInfo, LastLineNeedsNoNewline) {
  EXPECT_EQ(info_of(at("a", "5") + "\nr\t0\tb\t7"), (Info{true, {0, 1, 1}, {"*", "a", "b"}}));
}

TEST_F(SamInfo, LinesWithoutNameAndPositionAreSkipped) {
  const std::string bad =
      "r\nr\t0\nr\t0\ta\nr\t0\ta\t\nr\t0\ta\tx\nr\tx\ta\t5\nr\t\ta\t5\n \nr\t0\ta\t-\n"
      "r\t-\ta\t5\nr\t0\ta\t+x\n@CO\tx\n";
  EXPECT_EQ(info_of(at("a", "5") + "\n" + bad + at("a", "6") + "\n"),
            (Info{true, {0, 2}, {"*", "a"}}));
}

TEST_F(SamInfo, WordsAreDelimitedByBlanksOfAnyKind) {
  EXPECT_EQ(info_of("r 0 a 5\nr\t0 \v\f a\t\t6x\n  r\t 0\ta\t 7\nr\t0\ta\t8\r\nr\t0\ta b\t3\n"),
            (Info{true, {0, 4}, {"*", "a"}}));
}

TEST_F(SamInfo, NameMayFollowTheFlagAtOnce) {
  EXPECT_EQ(info_of("r\t16chr1\t5\n"), (Info{true, {0, 1}, {"*", "chr1"}}));
}

TEST_F(SamInfo, LineEndsAtItsFirstNul) {
  const std::string nul(1, '\0');
  EXPECT_EQ(info_of("r\t0\ta" + nul + "b\t5\n" + "r\t0\ta\t5" + nul + "6\nr\t0\ta\t6\n"),
            (Info{true, {0, 2}, {"*", "a"}}));
}

TEST_F(SamInfo, NamesHaveNoLimit) {
  const std::string name(1000000, 'n');
  EXPECT_EQ(info_of(at(name, "5") + "\n" + at(name + "x", "5") + "\n" + at(name, "4") + "\n"),
            (Info{false, {0, 2, 1}, {"*", name, name + "x"}}));
}

TEST_F(SamInfo, ManyNamesAreTold) {
  std::string text;
  Info expected = {true, {0}, {"*"}};
  for (int i = 0; i < 3000; ++i) {
    expected.names.push_back("n" + std::to_string(i));
    expected.counts.push_back(2);
    for (const char* position : {"7", "8"}) text += at(expected.names.back(), position) + "\n";
  }
  EXPECT_EQ(info_of(text), expected);
}

// ---- The run-time library as the judge ---------------------------------------------------------

struct Placement {
  std::string name;
  unsigned position = 0;
};

// What the run-time library reads from a line that is short enough for its names.
bool read_placement(const std::string& line, Placement& placement) {
  char name[128];
  unsigned position = 0;
  if (std::sscanf(line.c_str(), "%*s%*d%127s%u", name, &position) != 2) return false;
  placement = {name, position};
  return true;
}

// The scan as one would write it down.
Info expected_info(const std::string& text) {
  Info info = {true, {0}, {"*"}};
  std::size_t current = 0;
  unsigned last = 0;
  for (std::size_t from = 0; from < text.size();) {
    const std::size_t end = std::min(text.find('\n', from), text.size());
    Placement placement;
    if (read_placement(text.substr(from, end - from), placement)) {
      const auto found = std::find(info.names.begin(), info.names.end(), placement.name);
      const auto index = static_cast<std::size_t>(found - info.names.begin());
      if (found == info.names.end()) {
        info.names.push_back(placement.name);
        info.counts.push_back(0);
      }
      ++info.counts[index];
      if (index < current || (index == current && index > 0 && placement.position < last)) {
        info.sorted = false;
      } else {
        current = index;
        last = placement.position;
      }
    }
    from = end + 1;
  }
  return info;
}

// Single characters, so that everything stands beside everything.
std::string random_characters(Random& random) {
  static const std::string alphabet("  \t\t0123459-+*ab.\r\v\f\0", 22);
  std::string line;
  for (std::uint64_t n = random() % 30; n > 0; --n) line += alphabet[random() % alphabet.size()];
  return line;
}

// Words that are nearly those of a record.
std::string random_words(Random& random) {
  const std::string words[] = {"r",  "0",           "16",         "+7",
                               "-1", "12abc",       "2147483648", "99999999999999999999999",
                               "*",  "chr1",        "chr2",       "18446744073709551616",
                               "+",  "4294967296",  "-",          "-99999999999999999999999",
                               "x",  "-4294967295", "007",        std::string("1\0002", 3)};
  const std::string blanks[] = {"\t", "\t", "\t", " ", "\t\t", " \v", "\r", ""};
  std::string line;
  const std::uint64_t count = 3 + random() % 3;
  for (std::uint64_t i = 0; i < count; ++i) {
    line += words[random() % std::size(words)] + blanks[random() % std::size(blanks)];
  }
  return line;
}

TEST_F(SamInfo, RandomLinesAreReadAsTheRunTimeLibraryReadsThem) {
  Random random(61);
  std::uint32_t counted = 0;
  for (int file = 0; file < 400; ++file) {
    std::string text = "@HD\tVN:1.6\n";
    const std::size_t header = text.size();
    for (int i = 0; i < 20; ++i) {
      text += (random() % 2 == 0 ? random_characters(random) : random_words(random)) + "\n";
    }
    const Info expected = expected_info(text.substr(header));
    const Info found = info_of(text);
    ASSERT_EQ(found.names, expected.names) << text;
    ASSERT_EQ(found.counts, expected.counts) << text;
    ASSERT_EQ(found.sorted, expected.sorted) << text;
    for (const std::uint32_t count : found.counts) counted += count;
  }
  EXPECT_GT(counted, 1000U);
}

TEST_F(SamInfo, RandomPlacesInOrderAndOutOfItAreToldApart) {
  Random random(62);
  int in_order = 0;
  for (int file = 0; file < 400; ++file) {
    std::string text;
    int position = 1;
    for (std::size_t i = 0; i < 6; ++i) {
      position += static_cast<int>(random_number(random, random() % 8 == 0 ? -2 : 0, 2));
      const std::string names[] = {"*", "a", "b"};
      const std::string& name =
          names[random() % 10 == 0 ? random() % 3 : std::min<std::size_t>(i / 2, 2)];
      text += at(name, std::to_string(position)) + "\n";
    }
    const Info expected = expected_info(text);
    ASSERT_EQ(info_of(text), expected) << text;
    in_order += expected.sorted ? 1 : 0;
  }
  EXPECT_GT(in_order, 50);
  EXPECT_LT(in_order, 350);
}

// ---- The stream --------------------------------------------------------------------------------

TEST_F(SamInfo, ScanBeginsAtTheFirstRecordWhateverWasRead) {
  const std::string line = "r\t0\ta\t5\t1\t1M\t*\t0\t0\tA\tI\n";
  SAM in(folder_.write("a.sam", "@HD\tVN:1.6\n" + line + line + line), "r");
  const Info expected = {true, {0, 3}, {"*", "a"}};
  EXPECT_EQ(scan(in), expected);
  EXPECT_EQ(scan(in), expected);
  in.rewind();
  EXPECT_TRUE(in.next_alignment());
  EXPECT_EQ(scan(in), expected);
  in.rewind();
  while (in.next_alignment()) {
  }
  EXPECT_TRUE(in.eof());
  EXPECT_EQ(scan(in), expected);
  in.rewind();
  ASSERT_TRUE(in.next_alignment());
  EXPECT_EQ(in.alignment().pos(), 4);
}

TEST_F(SamInfo, StreamThatCannotBePositionedGivesTheFirstResults) {
  SAM in(folder_.write("a.sam", at("a", "5") + "\n"), "r");
  in.close();
  EXPECT_EQ(scan(in), (Info{true, {0}, {"*"}}));
}

TEST_F(SamInfo, FolderRaisesSamRead) {
  const Path folder = to_path(folder_.folder());
  SAM in(folder, "r");
  EXPECT_KIND(scan(in), SAMRead, folder);
  EXPECT_KIND(scan(in, 0), SAMRead, folder);
}

}  // namespace
}  // namespace readkit::sam_info_test
