#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "records/alignment.h"
#include "records/bins.h"
#include "records/reference_map.h"
#include "support/sam_line.h"

namespace readkit::records_sam_parse_test {
namespace {

ReferenceMap references() { return {{"chr1", 0}, {"chr2", 1}}; }

using Line = SamLine;

Alignment parse(const std::string& line) { return Alignment(line, references()); }
Alignment parse(const Line& line) { return parse(line.text()); }

std::vector<int> quals(const Alignment& record) {
  return {record.qual_bytes(), record.qual_bytes() + record.l_seq()};
}

std::string tags(const Alignment& record) {
  return {reinterpret_cast<const char*>(record.tag_bytes()),
          reinterpret_cast<const char*>(record.data_end())};
}

TEST(SamParse, ASoundLineFillsEveryField) {
  const Alignment record = parse(Line());
  EXPECT_TRUE(record.is_well_formed());
  EXPECT_EQ(record.read_name_text(), "r1");
  EXPECT_EQ(record.flag(), 0);
  EXPECT_EQ(record.ref_id(), 0);
  EXPECT_EQ(record.pos(), 99);
  EXPECT_EQ(record.mapq(), 60);
  EXPECT_EQ(record.cigar_string(), "10M");
  EXPECT_EQ(record.bin(), reg2bin(99, 109));
  EXPECT_EQ(record.next_ref_id(), 0);
  EXPECT_EQ(record.next_pos(), 199);
  EXPECT_EQ(record.tlen(), 110);
  EXPECT_EQ(record.l_seq(), 10);
  EXPECT_EQ(record.seq_string(), "ACGTACGTAC");
  EXPECT_EQ(quals(record), std::vector<int>(10, 40));
  EXPECT_EQ(record.tag_bytes(), record.data_end());
  EXPECT_EQ(record.block_size(), 32 + 3 + 4 + 5 + 10);
}

TEST(SamParse, StarReferencesAreNone) {
  Line line;
  line.rname = line.rnext = "*";
  const Alignment record = parse(line);
  EXPECT_EQ(record.ref_id(), -1);
  EXPECT_EQ(record.next_ref_id(), -1);
}

TEST(SamParse, AReferenceThatTheMapLacksIsNone) {
  Line line;
  line.rname = line.rnext = "chrZ";
  EXPECT_EQ(parse(line).ref_id(), -1);
  EXPECT_EQ(parse(line).next_ref_id(), -1);
}

TEST(SamParse, AStarThatTheMapHoldsIsLookedUp) {
  Line line;
  line.rname = "*";
  const Alignment record(line.text(), ReferenceMap{{"*", 7}});
  EXPECT_EQ(record.ref_id(), 7);
}

TEST(SamParse, TheMatesReferenceIsLookedUpBeforeTheEqualSignCounts) {
  Line line;
  line.rnext = "chr2";
  EXPECT_EQ(parse(line).next_ref_id(), 1);
  const Alignment record(Line().text(), ReferenceMap{{"chr1", 0}, {"=", 5}});
  EXPECT_EQ(record.next_ref_id(), 5);
}

TEST(SamParse, AnEqualSignForTheMateOfNoReferenceIsNone) {
  Line line;
  line.rname = "*";
  EXPECT_EQ(parse(line).next_ref_id(), -1);
}

TEST(SamParse, NumbersFollowTheRulesOfStrtol) {
  Line line;
  const std::vector<std::pair<std::string, int>> rows = {{"7", 7},
                                                         {"007", 7},
                                                         {"+7", 7},
                                                         {" 7", 7},
                                                         {"-7", -7},
                                                         {"7x", 7},
                                                         {"x", 0},
                                                         {"", 0},
                                                         {"-", 0},
                                                         {"4294967297", 1},
                                                         {"2147483647", 2147483647},
                                                         {"9223372036854775808", -1},
                                                         {"-99999999999999999999", 0}};
  for (const auto& [text, value] : rows) {
    line.tlen = text;
    EXPECT_EQ(parse(line).tlen(), value) << text;
  }
}

TEST(SamParse, NumbersKeepTheLowBitsOfTheirFields) {
  Line line;
  line.flag = "65540";
  line.mapq = "257";
  line.pos = "4294967297";
  const Alignment record = parse(line);
  EXPECT_EQ(record.flag(), 4);
  EXPECT_EQ(record.mapq(), 1);
  EXPECT_EQ(record.pos(), 0);
}

TEST(SamParse, NegativeNumbersKeepTheLowBitsOfTheirFields) {
  Line line;
  line.flag = line.mapq = "-1";
  line.pos = line.pnext = line.tlen = "-5";
  const Alignment record = parse(line);
  EXPECT_EQ(record.flag(), 65535);
  EXPECT_EQ(record.mapq(), 255);
  EXPECT_EQ(record.pos(), -6);
  EXPECT_EQ(record.next_pos(), -6);
  EXPECT_EQ(record.tlen(), -5);
}

TEST(SamParse, EveryNumberFieldWithoutDigitsIsZero) {
  Line line;
  line.flag = line.pos = line.mapq = line.pnext = line.tlen = "";
  const Alignment record = parse(line);
  EXPECT_EQ(record.flag(), 0);
  EXPECT_EQ(record.pos(), -1);
  EXPECT_EQ(record.mapq(), 0);
  EXPECT_EQ(record.next_pos(), -1);
  EXPECT_EQ(record.tlen(), 0);
}

TEST(SamParse, PositionZeroIsNone) {
  Line line;
  line.pos = line.pnext = "0";
  EXPECT_EQ(parse(line).pos(), -1);
  EXPECT_EQ(parse(line).next_pos(), -1);
}

TEST(SamParse, TheLowestPositionHasNoPredecessorAndWraps) {
  Line line;
  line.pos = "-9223372036854775808";
  EXPECT_EQ(parse(line).pos(), -1);
}

TEST(SamParse, AnEmptyOrLongNameIsStoredUpTo254Characters) {
  Line line;
  for (const std::size_t length : {std::size_t{0}, std::size_t{1}, std::size_t{254}}) {
    line.qname = std::string(length, 'q');
    const Alignment record = parse(line);
    EXPECT_EQ(record.l_read_name(), static_cast<int>(length) + 1);
    EXPECT_EQ(record.read_name_text(), line.qname);
    EXPECT_EQ(record.seq_string(), "ACGTACGTAC");
  }
}

TEST(SamParse, AStarNameIsStoredAsText) {
  Line line;
  line.qname = "*";
  EXPECT_EQ(parse(line).read_name_text(), "*");
}

TEST(SamParse, TheSequenceLengthIsTakenModulo256) {
  Line line;
  line.seq = std::string(300, 'G');
  line.qual = std::string(300, 'I');
  const Alignment record = parse(line);
  EXPECT_EQ(record.l_seq(), 44);
  EXPECT_EQ(record.seq_string(), std::string(44, 'G'));
  EXPECT_EQ(quals(record), std::vector<int>(44, 40));
  line.seq = std::string(256, 'G');
  EXPECT_EQ(parse(line).l_seq(), 0);
}

TEST(SamParse, LettersPastTheKeptOnesAreNotLookedAt) {
  Line line;
  line.seq = "AC" + std::string(256, '?');
  EXPECT_EQ(parse(line).seq_string(), "AC");
}

TEST(SamParse, EveryBaseLetterPacksToItsCode) {
  Line line;
  line.seq = Alignment::seq_key;
  line.qual = std::string(16, 'I');
  EXPECT_EQ(parse(line).seq_string(), Alignment::seq_key);
  for (std::size_t first = 0; first < 16; ++first) {
    for (std::size_t second = 0; second < 16; ++second) {
      line.seq = {Alignment::seq_key[first], Alignment::seq_key[second]};
      EXPECT_EQ(parse(line).seq_bytes()[0], first << 4 | second);
    }
  }
}

TEST(SamParse, AnOddLengthLeavesTheLastLowNibbleZero) {
  Line line;
  line.seq = "NNN";
  const Alignment record = parse(line);
  EXPECT_EQ(record.seq_bytes()[0], 0xFF);
  EXPECT_EQ(record.seq_bytes()[1], 0xF0);
}

TEST(SamParse, AnEmptySequenceHasNoBases) {
  Line line;
  line.seq = "";
  EXPECT_EQ(parse(line).l_seq(), 0);
  EXPECT_EQ(parse(line).seq_string(), "*");
}

TEST(SamParse, AStarQualityBeforeOptionalFieldsIsMissing) {
  Line line;
  line.qual = "*";
  line.tags = "\tNM:i:1";
  EXPECT_EQ(quals(parse(line)), std::vector<int>(10, 0xFF));
  EXPECT_EQ(parse(line).qual_string(), "*");
}

TEST(SamParse, AStarQualityThatEndsTheLineIsReadAsText) {
  Line line;
  line.qual = "*";
  std::vector<int> expected(10, 0xFF);
  expected[0] = '*' - 33;
  EXPECT_EQ(quals(parse(line)), expected);
}

TEST(SamParse, AStarThatBeginsOtherQualitiesIsText) {
  Line line;
  line.qual = "*IIIIIIIII";
  line.tags = "\tNM:i:1";
  EXPECT_EQ(parse(line).qual_string(), line.qual);
  line.qual = "**";
  EXPECT_EQ(quals(parse(line))[0], '*' - 33);
  EXPECT_EQ(quals(parse(line))[1], '*' - 33);
}

TEST(SamParse, EmptyQualitiesBeforeOptionalFieldsReadOnThroughTheLine) {
  Line line;
  line.seq = "ACG";
  line.qual = "";
  line.tags = "\tNM:i:1";
  EXPECT_EQ(quals(parse(line)), (std::vector<int>{('\t' - 33) & 0xFF, 'N' - 33, 'M' - 33}));
}

TEST(SamParse, ShortQualitiesReadOnThroughTheLine) {
  Line line;
  line.qual = "III";
  line.tags = "\tNM:i:1";
  EXPECT_EQ(quals(parse(line)),
            (std::vector<int>{40, 40, 40, ('\t' - 33) & 0xFF, 'N' - 33, 'M' - 33, ':' - 33,
                              'i' - 33, ':' - 33, '1' - 33}));
  EXPECT_EQ(tags(parse(line)), std::string("NMi\1\0\0\0", 7));
}

TEST(SamParse, LongQualitiesAreCut) {
  Line line;
  line.qual = "IIIIIIIIIIJJJJ";
  EXPECT_EQ(quals(parse(line)), std::vector<int>(10, 40));
}

TEST(SamParse, QualitiesBelowTheOffsetWrap) {
  Line line;
  line.qual = std::string("\x01 !\"######", 10);
  EXPECT_EQ(quals(parse(line))[0], 224);
  EXPECT_EQ(quals(parse(line))[1], 255);
  EXPECT_EQ(quals(parse(line))[2], 0);
}

TEST(SamParse, QualitiesOfEveryLengthAndByteAreTheirValueLess33) {
  for (std::size_t length = 0; length < 256; ++length) {
    Line line;
    line.seq = std::string(length, 'A');
    line.qual.clear();
    std::vector<int> expected;
    for (std::size_t i = 0; i < length; ++i) {
      const std::size_t byte = (i * 7 + length) % 256 == '\t' ? 'x' : (i * 7 + length) % 256;
      line.qual += static_cast<char>(byte);
      expected.push_back(static_cast<int>(byte - 33) & 0xFF);
    }
    line.tags = "\tNM:i:1";
    if (line.qual != "*") {
      ASSERT_EQ(quals(parse(line)), expected) << length;
    }
  }
}

TEST(SamParse, OptionalFieldsFollowTheQualities) {
  Line line;
  line.tags = "\tNM:i:1\tXA:Z:hi";
  EXPECT_EQ(tags(parse(line)), std::string("NMi\1\0\0\0XAZhi\0", 13));
}

TEST(SamParse, AnOptionalNumberTakesSevenBytes) {
  Line line;
  const int without = parse(line).block_size();
  line.tags = "\tNM:i:1";
  EXPECT_EQ(parse(line).block_size(), without + 7);
}

TEST(SamParse, EmptyOptionalFieldsAreSkipped) {
  Line line;
  for (const char* fields : {"\t", "\t\t", "\t\t\t\t"}) {
    line.tags = fields;
    EXPECT_EQ(tags(parse(line)), "") << fields;
  }
  line.tags = "\t\tNM:i:1\t\tXC:A:x\t";
  EXPECT_EQ(tags(parse(line)), std::string("NMi\1\0\0\0XCAx", 11));
}

TEST(SamParse, ALineThatEndsAfterTheTenthTabHasMissingBytesForQualities) {
  Line line;
  line.qual = "";
  EXPECT_EQ(quals(parse(line)), std::vector<int>(10, 0xFF));
}

TEST(SamParse, TheReverseTablesHoldEveryKeyLetterAndNothingElse) {
  const std::string ops_key = Alignment::cigar_key;
  const std::string bases_key = Alignment::seq_key;
  for (std::size_t c = 0; c < 256; ++c) {
    const auto op = ops_key.find(static_cast<char>(c));
    const auto base = bases_key.find(static_cast<char>(c));
    EXPECT_EQ(Alignment::cigar_rev_key[c], op == std::string::npos ? 0xFF : op);
    EXPECT_EQ(Alignment::seq_rev_key[c], base == std::string::npos ? 0xFF : base);
  }
}

TEST(SamParse, StrtolIdxReadsFromAnIndexAndTellsWhereItStopped) {
  std::size_t end = 0;
  EXPECT_EQ(Alignment::strtol_idx("ab12cd", 2, &end), 12);
  EXPECT_EQ(end, 4U);
  EXPECT_EQ(Alignment::strtol_idx("abff", 2, &end, 16), 255);
  EXPECT_EQ(end, 4U);
  EXPECT_EQ(Alignment::strtol_idx("ab", 1, &end), 0);
  EXPECT_EQ(end, 1U);
  EXPECT_EQ(Alignment::strtol_idx("12", 9, &end), 0);
  EXPECT_EQ(end, 2U);
  EXPECT_EQ(Alignment::strtol_idx("x12", 1), 12);
}

TEST(SamParse, StrtofIdxReadsFromAnIndexAndTellsWhereItStopped) {
  std::size_t end = 0;
  EXPECT_EQ(Alignment::strtof_idx("x1.5e1,", 1, &end), 15.0F);
  EXPECT_EQ(end, 6U);
  EXPECT_EQ(Alignment::strtof_idx("xyz", 1, &end), 0.0F);
  EXPECT_EQ(end, 1U);
  EXPECT_EQ(Alignment::strtof_idx("x1.5", 1), 1.5F);
}

}  // namespace
}  // namespace readkit::records_sam_parse_test
