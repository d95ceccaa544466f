// Every rule for one BAM record.
#include "check/record_checks.h"

#include <string>

#include <gtest/gtest.h>

#include "support/check_words.h"
#include "support/record_builder.h"

namespace readkit::check_record_checks_test {
namespace {

const std::vector<Reference>& references() {
  static const std::vector<Reference> both = {{std::string("chr1\0", 5), 1000},
                                              {std::string("chr2\0", 5), 1u << 30}};
  return both;
}

Found found_in(const RecordBuilder& builder, bool has_dictionary = true) {
  Findings findings;
  RecordChecks checks(has_dictionary ? &references() : nullptr, findings);
  const Alignment record = builder.record();
  EXPECT_TRUE(record.is_well_formed());
  checks.check(record, 77, 3);
  return found(findings);
}

// A record that nothing is wrong with.
RecordBuilder sound() {
  return RecordBuilder("read")
      .at(0, 99)
      .mate(1, 5)
      .cigar("2S3M1D3M")
      .seq("ACGTACGT")
      .qual("IIIIIIII");
}

Found only(std::string_view identifier) { return {finding(identifier, 77, 3)}; }

TEST(CheckOfARecord, SoundRecordsPass) {
  EXPECT_EQ(found_in(sound()), Found{});
  EXPECT_EQ(found_in(RecordBuilder("r")), Found{});  // without reference, position, sequence
  EXPECT_EQ(found_in(RecordBuilder("r").at(0, 999).flag(4).seq("A")), Found{});
  EXPECT_EQ(found_in(RecordBuilder("r").at(0, 5).cigar("4M")), Found{});  // no sequence to compare
  EXPECT_EQ(found_in(RecordBuilder("r").at(0, 5).cigar("4I").seq("ACGT").bin(4681)), Found{});
  EXPECT_EQ(found_in(RecordBuilder(std::string(254, 'n')).at(0, 5).cigar("4M").seq("ACGT")),
            Found{});
  // Beyond what bins reach.
  EXPECT_EQ(found_in(RecordBuilder("r").at(1, (1 << 29) + 5).cigar("4M").seq("ACGT").bin(0)),
            Found{});
}

TEST(CheckOfARecord, Names) {
  EXPECT_EQ(found_in(sound().stored_name("read")), only("ReadName"));
  EXPECT_EQ(found_in(sound().stored_name("")), only("ReadName"));
  EXPECT_EQ(found_in(sound().stored_name(std::string("\0", 1))), only("ReadName"));
  EXPECT_EQ(found_in(sound().stored_name(std::string("a b\0", 4))), only("ReadName"));
  EXPECT_EQ(found_in(sound().stored_name(std::string("a\0b\0", 4))), only("ReadName"));
  EXPECT_EQ(found_in(sound().stored_name(std::string("a@b\0", 4))), only("ReadName"));
  EXPECT_EQ(found_in(sound().stored_name(std::string("a\xc3\0", 3))), only("ReadName"));
}

TEST(CheckOfARecord, ReferencesAreThoseOfTheDictionary) {
  EXPECT_EQ(found_in(sound().at(2, 99)), only("Reference"));
  EXPECT_EQ(found_in(sound().at(-2, 99)), only("Reference"));
  EXPECT_EQ(found_in(sound().mate(2, 5)), only("MateReference"));
  EXPECT_EQ(found_in(sound().mate(-2, 5)), only("MateReference"));
  EXPECT_EQ(found_in(sound().at(2, 99).mate(7, 5), false), Found{});
  EXPECT_EQ(found_in(sound().at(-2, 99), false), only("Reference"));
}

TEST(CheckOfARecord, PositionsLieOnTheirReference) {
  const auto at = [](int ref, int pos) {
    return RecordBuilder("r").flag(4).at(ref, pos).seq("ACGT");
  };
  EXPECT_EQ(found_in(at(0, 999)), Found{});
  EXPECT_EQ(found_in(at(0, 1000)), only("Position"));
  EXPECT_EQ(found_in(at(0, -2).bin(0)), only("Position"));
  EXPECT_EQ(found_in(at(0, -1)), Found{});
  EXPECT_EQ(found_in(at(0, 5).mate(0, 999)), Found{});
  EXPECT_EQ(found_in(at(0, 5).mate(0, 1000)), only("MatePosition"));
  EXPECT_EQ(found_in(at(0, 5).mate(-1, -2)), only("MatePosition"));
}

TEST(CheckOfARecord, AlignmentEndsOnItsReference) {
  const auto at = [](int pos) { return RecordBuilder("r").at(0, pos).cigar("4M").seq("ACGT"); };
  EXPECT_EQ(found_in(at(996)), Found{});
  EXPECT_EQ(found_in(at(997)), only("Position"));
  EXPECT_EQ(found_in(at(997).flag(4)), Found{});  // not mapped
  EXPECT_EQ(found_in(at(997), false), Found{});
}

TEST(CheckOfARecord, CigarCoversTheSequence) {
  const auto with = [](std::string_view cigar) {
    return RecordBuilder("r").at(0, 5).seq("ACGTACGT").cigar(cigar);
  };
  for (const char* cigar : {"8M", "4M4I", "4=4X", "2S6M9H", "4M100N4M", "4M5D4M", "8M3P"}) {
    EXPECT_EQ(found_in(with(cigar)), Found{}) << cigar;
  }
  for (const char* cigar : {"7M", "9M", "8M1I", "7M1D", "8M1S", "4M4N"}) {
    EXPECT_EQ(found_in(with(cigar)), only("CigarLength")) << cigar;
  }
}

TEST(CheckOfARecord, CigarOpsAreOfAKnownKind) {
  EXPECT_EQ(found_in(RecordBuilder("r").at(0, 5).seq("AC").cigar_op(2, 9)), only("CigarOp"));
  EXPECT_EQ(found_in(RecordBuilder("r").at(0, 5).seq("AC").cigar_op(2, 15)), only("CigarOp"));
  EXPECT_EQ(found_in(RecordBuilder("r").at(0, 5).seq("AC").cigar_op(2, 9).cigar_op(2, 9)),
            only("CigarOp"));
}

TEST(CheckOfARecord, BinIsThatOfThePositions) {
  EXPECT_EQ(found_in(sound().bin(4682)), only("Bin"));
  EXPECT_EQ(found_in(RecordBuilder("r").bin(0)), only("Bin"));
  EXPECT_EQ(found_in(RecordBuilder("r").bin(4680)), Found{});
  // A record that is not mapped covers one base, or what its CIGAR says.
  const auto wide = [](int flag, int bin) {
    return RecordBuilder("r").at(1, 16383).cigar("2M").flag(flag).bin(bin);
  };
  EXPECT_EQ(found_in(wide(4, 4681)), Found{});
  EXPECT_EQ(found_in(wide(4, 585)), Found{});
  EXPECT_EQ(found_in(wide(0, 585)), Found{});
  EXPECT_EQ(found_in(wide(0, 4681)), only("Bin"));
}

TEST(CheckOfARecord, QualitiesCanBePrintedOrAreAllMissing) {
  EXPECT_EQ(found_in(sound().quals({0, 93, 1, 2, 3, 4, 5, 6})), Found{});
  EXPECT_EQ(found_in(sound().quals({0, 94, 1, 2, 3, 4, 5, 6})), only("Quality"));
  EXPECT_EQ(found_in(sound().quals(std::vector<int>(8, 255))), Found{});
  EXPECT_EQ(found_in(sound().quals({255, 255, 255, 255, 255, 255, 255, 1})), only("Quality"));
}

TEST(CheckOfARecord, OptionalFieldsOfEveryTypePass) {
  EXPECT_EQ(found_in(sound()
                         .tag("AA", 'A', 'x')
                         .tag("Bc", 'c', -1)
                         .tag("C1", 'C', 255)
                         .tag("d2", 's', -300)
                         .tag("E3", 'S', 300)
                         .tag("F4", 'i', -5)
                         .tag("G5", 'I', 5)
                         .tag_float("H6", 0.5F)
                         .tag_text("I7", 'Z', "")
                         .tag_text("J8", 'H', "0AFF")
                         .tag_array("K9", 'S', {1, 2})
                         .tag_array("L0", 'c', {})
                         .tag_floats("M1", {1.5F})),
            Found{});
}

TEST(CheckOfARecord, OptionalFieldsOfAnotherFormAreFound) {
  const auto with = [](std::string bytes) { return sound().tag_bytes(bytes); };
  const std::vector<std::string> wrong = {
      "X",
      "XX",
      "XXC",
      std::string("XXq\1", 4),
      "XXi\1\2\3",                // cut short
      "XXZtext",                  // without its NUL
      "XXZ",                      // without anything
      std::string("XXH0\0", 5),   // half a pair
      std::string("XXHag\0", 6),  // no digits
      std::string("XXA\1", 4),    // cannot be printed
      std::string("1XC\1", 4),    // name
      std::string("X-C\1", 4),
      std::string("XXBZ\1\0\0\0a", 9),  // array of texts
      std::string("XXBq\1\0\0\0a", 9),
      std::string("XXBi\1\0\0\0a", 9),        // array cut short
      std::string("XXBC\xff\xff\xff\xff", 8)  // of a negative length
  };
  for (const std::string& bytes : wrong) {
    EXPECT_EQ(found_in(with(bytes)), only("Tag")) << bytes;
  }
}

TEST(CheckOfARecord, NamesOfOptionalFieldsComeOnce) {
  EXPECT_EQ(found_in(sound().tag("NM", 'C', 1).tag("NH", 'C', 1).tag("NM", 'C', 2)),
            only("TagRepeated"));
  // All names are told apart.
  std::string fields;
  for (char a = 'A'; a <= 'z'; ++a) {
    if (a > 'Z' && a < 'a') continue;
    for (char b = '0'; b <= 'z'; ++b) {
      if ((b > '9' && b < 'A') || (b > 'Z' && b < 'a')) continue;
      fields += std::string{a, b, 'C', '\1'};
    }
  }
  EXPECT_EQ(found_in(sound().tag_bytes(fields)), Found{});
  EXPECT_EQ(found_in(sound().tag_bytes(fields + fields.substr(0, 4))), only("TagRepeated"));
}

TEST(CheckOfARecord, OneRecordAfterTheOther) {
  Findings findings;
  RecordChecks checks(&references(), findings);
  const Alignment record = sound().tag("NM", 'C', 1).record();
  checks.check(record, 1, 1);
  checks.check(record, 2, 2);
  EXPECT_EQ(found(findings), Found{});
}

TEST(CheckOfARecord, CoveredEndFindsTheOpsOfLongNames) {
  const auto named = [](std::size_t length) {
    return RecordBuilder(std::string(length, 'n')).at(0, 10).cigar("5M2D").seq("ACGTA").record();
  };
  EXPECT_EQ(covered_end(named(4)), 17);
  EXPECT_EQ(covered_end(named(254)), 17);
  EXPECT_EQ(covered_end(RecordBuilder("r").at(0, 10).record()), 11);
}

}  // namespace
}  // namespace readkit::check_record_checks_test
