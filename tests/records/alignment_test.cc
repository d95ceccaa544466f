// A record's fields and their text. Its storage, its order and its NH field have files of their
// own.
#include "records/alignment.h"

#include <climits>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

#include <gtest/gtest.h>

#include "support/expect_kind.h"
#include "support/random_data.h"
#include "support/record_builder.h"
#include "support/reference_decoder.h"

namespace readkit::records_alignment_test {
namespace {

Alignment simple() {
  return RecordBuilder("read")
      .at(3, 99)
      .mate(4, 199)
      .mapq(60)
      .bin(4681)
      .flag(99)
      .tlen(-110)
      .cigar("2S3M")
      .seq("ACGTN")
      .quals({0, 1, 2, 40, 93})
      .tag("NH", 'C', 3)
      .record();
}

BamHeader header_of(const std::vector<std::string>& names) {
  BamHeader header;
  for (const std::string& name : names) header.add_reference(name, 1000);
  return header;
}

// ---- Fields -----------------------------------------------------------------------------------

TEST(Alignment, FieldsAreReadInPlace) {
  const Alignment record = simple();
  EXPECT_EQ(record.ref_id(), 3);
  EXPECT_EQ(record.pos(), 99);
  EXPECT_EQ(record.l_read_name(), 5);
  EXPECT_EQ(record.mapq(), 60);
  EXPECT_EQ(record.bin(), 4681);
  EXPECT_EQ(record.n_cigar_op(), 2);
  EXPECT_EQ(record.flag(), 99);
  EXPECT_EQ(record.l_seq(), 5);
  EXPECT_EQ(record.next_ref_id(), 4);
  EXPECT_EQ(record.next_pos(), 199);
  EXPECT_EQ(record.tlen(), -110);
  EXPECT_STREQ(record.read_name(), "read");
  EXPECT_EQ(record.block_size(), 32 + 5 + 8 + 3 + 5 + 4);
}

TEST(Alignment, PartsFollowEachOther) {
  const Alignment record = simple();
  EXPECT_EQ(record.cigar_bytes() - record.data(), 37);
  EXPECT_EQ(record.seq_bytes() - record.data(), 45);
  EXPECT_EQ(record.qual_bytes() - record.data(), 48);
  EXPECT_EQ(record.tag_bytes() - record.data(), 53);
  EXPECT_EQ(record.data_end() - record.data(), 57);
}

TEST(Alignment, UnsignedFieldsKeepTheirHighestBit) {
  const Alignment record =
      RecordBuilder(std::string(254, 'n')).mapq(255).flag(65535).bin(65535).record();
  EXPECT_EQ(record.l_read_name(), 255);
  EXPECT_EQ(record.mapq(), 255);
  EXPECT_EQ(record.flag(), 65535);
  EXPECT_EQ(record.bin(), 65535);
}

TEST(Alignment, ReferenceIndexesCanBeSet) {
  Alignment record = simple();
  record.set_ref_id(-1);
  record.set_next_ref_id(1000000);
  EXPECT_EQ(record.ref_id(), -1);
  EXPECT_EQ(record.next_ref_id(), 1000000);
  EXPECT_EQ(record.pos(), 99);
  EXPECT_EQ(record.next_pos(), 199);
}

TEST(Alignment, NameAsTextEndsAtItsFirstNulOrBeforeItsLastByte) {
  const struct {
    std::string stored;
    std::string text;
  } rows[] = {
      {std::string("read\0", 5), "read"},
      {std::string("re\0d\0", 5), "re"},
      {std::string("\0", 1), ""},
      {"", ""},
      {"read", "rea"},  // no NUL: the last byte stands in its place
      {"x", ""},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(RecordBuilder().stored_name(row.stored).record().read_name_text(), row.text);
  }
}

TEST(Alignment, KeysAndMissingText) {
  EXPECT_STREQ(Alignment::cigar_key, "MIDNSHP=X");
  EXPECT_STREQ(Alignment::seq_key, "=ACMGRSVTWYHKDBN");
  EXPECT_STREQ(Alignment::FieldMissingStr, "*");
}

// ---- Well-formedness --------------------------------------------------------------------------

TEST(Alignment, IsWellFormedWhenItsPartsLieWithinTheBlock) {
  const std::string block = RecordBuilder("r").cigar("5M").seq("ACGTA").block();
  EXPECT_TRUE(record_of(block).is_well_formed());
  EXPECT_TRUE(record_of(block + "tags").is_well_formed());
  for (std::size_t size = 0; size < block.size(); ++size) {
    EXPECT_FALSE(record_of(block.substr(0, size)).is_well_formed()) << size;
  }
}

TEST(Alignment, FieldsThatDoNotFitIntoTheBlockAreNotWellFormed) {
  const RecordBuilder sound = RecordBuilder("r").cigar("5M").seq("ACGTA");
  EXPECT_FALSE(RecordBuilder(sound).l_read_name(3).record().is_well_formed());
  EXPECT_FALSE(RecordBuilder(sound).n_cigar_op(2).record().is_well_formed());
  EXPECT_FALSE(RecordBuilder(sound).n_cigar_op(65535).record().is_well_formed());
  EXPECT_FALSE(RecordBuilder(sound).l_seq(6).record().is_well_formed());
  EXPECT_FALSE(RecordBuilder(sound).l_seq(INT_MAX).record().is_well_formed());
  EXPECT_FALSE(RecordBuilder(sound).l_seq(-1).record().is_well_formed());
  EXPECT_FALSE(RecordBuilder(sound).l_seq(INT_MIN).record().is_well_formed());
}

TEST(Alignment, NameOfLengthZeroOrWithoutNulIsWellFormed) {
  EXPECT_TRUE(RecordBuilder().stored_name("").record().is_well_formed());
  EXPECT_TRUE(RecordBuilder().stored_name("abc").record().is_well_formed());
}

// ---- CIGAR ------------------------------------------------------------------------------------

TEST(Alignment, CigarEndIsExclusive) {
  const struct {
    const char* cigar;
    int end;
  } rows[] = {
      {"*", 100},  // one past the position
      {"10M", 109}, {"5S10M2I3D4N1=1X3H", 99 + 10 + 3 + 4 + 1 + 1},
      {"5S", 99},   {"5I", 99},
      {"5H5P", 99}, {"0M", 99},
      {"1M", 100},  {"3D", 102},
      {"7N", 106},  {"7=", 106},
      {"7X", 106},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(RecordBuilder().at(0, 99).cigar(row.cigar).record().cigar_endpos(), row.end)
        << row.cigar;
  }
}

TEST(Alignment, CigarEndOfAnUnplacedRecordIsZero) {
  EXPECT_EQ(RecordBuilder().record().cigar_endpos(), 0);
}

TEST(Alignment, OpCodesWithoutALetterPrintAsQuestionMarksAndCoverNothing) {
  RecordBuilder builder = RecordBuilder().at(0, 99).cigar("1M");
  for (unsigned code = 9; code < 16; ++code) builder.cigar_op(code, code);
  const Alignment record = builder.record();
  EXPECT_EQ(record.cigar_string(), "1M9?10?11?12?13?14?15?");
  EXPECT_EQ(record.cigar_endpos(), 100);
}

TEST(Alignment, LengthsOf28BitsAreUnsigned) {
  const Alignment record = RecordBuilder().at(0, 0).cigar_op(0xfffffff, 0).record();
  EXPECT_EQ(record.cigar_string(), "268435455M");
  EXPECT_EQ(record.cigar_endpos(), 268435455);
}

TEST(Alignment, CigarEndBeyond32BitsIsClamped) {
  RecordBuilder builder = RecordBuilder().at(0, 1000);
  for (int i = 0; i < 9; ++i) builder.cigar_op(0xfffffff, 3);
  EXPECT_EQ(builder.record().cigar_endpos(), INT_MAX);
  EXPECT_EQ(RecordBuilder().at(0, INT_MAX).record().cigar_endpos(), INT_MAX);
  EXPECT_EQ(RecordBuilder().at(0, INT_MAX - 5).cigar("5M").record().cigar_endpos(), INT_MAX);
}

TEST(Alignment, CigarPrintsLengthsAndLetters) {
  for (const char* cigar : {"*", "10M", "5S10M2I3D4N1=1X3H", "0M", "1P", "123456789X"}) {
    EXPECT_EQ(RecordBuilder().cigar(cigar).record().cigar_string(), cigar);
  }
}

TEST(Alignment, CigarOfAllOpsIsPrinted) {
  RecordBuilder builder;
  std::string text;
  for (int i = 0; i < 65535; ++i) {
    builder.cigar_op(static_cast<std::uint32_t>(i), static_cast<unsigned>(i % 9));
    text += std::to_string(i) + "MIDNSHP=X"[i % 9];
  }
  EXPECT_TRUE(builder.record().cigar_string() == text);
}

// Names of 224 bytes and more: the CIGAR's offset wraps at 256, that of the sequence does not.
TEST(Alignment, CigarOffsetWrapsForLongNames) {
  const struct {
    std::size_t name_length;  // without the NUL
    std::ptrdiff_t offset;
  } rows[] = {{222, 255}, {223, 0}, {224, 1}, {230, 7}, {254, 31}};
  for (const auto& row : rows) {
    const std::string name(row.name_length, 'n');
    const Alignment record = RecordBuilder(name).at(0, 99).cigar("7M").seq("ACGT").record();
    EXPECT_EQ(record.cigar_bytes() - record.data(), row.offset);
    EXPECT_EQ(record.seq_bytes() - record.data(), 32 + record.l_read_name() + 4);
    EXPECT_EQ(record.seq_string(), "ACGT");
  }
}

TEST(Alignment, CigarOfALongNameIsReadFromTheWrappedOffset) {
  // At offset 0 stands the reference index, at offset 4 the position.
  const std::string name(223, 'n');
  EXPECT_EQ(RecordBuilder(name).at(5 << 4, 99).cigar("7M").record().cigar_string(), "5M");
  EXPECT_EQ(RecordBuilder(name).at(5 << 4 | 2, 99).cigar("7M").record().cigar_string(), "5D");
  EXPECT_EQ(RecordBuilder(name).at(5 << 4, 99).cigar("7M").record().cigar_endpos(), 104);
  const std::string longer(227, 'n');
  EXPECT_EQ(RecordBuilder(longer).at(0, 9 << 4 | 4).cigar("7M").record().cigar_string(), "9S");
}

TEST(Alignment, CigarOfANameOf223BytesIsItsOwn) {
  const std::string name(222, 'n');
  EXPECT_EQ(RecordBuilder(name).at(5 << 4, 99).cigar("7M").record().cigar_string(), "7M");
}

// ---- Sequence and qualities -------------------------------------------------------------------

TEST(Alignment, SequencePrintsItsLetters) {
  for (const char* letters : {"*", "A", "AC", "ACG", "=ACMGRSVTWYHKDBN", "NBDKHYWTVSRGMCA="}) {
    EXPECT_EQ(RecordBuilder().seq(letters).record().seq_string(), letters);
  }
}

TEST(Alignment, LastLowNibbleOfAnOddLengthIsNotPrinted) {
  EXPECT_EQ(RecordBuilder().seq("ACGT").l_seq(3).record().seq_string(), "ACG");
}

TEST(Alignment, QualitiesPrintWith33Added) {
  const struct {
    std::vector<int> values;
    std::string text;
  } rows[] = {
      {{0, 40}, "!I"},
      {{93}, "~"},
      {{94, 222}, std::string("\x7f\xff")},
      {{223, 224}, std::string("\0\1", 2)},  // modulo 256
      {{255, 255, 255}, "*"},
      {{255, 0, 255}, "\x20!\x20"},  // only some are 0xFF
      {{0, 255}, "!\x20"},
      {{255}, "*"},
      {{254}, "\x1f"},
  };
  for (const auto& row : rows) {
    const std::string letters(row.values.size(), 'A');
    const Alignment record = RecordBuilder().seq(letters).quals(row.values).record();
    EXPECT_EQ(record.qual_string(), row.text);
  }
}

TEST(Alignment, MissingQualitiesAreRecognisedAtEveryLength) {
  for (int length = 1; length < 200; ++length) {
    std::vector<int> values(static_cast<std::size_t>(length), 255);
    const std::string letters(values.size(), 'A');
    EXPECT_EQ(RecordBuilder().seq(letters).quals(values).record().qual_string(), "*");
    for (const std::size_t at : {std::size_t{0}, values.size() / 2, values.size() - 1}) {
      std::vector<int> present = values;
      present[at] = 7;
      std::string text(values.size(), '\x20');
      text[at] = '(';
      EXPECT_EQ(RecordBuilder().seq(letters).quals(present).record().qual_string(), text);
    }
  }
}

TEST(Alignment, SequenceAndQualitiesOfNoLengthPrintAsMissing) {
  EXPECT_EQ(RecordBuilder().record().seq_string(), "*");
  EXPECT_EQ(RecordBuilder().record().qual_string(), "*");
  EXPECT_EQ(RecordBuilder().l_seq(-1).record().seq_string(), "*");
  EXPECT_EQ(RecordBuilder().l_seq(-1).record().qual_string(), "*");
}

TEST(Alignment, RandomRecordsPrintAsTheReferenceDecoderReadsThem) {
  Random random(70);
  for (int i = 0; i < 500; ++i) {
    RecordBuilder builder(random_text(random, random() % 200, "abcXYZ0189:/"));
    builder.at(static_cast<int>(random() % 5) - 1, static_cast<int>(random() % 1000000));
    for (std::uint64_t n = random() % 10; n > 0; --n) {
      builder.cigar_op(static_cast<std::uint32_t>(random() % 100000),
                       static_cast<unsigned>(random() % 9));
    }
    const std::string letters = random_text(random, random() % 300, Alignment::seq_key);
    std::vector<int> values;
    for (std::size_t j = 0; j < letters.size(); ++j) {
      values.push_back(static_cast<int>(random() % 94));
    }
    const Alignment record = builder.seq(letters).quals(values).record();
    const DecodedRecord expected = decode_record(builder.bytes());
    ASSERT_EQ(record.read_name_text(), expected.name);
    ASSERT_EQ(record.cigar_string(), expected.cigar);
    ASSERT_EQ(record.cigar_endpos(), expected.end);
    ASSERT_EQ(record.seq_string(), expected.seq);
    ASSERT_EQ(record.qual_string(), expected.qual);
  }
}

// ---- Reference names --------------------------------------------------------------------------

TEST(Alignment, ReferenceNamesComeFromTheDictionary) {
  const BamHeader header = header_of({"chr1", "chr2"});
  const Alignment record = RecordBuilder().at(1, 5).mate(0, 7).record();
  EXPECT_EQ(record.ref_name(header), "chr2");
  EXPECT_EQ(record.next_ref_name(header), "chr1");
}

TEST(Alignment, NegativeReferenceIsMissing) {
  const BamHeader header = header_of({"chr1"});
  for (const int id : {-1, -2, INT_MIN}) {
    const Alignment record = RecordBuilder().at(id, 5).mate(id, 7).record();
    EXPECT_EQ(record.ref_name(header), "*");
    EXPECT_EQ(record.next_ref_name(header), "*");
  }
}

TEST(Alignment, ReferenceBeyondTheDictionaryRaisesReferenceIDNotFound) {
  const BamHeader header = header_of({"chr1"});
  const Alignment record = RecordBuilder().at(1, 5).mate(77, 7).record();
  EXPECT_KIND(record.ref_name(header), ReferenceIDNotFound, u"1");
  EXPECT_KIND(record.next_ref_name(header), ReferenceIDNotFound, u"77");
}

TEST(Alignment, ReferencesAreRenumbered) {
  Alignment record = RecordBuilder().at(3, 5).mate(4, 7).record();
  record.update_ref_ids({{3, 0}, {4, 1}});
  EXPECT_EQ(record.ref_id(), 0);
  EXPECT_EQ(record.next_ref_id(), 1);
}

TEST(Alignment, RenumberingWithoutTheMatesReferenceDropsIt) {
  Alignment record = RecordBuilder().at(3, 5).mate(4, 7).record();
  record.update_ref_ids({{3, 0}});
  EXPECT_EQ(record.ref_id(), 0);
  EXPECT_EQ(record.next_ref_id(), -1);
  EXPECT_EQ(record.next_pos(), 7);
}

TEST(Alignment, RenumberingWithoutTheRecordsReferenceRaisesTheStandardError) {
  Alignment record = RecordBuilder().at(3, 5).mate(4, 7).record();
  EXPECT_STD(record.update_ref_ids({{4, 1}}), std::out_of_range,
             "unordered_map::at: key not found");
  EXPECT_STD(record.update_ref_ids({}), std::out_of_range, "unordered_map::at: key not found");
}

TEST(Alignment, RenumberingUnplacedRecordsNeedsMinusOneInTheMap) {
  Alignment record = RecordBuilder().record();
  EXPECT_STD(record.update_ref_ids({{0, 0}}), std::out_of_range,
             "unordered_map::at: key not found");
  record.update_ref_ids({{-1, -1}});
  EXPECT_EQ(record.ref_id(), -1);
}

}  // namespace
}  // namespace readkit::records_alignment_test
