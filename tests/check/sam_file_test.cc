// SAM files.
#include "check/sam_file.h"

#include <string>

#include <gtest/gtest.h>

#include "support/check_words.h"
#include "support/sam_line.h"

namespace readkit::check_sam_file_test {
namespace {

const std::string kHeader = "@HD\tVN:1.6\n@SQ\tSN:chr1\tLN:1000\n@SQ\tSN:chr2\tLN:500\n";
constexpr int kLine = 4;  // of the first record

Found found_in(const std::string& text) {
  const CheckResult result = check_bytes(text);
  EXPECT_EQ(result.kind, "SAM");
  return found(result);
}
// One line behind the header.
Found line_found(const SamLine& line) { return found_in(kHeader + line.text() + '\n'); }
Found only(std::string_view identifier) { return {finding(identifier, kLine, 1)}; }

// A line with one field replaced.
template <std::string SamLine::*kField>
Found with(const char* value) {
  SamLine line;
  line.*kField = value;
  return line_found(line);
}

TEST(CheckSamFile, SoundLinesPass) {
  SamLine other;
  other.rname = other.rnext = other.cigar = other.seq = other.qual = "*";
  other.pos = other.pnext = "0";
  other.flag = "4";
  const CheckResult result =
      check_bytes(kHeader + SamLine().text() + "\r\n" + other.text() + "\tNM:i:1\n");
  EXPECT_EQ(found(result), Found{});
  EXPECT_EQ(result.records, 2U);
  EXPECT_TRUE(result.sorted);
  EXPECT_TRUE(result.end_marker);
  EXPECT_EQ(result.blocks, 0U);
  EXPECT_EQ(found_in(kHeader), Found{});
}

TEST(CheckSamFile, EveryRuleOfALine) {
  EXPECT_EQ(with<&SamLine::qname>("a b"), only("ReadName"));
  EXPECT_EQ(with<&SamLine::qname>(""), only("ReadName"));
  EXPECT_EQ(with<&SamLine::qname>("a@b"), only("ReadName"));  // was taken for a name
  EXPECT_EQ(with<&SamLine::qname>(std::string(254, 'n').c_str()), Found{});
  EXPECT_EQ(with<&SamLine::qname>(std::string(255, 'n').c_str()), only("ReadName"));
  EXPECT_EQ(with<&SamLine::flag>("65535"), Found{});
  for (const char* flag : {"65536", "-1", "x", "", "0x10", "4 "}) {
    EXPECT_EQ(with<&SamLine::flag>(flag), only("FieldNumber")) << flag;
  }
  EXPECT_EQ(with<&SamLine::mapq>("256"), only("FieldNumber"));
  EXPECT_EQ(with<&SamLine::tlen>("2147483648"), only("FieldNumber"));
  EXPECT_EQ(with<&SamLine::tlen>("-2147483647"), Found{});
  EXPECT_EQ(with<&SamLine::pos>("-1"), only("FieldNumber"));
  EXPECT_EQ(with<&SamLine::pnext>("2147483648"), only("FieldNumber"));
  EXPECT_EQ(with<&SamLine::rname>("chrX").front(), only("Reference").front());
  EXPECT_EQ(with<&SamLine::rnext>("chrX"), only("MateReference"));
  EXPECT_EQ(with<&SamLine::rnext>("chr2"), Found{});
  EXPECT_EQ(with<&SamLine::pos>("991"), Found{});
  EXPECT_EQ(with<&SamLine::pos>("992"), only("Position"));   // the end
  EXPECT_EQ(with<&SamLine::pos>("1001"), only("Position"));  // the begin
  EXPECT_EQ(with<&SamLine::pnext>("1000"), Found{});
  EXPECT_EQ(with<&SamLine::pnext>("1001"), only("MatePosition"));
  for (const char* cigar : {"", "M", "10", "10Q", "10M5", "-10M", "268435456M", "*10M"}) {
    EXPECT_EQ(with<&SamLine::cigar>(cigar), only("CigarOp")) << cigar;
  }
  EXPECT_EQ(with<&SamLine::cigar>("9M"), only("CigarLength"));
  EXPECT_EQ(with<&SamLine::cigar>("2S3M5N1I4=7H"), Found{});
  EXPECT_EQ(with<&SamLine::cigar>("*"), Found{});
  EXPECT_EQ(with<&SamLine::seq>("ACGT ACGTA"), only("Sequence"));
  EXPECT_EQ(with<&SamLine::seq>("acgtn=.ACG"), Found{});
  EXPECT_EQ(with<&SamLine::seq>("ACGTACGTA{"), only("Sequence"));
  EXPECT_EQ(with<&SamLine::seq>("").front(), only("Sequence").front());
  EXPECT_EQ(with<&SamLine::qual>("IIIIIIIII\x7f"), only("Quality"));
  EXPECT_EQ(with<&SamLine::qual>("IIIIIIII I"), only("Quality"));
  EXPECT_EQ(with<&SamLine::qual>("III"), only("QualityLength"));
  EXPECT_EQ(with<&SamLine::qual>("*"), Found{});
  EXPECT_EQ(with<&SamLine::seq>("*"), only("QualityLength"));
  EXPECT_EQ(with<&SamLine::tags>("\tNM:i:x"), only("Tag"));
  EXPECT_EQ(with<&SamLine::tags>("\t"), only("Tag"));
  EXPECT_EQ(with<&SamLine::tags>("\tNM:i:1\tNM:i:1"), only("TagRepeated"));
}

TEST(CheckSamFile, LineNeedsElevenFields) {
  EXPECT_EQ(found_in(kHeader + "r1\t0\tchr1\n" + SamLine().text() + "\n"),
            (Found{"FieldCount 4 1"}));
  EXPECT_EQ(found_in(kHeader + "\n"), (Found{"FieldCount 4 1"}));
}

TEST(CheckSamFile, HeaderIsChecked) {
  EXPECT_EQ(found_in("@HD VN:1.6\n"), (Found{"HeaderLine 1 0"}));
  EXPECT_EQ(found_in("@SQ\tSN:a\tLN:1\n@SQ\tSN:a\tLN:1\n"), (Found{"ReferenceName 2 0"}));
  EXPECT_EQ(found_in("@SQ\tSN:a b\tLN:1\n"), (Found{"ReferenceName 1 0"}));
  EXPECT_EQ(found_in(kHeader + SamLine().text() + "\n@CO\tlate\n"), (Found{"HeaderLine 5 0"}));
  EXPECT_EQ(check_bytes(kHeader + SamLine().text() + "\n@CO\tlate\n").records, 1U);
}

TEST(CheckSamFile, WithoutADictionaryEveryReferenceIsTaken) {
  EXPECT_EQ(found_in(SamLine().text() + "\n"), Found{});
  EXPECT_EQ(found_in("@CO\tx\n" + SamLine().text() + "\n"), Found{});
  EXPECT_EQ(found_in(SamLine().text() + "\n" + SamLine().text() + "\n"), Found{});
}

TEST(CheckSamFile, EveryLineOfAReferenceThatTheDictionaryLacksIsFound) {
  SamLine line;
  line.rname = "chrX";
  line.rnext = "*";
  line.pnext = "0";
  EXPECT_EQ(found_in(kHeader + line.text() + '\n' + line.text() + '\n'),
            (Found{"Reference 4 1", "Reference 5 2"}));
}

TEST(CheckSamFile, OrderIsThatOfTheDictionary) {
  const auto line = [](const char* ref, const char* pos) {
    SamLine one;
    one.rname = ref;
    one.pos = pos;
    return one.text() + '\n';
  };
  const std::string sorted = line("chr1", "5") + line("chr1", "5") + line("chr2", "1");
  EXPECT_TRUE(check_bytes(kHeader + sorted).sorted);
  EXPECT_FALSE(check_bytes(kHeader + line("chr1", "5") + line("chr1", "4")).sorted);
  EXPECT_FALSE(check_bytes(kHeader + line("chr2", "5") + line("chr1", "6")).sorted);
  EXPECT_FALSE(check_bytes(kHeader + line("*", "0") + line("chr1", "6")).sorted);
  EXPECT_EQ(found_in(kHeader + line("chr2", "5") + line("chr1", "6")), Found{});
  const std::string stated = "@HD\tVN:1.6\tSO:coordinate\n" + kHeader.substr(kHeader.find("@SQ"));
  EXPECT_EQ(found_in(stated + line("chr2", "5") + line("chr1", "6") + line("chr1", "3")),
            (Found{"SortOrder 5 2"}));
}

TEST(CheckSamFile, LastLineHasANewline) {
  const CheckResult result = check_bytes(kHeader + SamLine().text());
  EXPECT_EQ(found(result), (Found{"LastLine 4 0"}));
  EXPECT_FALSE(result.end_marker);
}

}  // namespace
}  // namespace readkit::check_sam_file_test
