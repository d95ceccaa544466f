// The header as SAM text, read and written.
#include <algorithm>
#include <cstdint>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "header/bam_header.h"
#include "support/random_data.h"
#include "support/test_data.h"

namespace readkit::header_text_io_test {
namespace {

// ---- One "@SQ" line ---------------------------------------------------------------------------

struct SequenceRow {
  std::string line;  // without its newline
  std::string stored_name;
  std::uint32_t length;
};

std::string operator""_bytes(const char* text, std::size_t size) { return {text, size}; }

const SequenceRow kSequences[] = {
    // The byte that ended the name's field stands in the terminator's place.
    {"@SQ\tSN:chr1\tLN:1000", "chr1\t", 1000},
    {"@SQ\tLN:1000\tSN:chr1", "chr1\n", 1000},
    {"@SQ\tSN:chr1", "chr1\n", 0},
    {"@SQ\tLN:1000", "", 1000},
    {"@SQ\tSN:\tLN:7", "\t", 7},
    {"@SQ\tSN:", "\n", 0},
    {"@SQ\tSN:chr1\tLN:1000\tM5:abc\tAS:x", "chr1\t", 1000},
    {"@SQ", "", 0},
    {"@SQ\t", "", 0},
    {"@SQX\tSN:chr1\tLN:5", "chr1\t", 5},
    {"@SQ\t\t\tSN:chr1\tLN:5", "chr1\t", 5},
    {"@SQ\tSN:chr 1\tLN:5", "chr 1\t", 5},
    {"@SQ\tsn:chr1\tln:5", "", 0},
    {"@SQ\tXSN:chr1\tSN:chr2", "chr2\n", 0},
    {"@SQ\tSN:a\tSN:b\tLN:1\tLN:2", "b\t", 2},
    // A NUL ends the copy; NULs fill it up.
    {"@SQ\tSN:ch\0r1\tLN:5"_bytes, "ch\0\0\0\0"_bytes, 5},
    // Digits up to the first other character.
    {"@SQ\tSN:chr1\tLN:12x4", "chr1\t", 12},
    {"@SQ\tSN:chr1\tLN:4294967295", "chr1\t", 4294967295U},
    {"@SQ\tSN:chr1\tLN:0", "chr1\t", 0},
    {"@SQ\tSN:chr1\tLN:", "chr1\t", 0},
    {"@SQ\tSN:chr1\tLN:x", "chr1\t", 0},
    {"@SQ\tSN:chr1\tLN:5\r", "chr1\t", 5},
    {"@SQ\tLN:5\tSN:chr1\r", "chr1\r\n", 5},
    // The scan counter is not reset: a field shorter than an earlier one runs on to a later TAB...
    {"@SQ\tLN:248956422\tSN:chr1\tAS:x\tUR:file", "chr1\tAS:x\t", 248956422},
    // ... or to the line's end.
    {"@SQ\tLN:248956422\tSN:chr1", "chr1\n", 248956422},
    {"@SQ\tLN:248956422\tSN:chr1\tM5:abc", "chr1\tM5:abc\n", 248956422},
    {"@SQ\tM5:0123456789abcdef\tSN:chr1\tLN:1000", "chr1\tLN:1000\n", 0},
    {"@SQ\tSN:a_rather_long_name\tLN:5", "a_rather_long_name\t", 5},
    {"@SQ\tSN:a_rather_long_name\tLN:5\tM5:0123456789", "a_rather_long_name\t", 5},
    // What it swallows is not looked at.
    {"@SQ\tUR:012345\tAS:x\tLN:5\tSN:chr1", "chr1\n", 0},
};

TEST(ParseSamSequence, TakesNameAndLengthFromTheirFields) {
  for (const SequenceRow& row : kSequences) {
    const std::string line = row.line + "\n";
    const Reference reference = parse_sam_sequence(line.data(), row.line.size());
    EXPECT_EQ(reference.stored_name, row.stored_name) << row.line;
    EXPECT_EQ(reference.l_ref, row.length) << row.line;
  }
}

TEST(ParseSamSequence, LooksAtNothingPastTheByteThatEndedTheLine) {
  Random random(60);
  const std::string pieces[] = {"\t", "SN:", "LN:", "chr1", "1", "23", "M5:", "x", "\r"};
  for (int i = 0; i < 5000; ++i) {
    std::string line = "@SQ\t";
    for (std::uint64_t n = random() % 12; n > 0; --n) line += pieces[random() % std::size(pieces)];
    std::vector<char> exact(line.begin(), line.end());  // of its own size: an overrun is seen
    exact.push_back('\n');
    const Reference reference = parse_sam_sequence(exact.data(), line.size());
    EXPECT_LE(reference.stored_name.size(), line.size());
  }
}

// ---- Reading ----------------------------------------------------------------------------------

struct Read {
  BamHeader header;
  std::size_t length;
  std::string rest;  // what a reader finds next
};

Read read(const std::string& text) {
  std::istringstream in(text);
  Read result;
  result.length = result.header.read(in);
  in.clear();
  std::ostringstream rest;
  if (in.peek() != std::char_traits<char>::eof()) rest << in.rdbuf();
  result.rest = rest.str();
  return result;
}

TEST(TextHeader, LeadingLinesBecomeTheTextAndTheStreamStaysAtTheFirstRecord) {
  const std::string header = "@HD\tVN:1.6\n@SQ\tSN:chr1\tLN:1000\n@CO\tanything\n";
  const Read result = read(header + "r1\t0\tchr1\n@not header\n");
  EXPECT_EQ(result.header.text(), header);
  EXPECT_EQ(result.length, header.size());
  EXPECT_EQ(result.rest, "r1\t0\tchr1\n@not header\n");
  ASSERT_EQ(result.header.get_num_refs(), 1);
  EXPECT_EQ(result.header.get_ref(0).l_name(), 5);
  EXPECT_EQ(result.header.get_ref(0).stored_name, "chr1\t");
  EXPECT_EQ(result.header.get_ref(0).name(), "chr1");
  EXPECT_EQ(result.header.get_ref(0).l_ref, 1000u);
}

TEST(TextHeader, FileWithoutHeaderLinesGivesNothingAndStaysAtTheFirstRecord) {
  const Read result = read("r1\t0\tchr1\n");
  EXPECT_EQ(result.header.text(), "");
  EXPECT_EQ(result.length, 0u);
  EXPECT_EQ(result.header.get_num_refs(), 0);
  EXPECT_EQ(result.rest, "r1\t0\tchr1\n");
}

TEST(TextHeader, EmptyFileGivesNothing) {
  const Read result = read("");
  EXPECT_EQ(result.header.text(), "");
  EXPECT_EQ(result.length, 0u);
}

TEST(TextHeader, EmptyLineEndsTheHeader) {
  const Read result = read("@HD\tVN:1.6\n\n@SQ\tSN:chr1\tLN:1000\n");
  EXPECT_EQ(result.header.text(), "@HD\tVN:1.6\n");
  EXPECT_EQ(result.rest, "\n@SQ\tSN:chr1\tLN:1000\n");
}

TEST(TextHeader, FileOfHeaderLinesOnlyIsReadToItsEnd) {
  const Read result = read("@HD\tVN:1.6\n@SQ\tSN:chr1\tLN:1000\n");
  EXPECT_EQ(result.header.text(), "@HD\tVN:1.6\n@SQ\tSN:chr1\tLN:1000\n");
  EXPECT_EQ(result.rest, "");
}

TEST(TextHeader, LastLineWithoutNewlineGetsOne) {
  const Read result = read("@HD\tVN:1.6\n@SQ\tLN:5\tSN:c");
  EXPECT_EQ(result.header.text(), "@HD\tVN:1.6\n@SQ\tLN:5\tSN:c\n");
  ASSERT_EQ(result.header.get_num_refs(), 1);
  EXPECT_EQ(result.header.get_ref(0).stored_name, "c\n");
}

TEST(TextHeader, TextIsKeptByteForByte) {
  const std::string text = "@HD\tVN:1.6\r\n@CO\t\xff\0\x80 \r\n@\n"_bytes;
  EXPECT_EQ(read(text).header.text(), text);
}

TEST(TextHeader, OnlyLinesThatBeginWithSQAreReferences) {
  const Read result =
      read("@SQX\tSN:a\tLN:1\n@SQ\n@sq\tSN:b\tLN:2\n@CO\t@SQ\tSN:c\tLN:3\n@S\n@SQ\tSN:d\tLN:4\n");
  ASSERT_EQ(result.header.get_num_refs(), 3);
  EXPECT_EQ(result.header.get_ref(0).name(), "a");
  EXPECT_EQ(result.header.get_ref(1).name(), "");
  EXPECT_EQ(result.header.get_ref(1).l_name(), 0);
  EXPECT_EQ(result.header.get_ref(2).name(), "d");
}

TEST(TextHeader, ReadingReplacesWhatWasThere) {
  std::istringstream in("@SQ\tSN:new\tLN:1\n");
  BamHeader header;
  header.set_text("old");
  header.add_reference("old", 1);
  header.read(in);
  EXPECT_EQ(header.text(), "@SQ\tSN:new\tLN:1\n");
  ASSERT_EQ(header.get_num_refs(), 1);
  EXPECT_EQ(header.get_ref(0).name(), "new");
}

TEST(TextHeader, EveryPrefixIsReadWithoutAnError) {
  const std::string whole = "@HD\tVN:1.6\n@SQ\tLN:12345\tSN:chr1\tM5:x\nr1\t0\n";
  const std::size_t header_size = whole.find("\nr1") + 1;
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    std::string expected = whole.substr(0, std::min(size, header_size));
    if (!expected.empty() && expected.back() != '\n') expected += '\n';
    const Read result = read(whole.substr(0, size));
    EXPECT_EQ(result.header.text(), expected) << size;
    EXPECT_EQ(result.length, expected.size()) << size;
  }
}

// ---- Writing ----------------------------------------------------------------------------------

TEST(TextHeader, TrailingNewlinesAndNulsBecomeOneNewline) {
  const struct {
    std::string text;
    std::string written;
  } rows[] = {
      {"@HD\tVN:1.6\n", "@HD\tVN:1.6\n"},
      {"@HD\tVN:1.6", "@HD\tVN:1.6\n"},
      {"@HD\n@CO\tx\n\n\n", "@HD\n@CO\tx\n"},
      {"@HD\n\0\0\n\0"_bytes, "@HD\n"},
      {"@HD\0x\n"_bytes, "@HD\0x\n"_bytes},
      {"@HD\r\n", "@HD\r\n"},
      {"", "\n"},
      {"\n\n", "\n"},
      {"\0"_bytes, "\n"},
  };
  for (const auto& row : rows) {
    BamHeader header;
    header.set_text(row.text);
    std::ostringstream out;
    EXPECT_TRUE(header.write(out));
    EXPECT_EQ(out.str(), row.written);
  }
}

TEST(TextHeader, ReferencesAreNotWritten) {
  BamHeader header;
  header.add_reference("chr1", 1000);
  std::ostringstream out;
  EXPECT_TRUE(header.write(out));
  EXPECT_EQ(out.str(), "\n");
}

TEST(TextHeader, BadStreamGivesFalse) {
  std::ostringstream out;
  out.setstate(std::ios::badbit);
  EXPECT_FALSE(BamHeader().write(out));
}

}  // namespace
}  // namespace readkit::header_text_io_test
