// FASTQ files as the source of a scan.
#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quality/sources.h"
#include "support/gateway_calls.h"
#include "support/hostile_calls.h"
#include "support/quality_scans.h"
#include "support/temp_dir.h"

namespace readkit::quality_from_fastq_test {
namespace {

std::string record(const std::string& bases, const std::string& qualities) {
  return "@r\n" + bases + "\n+\n" + qualities + "\n";
}
std::string sound(std::size_t length) {
  return record(std::string(length, 'A'), std::string(length, 'I'));
}
const std::string kBadLength = record("AAAA", "III");
const std::string kBadQuality = record("AAAA", "IIKI");

class FromFastq : public testing::Test {
 protected:
  distribution_t scan(const std::string& bytes, const encoding_t& encoding = plain_encoding()) {
    folder_.write("a.fastq", bytes);
    return scan_file(folder_.text("a.fastq"), encoding);
  }
  static distribution_t scan_file(const UString& name,
                                  const encoding_t& encoding = plain_encoding()) {
    return scanned(encoding, [&](const encoding_t* settings, distribution_t* distribution) {
      collectDataFromFASTQ(name, settings, distribution);
    });
  }
  Lengths counted(const std::string& bytes, const encoding_t& encoding = plain_encoding()) {
    return scan(bytes, encoding).length_histogram;
  }

