// Header text, and header text against the dictionary.
#include "check/header_checks.h"

#include <string>

#include <gtest/gtest.h>

#include "support/check_words.h"

namespace readkit::check_header_checks_test {
namespace {

Found line_found(std::string_view line) {
  Findings findings;
  SequenceLine sequence;
  check_header_line(line, 5, findings, &sequence);
  return found(findings);
}

TEST(HeaderChecks, LinesOfTheFormatPass) {
  for (const char* line :
       {"@HD\tVN:1.6\tSO:coordinate", "@SQ\tSN:chr1\tLN:1", "@SQ\tLN:2147483647\tSN:*a\tM5:x",
        "@RG\tID:a\tx1:", "@CO\tanything at all", "@CO", "@PG\tID:a\tCL:a b\r", "@xy\tab:c"}) {
    EXPECT_EQ(line_found(line), Found{}) << line;
  }
}

TEST(HeaderChecks, LinesOfAnotherFormAreFound) {
  for (const char* line :
       {"", "@", "@H", "@HD", "@HDR\tVN:1.6", "HD\tVN:1.6", "@H1\tVN:1", "@HD VN:1.6", "@RG\tID",
        "@RG\t\tID:a", "@RG\t1D:a", "@SQ\tSN:chr1", "@SQ\tLN:5", "@SQ\tSN:\tLN:5",
        "@SQ\tSN:a\tLN:0", "@SQ\tSN:a\tLN:2147483648", "@SQ\tSN:a\tLN:-5", "@SQ\tSN:a\tLN:5x"}) {
    EXPECT_EQ(line_found(line), (Found{"HeaderLine 5 0"})) << line;
  }
}

TEST(HeaderChecks, SequenceLineGivesNameAndLength) {
  Findings findings;
  SequenceLine sequence;
  EXPECT_TRUE(check_header_line("@SQ\tAS:x\tLN:77\tSN:chr1\r", 1, findings, &sequence));
  EXPECT_EQ(sequence.name, "chr1");
  EXPECT_EQ(sequence.length, 77U);
  EXPECT_FALSE(check_header_line("@RG\tSN:chr1", 1, findings, &sequence));
}

BamHeader header(const std::string& text) {
  BamHeader made;
  made.set_text(text);
  made.add_reference("chr1", 100);
  made.add_reference("chr2", 200);
  return made;
}
Found header_found(const BamHeader& header) {
  Findings findings;
  check_header(header, 9, findings);
  return found(findings);
}

TEST(HeaderChecks, TextAndDictionaryMustAgree) {
  const std::string first = "@SQ\tSN:chr1\tLN:100\n";
  const std::string second = "@SQ\tSN:chr2\tLN:200\n";
  const Found difference = {"HeaderReference 9 0"};
  EXPECT_EQ(header_found(header(first + second)), Found{});
  EXPECT_EQ(header_found(header("@HD\tVN:1.6\n" + first + second + std::string(5, '\0'))), Found{});
  EXPECT_EQ(header_found(header("")), Found{});          // the dictionary alone
  EXPECT_EQ(header_found(header("@CO\tx\n")), Found{});  // and beside other lines
  EXPECT_EQ(header_found(header(first)), difference);    // one is missing
  EXPECT_EQ(header_found(header(first + "@SQ\tSN:chr2\tLN:201\n")), difference);
  EXPECT_EQ(header_found(header(first + "@SQ\tSN:chrX\tLN:200\n")), difference);
  EXPECT_EQ(header_found(header(first + second + "@SQ\tSN:chr3\tLN:5\n")), difference);
  EXPECT_EQ(header_found(header(second + first)).size(), 2U);
}

TEST(HeaderChecks, NamesOfTheDictionaryAreTextsOfTheirOwn) {
  const Found wrong = {"ReferenceName 9 0"};
  BamHeader same = header("");
  same.add_reference("chr1", 5);
  EXPECT_EQ(header_found(same), wrong);
  BamHeader empty = header("");
  empty.add_reference("", 5);
  EXPECT_EQ(header_found(empty), wrong);
  BamHeader with_nul = header("");
  with_nul.add_reference(std::string_view("a\0b", 3), 5);
  EXPECT_EQ(header_found(with_nul), wrong);
}

// They were taken for names before.
TEST(HeaderChecks, NamesHaveTheCharactersThatTheFormatAllows) {
  for (const char* name : {"chr1", "HLA:A*01:01", "a=b", "x@y", "|#!$%&+./;?^_~-", "1"}) {
    EXPECT_TRUE(is_reference_name(name)) << name;
  }
  for (const char* name :
       {"",   "*",  "*a", "=",  "=a", "a b", "a\tb", "a,b", "a\\", "a\"",   "a'",
        "a`", "(a", "a)", "a[", "a]", "a{",  "a}",   "<a",  "a>",  "a\x7f", "\xe9"}) {
    EXPECT_FALSE(is_reference_name(name)) << name;
  }
  BamHeader forbidden = header("");
  forbidden.add_reference("a b", 5);
  EXPECT_EQ(header_found(forbidden), Found{"ReferenceName 9 0"});
}

TEST(HeaderChecks, CoordinateOrderIsStatedByTheFirstLine) {
  EXPECT_TRUE(states_coordinate_order("@HD\tVN:1.6\tSO:coordinate\n@CO\tx\n"));
  EXPECT_TRUE(states_coordinate_order("@HD\tSO:coordinate\r\n"));
  EXPECT_FALSE(states_coordinate_order("@HD\tVN:1.6\tSO:queryname\n"));
  EXPECT_FALSE(states_coordinate_order("@CO\tSO:coordinate\n"));
  EXPECT_FALSE(states_coordinate_order("@HD\tVN:1.6\n@CO\tSO:coordinate\n"));
  EXPECT_FALSE(states_coordinate_order(""));
}

}  // namespace
}  // namespace readkit::check_header_checks_test
