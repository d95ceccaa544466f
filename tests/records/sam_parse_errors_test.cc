// Lines that cannot be parsed, and lines that are damaged in every way.
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "records/alignment.h"
#include "records/reference_map.h"
#include "support/expect_kind.h"
#include "support/random_data.h"
#include "support/sam_line.h"

namespace readkit::records_sam_parse_errors_test {
namespace {

using Line = SamLine;

ReferenceMap references() { return {{"chr1", 0}, {"chr2", 1}}; }

Alignment parse(const std::string& line) { return Alignment(line, references()); }
Alignment parse(const Line& line) { return parse(line.text()); }

TEST(SamParseErrors, ACigarLetterThatIsNoneIsMalformed) {
  Line line;
  for (const char* cigar : {"5m", "5M*", "5Z", "**", "-", "5 M"}) {
    line.cigar = cigar;
    EXPECT_KIND(parse(line), InvalidSAMFormat, u"") << cigar;
  }
}

TEST(SamParseErrors, ACigarThatEndsInDigitsIsOutOfRange) {
  Line line;
  line.cigar = "5M10";
  EXPECT_STD(parse(line), std::out_of_range, "basic_string");
}

TEST(SamParseErrors, As16BitsHoldThemUpTo65535OpsAreTaken) {
  Line line;
  line.cigar.clear();
  for (int i = 0; i < 65535; ++i) line.cigar += "1M";
  EXPECT_EQ(parse(line).n_cigar_op(), 65535);
  line.cigar += "1M";
  EXPECT_KIND(parse(line), InvalidSAMFormat, u"");
}

TEST(SamParseErrors, ANameOf255CharactersIsMalformed) {
  Line line;
  line.qname = std::string(255, 'q');
  EXPECT_KIND(parse(line), InvalidSAMFormat, u"");
}

TEST(SamParseErrors, EveryOtherSequenceLetterIsMalformedWhereverItStands) {
  const std::string key = Alignment::seq_key;
  for (int c = 0; c < 256; ++c) {
    const char letter = static_cast<char>(c);
    if (letter == '\t' || key.find(letter) != std::string::npos) continue;
    for (std::size_t at = 0; at < 3; ++at) {
      Line line;
      line.seq = "ACG";
      line.seq[at] = letter;
      EXPECT_KIND(parse(line), InvalidSAMFormat, u"") << c << " at " << at;
    }
  }
}

TEST(SamParseErrors, AStarSequenceIsMalformed) {
  Line line;
  line.seq = "*";
  EXPECT_KIND(parse(line), InvalidSAMFormat, u"");
}

TEST(SamParseErrors, AnArrayFieldEndsTheParseWithTheNumberError) {
  Line line;
  line.tags = "\tXB:B:c,1,2";
  EXPECT_STD(parse(line), std::invalid_argument, "stol");
  line.tags = "\tXB:B:f,1,2";
  EXPECT_STD(parse(line), std::invalid_argument, "stof");
}

TEST(SamParseErrors, ATabMissingAfterAnyOfTheFirstTenFieldsIsMalformed) {
  const std::string line = Line().text();
  std::size_t end = 0;
  for (int field = 0; field < 10; ++field) {
    end = line.find('\t', end);
    EXPECT_KIND(parse(line.substr(0, end)), InvalidSAMFormat, u"") << field;
    ++end;
  }
  EXPECT_KIND(parse(std::string()), InvalidSAMFormat, u"");
}

TEST(SamParseErrors, ErrorsComeInTheOrderOfTheFields) {
  Line line;
  line.cigar = "10";
  line.seq = "acgt";
  EXPECT_STD(parse(line), std::out_of_range, "basic_string");
}

TEST(SamParseErrors, AnOptionalFieldThatIsTooShortIsMalformed) {
  Line line;
  for (const char* tags :
       {"\tN", "\tNM", "\tNM:", "\tNM:i", "\tXC:A:", "\tNM:i:1\tX", "\tX\tNM:i:1"}) {
    line.tags = tags;
    EXPECT_KIND(parse(line), InvalidSAMFormat, u"") << tags;
  }
}

TEST(SamParseErrors, AHexFieldThatHoldsNoDigitsEndsTheParseWithTheNumberError) {
  Line line;
  line.tags = "\tXH:H:xy";
  EXPECT_STD(parse(line), std::invalid_argument, "stol");
}

TEST(SamParseErrors, ALineOfTabsAloneHasEmptyFields) {
  EXPECT_KIND(parse(std::string(9, '\t')), InvalidSAMFormat, u"");
  const Alignment record = parse(std::string(10, '\t'));
  EXPECT_TRUE(record.is_well_formed());
  EXPECT_EQ(record.read_name_text(), "");
  EXPECT_EQ(record.ref_id(), -1);
  EXPECT_EQ(record.pos(), -1);
  EXPECT_EQ(record.n_cigar_op(), 0);
  EXPECT_EQ(record.l_seq(), 0);
}

// A copy of its own size, so that a byte read past it is seen.
Alignment parse_exactly(std::string_view line) {
  const std::vector<char> exact(line.begin(), line.end());
  return Alignment(std::string_view(exact.data(), exact.size()), references());
}

TEST(SamParseErrors, EveryPrefixOfALineIsARecordOrMalformed) {
  Line line;
  line.tags = "\tNM:i:1\tXA:Z:hello\tXH:H:1AE3\tXF:f:1.5\tXC:A:x";
  const std::string text = line.text();
  const std::size_t qualities = text.size() - line.tags.size() - line.qual.size();
  for (std::size_t length = 0; length <= text.size(); ++length) {
    const std::string prefix = text.substr(0, length);
    const std::string last = prefix.substr(prefix.rfind('\t') + 1);
    const bool is_tag = length > qualities + line.qual.size() && !last.empty();
    if (length < qualities || (is_tag && (last.size() < 5 || last == "XC:A:"))) {
      EXPECT_KIND(parse_exactly(prefix), InvalidSAMFormat, u"") << prefix;
    } else {
      EXPECT_TRUE(parse_exactly(prefix).is_well_formed()) << prefix;
      EXPECT_EQ(parse_exactly(prefix).seq_string(), line.seq) << prefix;
    }
  }
}

TEST(SamParseErrors, RandomChangesOfALineGiveARecordOrADocumentedError) {
  Line line;
  line.tags = "\tNM:i:1\tXA:Z:hello\tXH:H:1AE3\tXF:f:1.5\tXB:B:c,1,2";
  const std::string sound = line.text();
  Random random(11);
  const std::string letters = "\t*=0129ACGTMIDNSHPXBZ:,-+ \x01\xff";
  std::map<std::string, int> outcomes;
  for (int round = 0; round < 20000; ++round) {
    std::string text = sound;
    for (int change = 0; change < 3; ++change) {
      text[random() % text.size()] = letters[random() % letters.size()];
    }
    try {
      EXPECT_TRUE(parse_exactly(text).is_well_formed()) << text;
      ++outcomes["record"];
    } catch (const InvalidSAMFormat& error) {
      EXPECT_EQ(error.arguments(), expected_arguments(u""));
      ++outcomes["malformed"];
    } catch (const std::out_of_range& error) {
      ++outcomes[error.what()];
    } catch (const std::invalid_argument& error) {
      ++outcomes[error.what()];
    }
  }
  // Of these kinds and no others, and all of them met.
  EXPECT_EQ(outcomes.size(), 4U);
  for (const char* outcome : {"record", "malformed", "basic_string", "stol"}) {
    EXPECT_GT(outcomes[outcome], 0) << outcome;
  }
}

}  // namespace
}  // namespace readkit::records_sam_parse_errors_test