  TempDir folder_;
  LeakCheck leaks_;
};

TEST_F(FromFastq, EveryReadIsCountedByPosition) {
  const distribution_t found = scan(record("ACGT", "!5IJ") + record("GN", "!I"));
  EXPECT_EQ(found.read_count, 2);
  EXPECT_EQ(found.max_length, 4);
  EXPECT_EQ(found.length_histogram, (Lengths{{2, 1}, {4, 1}}));
  std::vector<double> letters(20);  // five for each position
  letters[0] = letters[2] = 1;      // A, G
  letters[5 + 1] = letters[5 + 4] = 1;
  letters[10 + 2] = letters[15 + 3] = 1;
  EXPECT_TRUE(std::equal(letters.begin(), letters.end(), found.base_matrix.get()));
  std::vector<double> qualities(std::size_t{4 * 42});
  qualities[0] = 2;
  qualities[42 + 20] = qualities[42 + 40] = 1;
  qualities[84 + 40] = qualities[126 + 41] = 1;
  EXPECT_TRUE(std::equal(qualities.begin(), qualities.end(), found.quality_matrix.get()));
  EXPECT_EQ(found.average_histogram[25], 1);  // 101 / 4
  EXPECT_EQ(found.average_histogram[20], 1);
}

TEST_F(FromFastq, LineEndsMakeNoDifference) {
  const Lengths expected = {{2, 1}, {3, 1}};
  EXPECT_EQ(counted("@a\nAC\n+\nII\n@b\nACG\n+\nIII\n"), expected);
  EXPECT_EQ(counted("@a\r\nAC\r\n+\r\nII\r\n@b\r\nACG\r\n+\r\nIII\r\n"), expected);
  EXPECT_EQ(counted("@a\nAC\r\n+\nII\n@b\r\nACG\n+\r\nIII"), expected);
}

TEST_F(FromFastq, LinesLongerThanABufferAreReadWhole) {
  Lengths expected;
  std::string file;
  for (const int length : {997, 998, 999, 1000, 1001, 5, 1999, 2000, 30000, 7}) {
    file += sound(static_cast<std::size_t>(length));
    expected[length] = 1;
  }
  EXPECT_EQ(counted(file), expected);
}

TEST_F(FromFastq, HeaderAndSeparatorAreNotExamined) {
  EXPECT_EQ(counted("r\nAC\nx\nII\n>\nACG\n\nIII\n"), (Lengths{{2, 1}, {3, 1}}));
}

TEST_F(FromFastq, EmptyFileHasNoReads) {
  const distribution_t found = scan("");
  EXPECT_EQ(found.read_count, 0);
  EXPECT_EQ(found.max_length, 0);
  EXPECT_EQ(found.length_histogram, Lengths());
}

TEST_F(FromFastq, EmptyHeaderLineEndsTheFile) {
  EXPECT_EQ(counted(sound(1) + "\n" + sound(2)), (Lengths{{1, 1}}));
  EXPECT_EQ(counted("\n" + sound(2)), Lengths());
  EXPECT_EQ(counted(sound(1) + "\r\n" + kBadLength), (Lengths{{1, 1}}));
}

TEST_F(FromFastq, RecordWithoutSequenceIsPassedOverWhateverItsQualities) {
  EXPECT_EQ(counted(sound(1) + record("", "") + sound(2) + record("", "KKK") + sound(3)),
            (Lengths{{1, 1}, {2, 1}, {3, 1}}));
}

TEST_F(FromFastq, FileThatEndsWithinARecord) {
  const std::string file = sound(1);
  EXPECT_EQ(counted(file + "@r"), (Lengths{{1, 1}}));
  EXPECT_EQ(counted(file + "@r\n"), (Lengths{{1, 1}}));
  for (const char* rest : {"@r\nAC", "@r\nAC\n", "@r\nAC\n+", "@r\nAC\n+\n", "@r\nAC\n+\nI"}) {
    EXPECT_KIND(scan(file + rest), InvalidData);
  }
  EXPECT_EQ(counted(file + "@r\nAC\n+\nII"), (Lengths{{1, 1}, {2, 1}}));
}

TEST_F(FromFastq, LengthsThatDifferRaiseInvalidData) {
  EXPECT_KIND(scan(kBadLength), InvalidData);
  EXPECT_KIND(scan(record("AAAA", "IIIII")), InvalidData);
  EXPECT_KIND(scan(sound(3) + kBadLength), InvalidData);
}

TEST_F(FromFastq, QualitiesOutOfRangeRaiseInvalidData) {
  EXPECT_EQ(counted(record("AA", "!J")), (Lengths{{2, 1}}));  // the ends of the range
  for (const char* qualities : {"IK", "KI", "I ", " I", "I\x7f", "I\x80", "I\xff"}) {
    EXPECT_KIND(scan(record("AA", qualities)), InvalidData);
  }
  encoding_t narrow = plain_encoding();
  narrow.min_quality = 10;
  narrow.max_quality = 20;
  EXPECT_EQ(counted(record("AA", "+5"), narrow), (Lengths{{2, 1}}));
  EXPECT_KIND(scan(record("AA", "*5"), narrow), InvalidData);
  EXPECT_KIND(scan(record("AA", "+6"), narrow), InvalidData);
}

TEST_F(FromFastq, CharactersAreSignedBytes) {
  encoding_t encoding = plain_encoding();
  encoding.offset = -100;  // 0x9c is -100
  EXPECT_EQ(counted(record("AA", "\x9c\x9d"), encoding), (Lengths{{2, 1}}));
  EXPECT_KIND(scan(record("AA", "\x9b\x9d"), encoding), InvalidData);
}

TEST_F(FromFastq, AverageWithoutAPlaceRaisesOutOfRange) {
  encoding_t encoding = plain_encoding();
  encoding.min_quality = encoding.max_quality = 40;
  EXPECT_THROW(scan(sound(2), encoding), std::out_of_range);
}

// ---- Selection ---------------------------------------------------------------------------------

TEST_F(FromFastq, OnlySelectedRecordsAreCounted) {
  const std::string file = sound(1) + sound(2) + sound(3) + sound(4);
  const std::pair<std::vector<std::int64_t>, Lengths> rows[] = {
      {{0, 2}, {{1, 1}, {3, 1}}}, {{3}, {{4, 1}}}, {{0, 1, 2, 3}, {{1, 1}, {2, 1}, {3, 1}, {4, 1}}},
      {{1, 4, 5}, {{2, 1}}},      {{9}, {}},       {{}, {}},
  };
  for (const auto& [records, lengths] : rows) {
    EXPECT_EQ(counted(file, selecting(records)), lengths) << testing::PrintToString(records);
  }
}

TEST_F(FromFastq, NumberThatDoesNotAscendIsNeverReached) {
  const std::string file = sound(1) + sound(2) + sound(3) + sound(4) + kBadLength;
  EXPECT_EQ(counted(file, selecting({2, 0, 3})), (Lengths{{3, 1}}));
  EXPECT_EQ(counted(file, selecting({1, 1, 2})), (Lengths{{2, 1}}));
  EXPECT_EQ(counted(file, selecting({-1, 0})), Lengths());
}

TEST_F(FromFastq, BadRecordCountsOnlyWhenItIsSelected) {
  for (const std::string& bad : {kBadLength, kBadQuality}) {
    const std::string file = sound(1) + bad + sound(2);
    EXPECT_EQ(counted(file, selecting({0, 2})), (Lengths{{1, 1}, {2, 1}}));
    EXPECT_KIND(scan(file, selecting({0, 1})), InvalidData);
    EXPECT_KIND(scan(file, selecting({1})), InvalidData);
    EXPECT_KIND(scan(file), InvalidData);
  }
}

TEST_F(FromFastq, ScanStopsBehindTheLastSelectedRecord) {
  for (const std::string& bad : {kBadLength, kBadQuality}) {
    EXPECT_EQ(counted(sound(1) + bad + bad, selecting({0})), (Lengths{{1, 1}}));
    EXPECT_EQ(counted(bad, selecting({})), Lengths());
  }
}

TEST_F(FromFastq, RecordsWithoutSequenceHaveANumber) {
  const std::string file = record("", "") + sound(1) + sound(2);
  EXPECT_EQ(counted(file, selecting({0, 2})), (Lengths{{2, 1}}));
  EXPECT_EQ(counted(file, selecting({0})), Lengths());
}

TEST_F(FromFastq, QualitiesOfARecordThatIsPassedOverLeaveTheOthersAlone) {
  EXPECT_EQ(counted(record("AA", "I~") + record("CCC", "!!!"), selecting({1})), (Lengths{{3, 1}}));
}

// ---- Files -------------------------------------------------------------------------------------

TEST_F(FromFastq, FileThatCannotBeOpenedRaisesUnableToOpenFile) {
  EXPECT_KIND(scan_file(folder_.text("no.fastq")), UnableToOpenFile, folder_.path("no.fastq"));
  EXPECT_KIND(scan_file(folder_.text("no/a.fastq")), UnableToOpenFile, folder_.path("no/a.fastq"));
  EXPECT_KIND(scan_file(u""), UnableToOpenFile, u"");
  const UString unpaired = folder_.text("a") + char16_t{0xd800};
  EXPECT_KIND(scan_file(unpaired), UnableToOpenFile, unpaired);
}

TEST_F(FromFastq, FolderRaisesUnableToOpenFile) {
  const Path folder = to_path(folder_.folder());
  EXPECT_KIND(scan_file(folder.text()), UnableToOpenFile, folder);
  EXPECT_KIND(scan_file(folder.text(), selecting({})), UnableToOpenFile, folder);
}

TEST_F(FromFastq, FileNameMayHaveAnyLetters) {
  folder_.write("\xc3\xa9\xe2\x82\xac.fastq", sound(3));
  EXPECT_EQ(scan_file(folder_.text("\xc3\xa9\xe2\x82\xac.fastq")).length_histogram,
            (Lengths{{3, 1}}));
}

TEST_F(FromFastq, FileIsClosedHoweverTheScanEnds) {
  const std::size_t before = open_files();
  scan(sound(1));
  scan(sound(1) + sound(2), selecting({0}));
  EXPECT_KIND(scan(kBadLength), InvalidData);
  EXPECT_EQ(open_files(), before);
}

}  // namespace
}  // namespace readkit::quality_from_fastq_test
