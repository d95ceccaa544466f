#include "convert/fastx.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/random_data.h"
#include "support/record_builder.h"
#include "support/reference_decoder.h"

namespace readkit::convert_fastx_test {
namespace {

// What one of the writers gives, with no more room than it asks for.
template <char* (*kWrite)(const Alignment&, char*)>
std::string text_of(const RecordBuilder& read) {
  constexpr char kBehind = '\x7f';
  constexpr std::size_t kMore = 64;
  const Alignment record = read.record();
  const std::size_t room = max_fastx(record);
  std::string text(room + kMore, kBehind);
  const char* const end = kWrite(record, text.data());
  const auto size = static_cast<std::size_t>(end - text.data());
  EXPECT_LE(size, room);
  EXPECT_EQ(text.substr(room), std::string(kMore, kBehind)) << "written past the room";
  return text.substr(0, size);
}

std::string fastq(const RecordBuilder& read) { return text_of<write_fastq>(read); }
std::string fasta(const RecordBuilder& read) { return text_of<write_fasta>(read); }

RecordBuilder read_of(std::string_view seq, std::string_view qual) {
  return RecordBuilder("r1").seq(seq).qual(qual);
}

TEST(Fastx, FastqIsFourLinesWithABarePlus) {
  EXPECT_EQ(fastq(read_of("ACGT", "!I~5")), "@r1\nACGT\n+\n!I~5\n");
}

TEST(Fastx, FastaIsTwoLines) { EXPECT_EQ(fasta(read_of("ACGT", "!I~5")), ">r1\nACGT\n"); }

TEST(Fastx, EveryBaseHasItsLetter) {
  const std::string letters = "=ACMGRSVTWYHKDBN";
  EXPECT_EQ(fasta(RecordBuilder("a").seq(letters)), ">a\n" + letters + '\n');
  EXPECT_EQ(fasta(RecordBuilder("a").seq(letters.substr(1))), ">a\n" + letters.substr(1) + '\n');
}

TEST(Fastx, OddLengthsLeaveTheLastHalfByteOut) {
  EXPECT_EQ(fastq(read_of("A", "I")), "@r1\nA\n+\nI\n");
  EXPECT_EQ(fastq(read_of("ACG", "IJK")), "@r1\nACG\n+\nIJK\n");
  EXPECT_EQ(fasta(read_of("ACG", "IJK")), ">r1\nACG\n");
}

TEST(Fastx, MissingSequenceIsAStarAndSoAreItsQualities) {
  EXPECT_EQ(fastq(RecordBuilder("none").seq("*")), "@none\n*\n+\n*\n");
  EXPECT_EQ(fasta(RecordBuilder("none").seq("*")), ">none\n*\n");
}

TEST(Fastx, MissingQualitiesAreOneStar) {
  EXPECT_EQ(fastq(RecordBuilder("r1").seq("ACGTA")), "@r1\nACGTA\n+\n*\n");
  EXPECT_EQ(fastq(RecordBuilder("r1").seq("A")), "@r1\nA\n+\n*\n");
}

TEST(Fastx, QualitiesOfWhichSomeAreMissingStayWithABlankForThose) {
  EXPECT_EQ(fastq(RecordBuilder("r1").seq("ACGT").quals({255, 0, 40, 255})),
            "@r1\nACGT\n+\n !I \n");
  EXPECT_EQ(fastq(RecordBuilder("r1").seq("AC").quals({254, 255})), "@r1\nAC\n+\n\x1f \n");
}

TEST(Fastx, QualitiesAreTakenModulo256) {
  EXPECT_EQ(fastq(RecordBuilder("r1").seq("ACG").quals({93, 200, 232})), "@r1\nACG\n+\n~\xe9\t\n");
}

TEST(Fastx, ReverseStrandStaysAsItIsStored) {
  EXPECT_EQ(fastq(read_of("AACG", "!#%'").flag(0x10)), "@r1\nAACG\n+\n!#%'\n");
  EXPECT_EQ(fasta(read_of("AACG", "!#%'").flag(0x10)), ">r1\nAACG\n");
}

TEST(Fastx, OtherFieldsDoNotShow) {
  const RecordBuilder read =
      read_of("AC", "II").at(0, 5).mate(0, 9).cigar("1S1M").mapq(7).tag_text("XZ", 'Z', "text");
  EXPECT_EQ(fastq(read), "@r1\nAC\n+\nII\n");
  EXPECT_EQ(fasta(read), ">r1\nAC\n");
}

// ---- Names -------------------------------------------------------------------------------------

TEST(FastxNames, NameEndsAtItsNul) {
  RecordBuilder read = read_of("AC", "II");
  read.stored_name(std::string("ab\0cd\0", 6)).l_read_name(6);
  EXPECT_EQ(fastq(read), "@ab\nAC\n+\nII\n");
  EXPECT_EQ(fasta(read), ">ab\nAC\n");
}

TEST(FastxNames, NameWithoutNulEndsBeforeItsLastCharacter) {
  RecordBuilder read = read_of("AC", "II");
  read.stored_name("abc").l_read_name(3);
  EXPECT_EQ(fastq(read), "@ab\nAC\n+\nII\n");
}

TEST(FastxNames, NameOfNoCharactersIsEmpty) {
  EXPECT_EQ(fastq(RecordBuilder("").seq("AC").qual("II")), "@\nAC\n+\nII\n");
  RecordBuilder no_bytes = read_of("AC", "II");
  no_bytes.stored_name("").l_read_name(0);
  EXPECT_EQ(fastq(no_bytes), "@\nAC\n+\nII\n");
  EXPECT_EQ(fasta(no_bytes), ">\nAC\n");
  RecordBuilder nothing("x");
  nothing.stored_name("").l_read_name(0);
  EXPECT_EQ(fastq(nothing), "@\n*\n+\n*\n");
}

TEST(FastxNames, LongestNamesFit) {
  for (const std::size_t size : {222U, 223U, 224U, 254U}) {
    const std::string name(size, 'n');
    EXPECT_EQ(fastq(RecordBuilder(name)), '@' + name + "\n*\n+\n*\n");
    EXPECT_EQ(fastq(RecordBuilder(name).cigar("2M").seq("AC").qual("IJ")),
              '@' + name + "\nAC\n+\nIJ\n");
  }
}

// ---- Sizes -------------------------------------------------------------------------------------

TEST(FastxSizes, ReadsOfAllLengthsComeOutWhole) {
  Random random(81);
  for (std::size_t size = 1; size <= 200; ++size) {
    const std::string seq = random_text(random, size, "=ACMGRSVTWYHKDBN");
    const std::string qual = random_text(random, size, "!#5I~");
    const RecordBuilder read = read_of(seq, qual);
    EXPECT_EQ(fastq(read), "@r1\n" + seq + "\n+\n" + qual + '\n');
    EXPECT_EQ(fasta(read), ">r1\n" + seq + '\n');
    EXPECT_EQ(fastq(RecordBuilder("r1").seq(seq)), "@r1\n" + seq + "\n+\n*\n");
  }
}

TEST(FastxSizes, LongReadsComeOutWhole) {
  Random random(82);
  const std::string seq = random_text(random, 300001);
  const std::string qual = random_text(random, 300001, "!#5I~");
  EXPECT_TRUE(fastq(read_of(seq, qual)) == "@r1\n" + seq + "\n+\n" + qual + '\n');
  EXPECT_TRUE(fasta(read_of(seq, qual)) == ">r1\n" + seq + '\n');
}

TEST(FastxSizes, RoomIsInProportionToTheRead) {
  const std::size_t bases = 1000;
  const std::size_t room = max_fastx(RecordBuilder("r1").seq(std::string(bases, 'A')).record());
  EXPECT_GE(room, 2 * bases + 8);
  EXPECT_LE(room, 2 * bases + 32);
}

}  // namespace
}  // namespace readkit::convert_fastx_test
