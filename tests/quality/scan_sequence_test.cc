// Letters by position, and the histogram of G and C.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quality/distribution.h"
#include "support/distribution_words.h"

namespace readkit::quality_scan_sequence_test {
namespace {

class ScanSequence : public DistributionTest {
 protected:
  void scan(const std::string& letters, int start, int end) {
    const std::vector<char> exact(letters.begin(), letters.end());
    scanSequence(start, end, exact.data(), &distribution_);
  }
  void scan(const std::string& letters) { scan(letters, 0, static_cast<int>(letters.size()) - 1); }
  // The bin in which a read counts.
  std::int64_t bin_of(const std::string& letters) {
    start();
    scan(letters);
    EXPECT_EQ(gc().size(), 1U) << letters;
    return gc().begin()->first;
  }
};

TEST_F(ScanSequence, LettersHaveTheirRows) {
  start();
  scan("ACGTN");
  EXPECT_EQ(bases(), (Cells{{{0, 0}, 1}, {{1, 1}, 1}, {{2, 2}, 1}, {{3, 3}, 1}, {{4, 4}, 1}}));
  scan("AACC");
  EXPECT_EQ(bases(), (Cells{{{0, 0}, 2},
                            {{0, 1}, 1},
                            {{1, 1}, 1},
                            {{1, 2}, 1},
                            {{2, 2}, 1},
                            {{1, 3}, 1},
                            {{3, 3}, 1},
                            {{4, 4}, 1}}));
}

TEST_F(ScanSequence, EveryByteButFourIsAnotherLetter) {
  // 1280 positions: each byte also lies where the positions are counted one by one.
  encoding_.read_length = 1280;
  start();
  std::string letters;
  Cells expected;
  for (int i = 0; i < 1280; ++i) {
    const int byte = i % 256;
    letters += static_cast<char>(byte);
    const int row = byte == 'A' ? 0 : byte == 'C' ? 1 : byte == 'G' ? 2 : byte == 'T' ? 3 : 4;
    expected[{row, i}] = 1;
  }
  scan(letters);
  EXPECT_EQ(bases(), expected);
  EXPECT_EQ(gc(), (Bins{{0, 1}}));  // 10 of 1280
}

TEST_F(ScanSequence, ColumnsCountFromTheStart) {
  start();
  scan("ACGTN", 1, 3);
  EXPECT_EQ(bases(), (Cells{{{1, 0}, 1}, {{2, 1}, 1}, {{3, 2}, 1}}));
  EXPECT_EQ(gc(), (Bins{{13, 1}}));  // 2 of 3
}

TEST_F(ScanSequence, LeavesQualitiesReadsAndLengthsAlone) {
  start();
  scan("ACGT");
  EXPECT_EQ(qualities(), Cells());
  EXPECT_EQ(averages(), Bins());
  EXPECT_TRUE(lengths().empty());
  EXPECT_EQ(distribution_.read_count, 0);
  EXPECT_EQ(distribution_.max_length, 0);
}

// ---- G and C -----------------------------------------------------------------------------------

TEST_F(ScanSequence, BinsAreStepsOfFivePercent) {
  EXPECT_EQ(bin_of("ACGT"), 10);
  EXPECT_EQ(bin_of("GGCC"), 19);
  EXPECT_EQ(bin_of("AAAA"), 0);
  EXPECT_EQ(bin_of("A"), 0);
  EXPECT_EQ(bin_of("G"), 19);
  EXPECT_EQ(bin_of("C"), 19);
  EXPECT_EQ(bin_of("AGA"), 6);
  EXPECT_EQ(bin_of("G" + std::string(19, 'A')), 1);
  EXPECT_EQ(bin_of("G" + std::string(20, 'A')), 0);
  EXPECT_EQ(bin_of("A" + std::string(20, 'C')), 19);
}

TEST_F(ScanSequence, LowerCaseAndOtherLettersAreNeitherGNorC) {
  EXPECT_EQ(bin_of("gcgc"), 0);
  EXPECT_EQ(bin_of("NNNN"), 0);
  EXPECT_EQ(bin_of("SSSS"), 0);
  // Each differs from C or G in one bit.
  EXPECT_EQ(bin_of("ABEKOWFS"), 0);
  EXPECT_EQ(bin_of("\xc3\xc7\x43\x47"), 10);
  EXPECT_EQ(bin_of("GCGn"), 15);
}

TEST_F(ScanSequence, NoByteButGAndCCountsAsOne) {
  for (int byte = 0; byte < 256; ++byte) {
    const bool counts = byte == 'G' || byte == 'C';
    EXPECT_EQ(bin_of(std::string(1, static_cast<char>(byte))), counts ? 19 : 0) << byte;
  }
}

TEST_F(ScanSequence, EveryShareOfEveryLengthLiesWithinItsBin) {
  for (int n = 1; n <= 70; ++n) {
    for (int gc_letters = 0; gc_letters <= n; ++gc_letters) {
      std::string letters(static_cast<std::size_t>(n), 'T');
      for (int i = 0; i < gc_letters; ++i)
        letters[static_cast<std::size_t>(i * n / gc_letters)] = 'G';
      int bin = 0;
      while (bin < 19 && (bin + 1) * n <= 20 * gc_letters) ++bin;
      ASSERT_EQ(bin_of(letters), bin) << gc_letters << " of " << n;
    }
  }
}

TEST_F(ScanSequence, LongReadsHaveTheirShareToo) {
  encoding_.read_length = 30000;
  EXPECT_EQ(bin_of(std::string(30000, 'G')), 19);
  EXPECT_EQ(bin_of(std::string(15000, 'G') + std::string(15000, 'A')), 10);
  EXPECT_EQ(bin_of(std::string(14999, 'C') + std::string(15001, 'A')), 9);
}

TEST_F(ScanSequence, EmptySpanCountsInTheLastBin) {
  start();
  scan("ACGT", 0, -1);
  EXPECT_EQ(gc(), (Bins{{19, 1}}));
  scan("ACGT", 4, 3);
  EXPECT_EQ(gc(), (Bins{{19, 2}}));
  EXPECT_EQ(bases(), Cells());
}

TEST_F(ScanSequence, SpanOfNegativeLengthCountsInTheFirstBin) {
  start();
  scan("ACGT", 10, 3);
  EXPECT_EQ(gc(), (Bins{{0, 1}}));
  scanSequence(kMostInt, kLeastInt, nullptr, &distribution_);
  EXPECT_EQ(gc(), (Bins{{0, 2}}));
  EXPECT_EQ(bases(), Cells());
}

// ---- Long reads --------------------------------------------------------------------------------

TEST_F(ScanSequence, PositionsOfLongReadsAllCount) {
  encoding_.read_length = 5000;
  start();
  const std::string kinds = "ACGTN";
  std::string letters;
  Cells expected;
  for (int i = 0; i < 5000; ++i) {
    letters += kinds[static_cast<std::size_t>(i / 3 % 5)];
    expected[{i / 3 % 5, i}] = 2;
  }
  scan(letters);
  scan(letters);
  EXPECT_EQ(bases(), expected);
}

}  // namespace
}  // namespace readkit::quality_scan_sequence_test
