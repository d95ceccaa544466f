// The CIGAR field of a line: its ops, and the bin that follows from them.
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "records/alignment.h"
#include "records/bins.h"
#include "records/reference_map.h"
#include "support/reference_decoder.h"
#include "support/sam_line.h"

namespace readkit::records_sam_parse_cigar_test {
namespace {

using Line = SamLine;

Alignment parse(const Line& line) { return Alignment(line.text(), ReferenceMap{{"chr1", 0}}); }

std::vector<std::uint32_t> ops(const Alignment& record) {
  std::vector<std::uint32_t> words;
  for (int i = 0; i < record.n_cigar_op(); ++i) {
    words.push_back(load<std::uint32_t>(record.cigar_bytes() + 4 * i));
  }
  return words;
}

TEST(SamParseCigar, EveryOpLetterHasItsCode) {
  Line line;
  line.cigar = "1M2I3D4N5S6H7P8=9X";
  const Alignment record = parse(line);
  EXPECT_EQ(record.cigar_string(), line.cigar);
  EXPECT_EQ(record.cigar_endpos(), 99 + 1 + 3 + 4 + 8 + 9);
  EXPECT_EQ(record.bin(), reg2bin(99, 99 + 1 + 3 + 4 + 8 + 9));
}

TEST(SamParseCigar, ClipsAndInsertionsDoNotCoverTheReference) {
  Line line;
  line.cigar = "3S5M2D";
  EXPECT_EQ(parse(line).n_cigar_op(), 3);
  EXPECT_EQ(parse(line).bin(), reg2bin(99, 106));
}

TEST(SamParseCigar, ALetterWithoutDigitsIsAnOpOfLengthZero) {
  Line line;
  line.cigar = "MMM";
  EXPECT_EQ(ops(parse(line)), (std::vector<std::uint32_t>{0, 0, 0}));
}

TEST(SamParseCigar, AStarOrAnEmptyCigarGivesNoOps) {
  Line line;
  for (const char* cigar : {"*", ""}) {
    line.cigar = cigar;
    EXPECT_EQ(parse(line).n_cigar_op(), 0) << cigar;
    EXPECT_EQ(parse(line).bin(), reg2bin(99, 99)) << cigar;
  }
}

TEST(SamParseCigar, ACigarLengthKeepsItsLow28Bits) {
  Line line;
  line.cigar = "268435455M268435456M99999999999999999999M";
  EXPECT_EQ(ops(parse(line)), (std::vector<std::uint32_t>{0xFFFFFFF0, 0, 0xFFFFFFF0}));
}

TEST(SamParseCigar, ACigarLengthFollowsTheRulesOfStrtol) {
  Line line;
  line.cigar = "+5M 6I-1S007D";
  EXPECT_EQ(ops(parse(line)),
            (std::vector<std::uint32_t>{5 << 4 | 0, 6 << 4 | 1, 0xFFFFFFF4, 7 << 4 | 2}));
}

// The op keeps 28 bits of a length; the interval that gives the bin has it as it is written.
TEST(SamParseCigar, TheBinIsThatOfTheLengthsAsWritten) {
  const struct {
    const char* cigar;
    std::int64_t span;
  } rows[] = {
      {"-5M", -5},
      {"20000M-15000M", 5000},
      {"-200M", -200},
      {"268435456M", 268435456},
      {"268435457M-268435456D", 1},
      {"1000000000N", 1000000000},
      {"4294967296I10M", 10},
      {"-70000S10M", 10},
      {"20000M-4294967296S", 20000},
  };
  for (const auto& row : rows) {
    Line line;
    line.cigar = row.cigar;
    line.pos = "10001";
    const auto expected = static_cast<std::uint16_t>(slow_bin(10000, 10000 + row.span));
    EXPECT_EQ(parse(line).bin(), expected) << row.cigar;
  }
}

TEST(SamParseCigar, TheBinsIntervalIsClampedTo32Bits) {
  Line line;
  // The first length counts as 2147483647, so that the second one leaves 5 bases of it.
  line.cigar = "99999999999M-2147483642M";
  EXPECT_EQ(parse(line).bin(), slow_bin(99, 104));
  line.cigar = "-99999999999M2147483647M6M";  // -2147483648, and all but one of it back
  EXPECT_EQ(parse(line).bin(), slow_bin(99, 104));
  line.cigar = "2147483647M2147483647M";
  line.pos = "2147483640";
  EXPECT_EQ(parse(line).bin(), static_cast<std::uint16_t>(slow_bin(2147483639, 2147483647)));
}

TEST(SamParseCigar, TheBinOfNoPositionIsThatOfTheIntervalFromMinusOne) {
  Line line;
  line.pos = "0";
  line.cigar = "*";
  EXPECT_EQ(parse(line).bin(), static_cast<std::uint16_t>(reg2bin(-1, -1)));
  EXPECT_EQ(parse(line).bin(), 4680);
  line.cigar = "10M";
  EXPECT_EQ(parse(line).bin(), 0);
}

}  // namespace
}  // namespace readkit::records_sam_parse_cigar_test
