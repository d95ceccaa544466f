#include "quality/tally.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace readkit::quality_tally_test {
namespace {

using Matrix = std::vector<double>;

void add(QualityTally& tally, const std::vector<signed char>& qualities) {
  tally.add(qualities.data(), qualities.size());
}
void add(BaseTally& tally, const std::string& letters) {
  const std::vector<char> exact(letters.begin(), letters.end());
  tally.add(exact.data(), exact.size());
}

// A quality that none of the reads here has.
constexpr int kNone = 1000;

// ---- Letters -----------------------------------------------------------------------------------

TEST(BaseTally, ColumnsHaveARowForEachLetterAndOneForTheOthers) {
  BaseTally tally;
  add(tally, "ACGTN");
  add(tally, "Aa");
  Matrix matrix(BaseTally::kRows * 5);
  tally.move_to(matrix.data());
  EXPECT_EQ(matrix, (Matrix{2, 0, 0, 0, 0,  //
                            0, 1, 0, 0, 1,  //
                            0, 0, 1, 0, 0,  //
                            0, 0, 0, 1, 0,  //
                            0, 0, 0, 0, 1}));
}

TEST(BaseTally, CountsAddUpInTheMatrixAndStartAnew) {
  BaseTally tally;
  Matrix matrix = {10, 20, 30, 40, 50};
  add(tally, "C");
  tally.move_to(matrix.data());
  EXPECT_EQ(matrix, (Matrix{10, 21, 30, 40, 50}));
  tally.move_to(matrix.data());
  EXPECT_EQ(matrix, (Matrix{10, 21, 30, 40, 50}));
  add(tally, "C");
  add(tally, "T");
  tally.move_to(matrix.data());
  EXPECT_EQ(matrix, (Matrix{10, 22, 30, 41, 50}));
}

TEST(BaseTally, TouchesOnlyTheColumnsOfItsLongestRead) {
  BaseTally tally;
  add(tally, "AC");
  add(tally, "A");
  Matrix matrix(BaseTally::kRows * 2);  // of just that size
  tally.move_to(matrix.data());
  EXPECT_EQ(matrix, (Matrix{2, 0, 0, 0, 0, 0, 1, 0, 0, 0}));
  BaseTally().move_to(nullptr);
}

TEST(BaseTally, CountsRightUpToTheReadThatFillsIt) {
  for (const char letter : {'A', 'T', 'N'}) {
    BaseTally tally;
    int reads = 0;
    for (; !tally.full(); ++reads) add(tally, std::string(1, letter));
    EXPECT_GE(reads, 1);
    Matrix matrix(BaseTally::kRows);
    tally.move_to(matrix.data());
    const std::size_t row = letter == 'A' ? 0 : letter == 'T' ? 3 : 4;
    EXPECT_EQ(matrix[row], reads);
    EXPECT_FALSE(tally.full());
  }
}

TEST(BaseTally, LastPositionCounts) {
  BaseTally tally;
  const std::size_t positions = tally.positions();
  std::string letters(positions, 'A');
  letters.back() = 'G';
  add(tally, letters);
  Matrix matrix(BaseTally::kRows * positions);
  tally.move_to(matrix.data());
  EXPECT_EQ(matrix[BaseTally::kRows * (positions - 1) + 2], 1);
  EXPECT_EQ(matrix[BaseTally::kRows * (positions - 2)], 1);
}

// ---- Qualities ---------------------------------------------------------------------------------

TEST(QualityTally, ColumnsHaveARowForEachQuality) {
  QualityTally tally(-1, 3);
  add(tally, {-1, 0, 1});
  add(tally, {-1, 1});
  Matrix matrix(9);
  tally.move_to(matrix.data(), kNone);
  EXPECT_EQ(matrix, (Matrix{2, 0, 0,  //
                            0, 1, 1,  //
                            0, 0, 1}));
}

TEST(QualityTally, CountsAddUpInTheMatrixAndStartAnew) {
  QualityTally tally(5, 2);
  Matrix matrix = {10, 20};
  add(tally, {6});
  tally.move_to(matrix.data(), kNone);
  EXPECT_EQ(matrix, (Matrix{10, 21}));
  tally.move_to(matrix.data(), kNone);
  EXPECT_EQ(matrix, (Matrix{10, 21}));
  add(tally, {5});
  tally.move_to(matrix.data(), kNone);
  EXPECT_EQ(matrix, (Matrix{11, 21}));
}

TEST(QualityTally, IgnoredQualityIsLeftBehindForGood) {
  QualityTally tally(0, 3);
  add(tally, {0, 1, 2});
  add(tally, {1, 1, 1});
  Matrix matrix(9);
  tally.move_to(matrix.data(), 1);
  const Matrix expected = {1, 0, 0, 0, 0, 0, 0, 0, 1};
  EXPECT_EQ(matrix, expected);
  tally.move_to(matrix.data(), kNone);
  EXPECT_EQ(matrix, expected);
}

TEST(QualityTally, AllBytesCanHaveARow) {
  QualityTally tally(-128, 256);
  ASSERT_GE(tally.positions(), 256U);
  std::vector<signed char> qualities;
  for (int value = -128; value <= 127; ++value) {
    qualities.push_back(static_cast<signed char>(value));
  }
  add(tally, qualities);
  Matrix matrix(std::size_t{256} * 256);
  Matrix expected = matrix;
  for (std::size_t i = 0; i < 256; ++i) expected[i * 256 + i] = 1;
  tally.move_to(matrix.data(), kNone);
  EXPECT_EQ(matrix, expected);
}

TEST(QualityTally, RangeThatBytesCannotHaveHasNoPositions) {
  EXPECT_EQ(QualityTally().positions(), 0U);
  EXPECT_EQ(QualityTally(0, 257).positions(), 0U);
  EXPECT_EQ(QualityTally(-129, 10).positions(), 0U);
  EXPECT_EQ(QualityTally(128, 10).positions(), 0U);
  EXPECT_EQ(QualityTally(std::int64_t{1} << 32, 10).positions(), 0U);
  EXPECT_EQ(QualityTally(0, std::size_t{1} << 31).positions(), 0U);
}

TEST(QualityTally, WithoutPositionsReadsHaveNothingToMove) {
  QualityTally tally(0, 257);
  for (int i = 0; i < 10; ++i) tally.add(nullptr, 0);
  tally.move_to(nullptr, kNone);
  EXPECT_FALSE(tally.full());
}

TEST(QualityTally, CountsMoreReadsThan16BitsCanTellUnlessItIsFullBefore) {
  QualityTally tally(0, 2);
  int reads = 0;
  for (; reads < 70000 && !tally.full(); ++reads) add(tally, {1});
  EXPECT_GE(reads, 1);
  Matrix matrix(2);
  tally.move_to(matrix.data(), kNone);
  EXPECT_EQ(matrix, (Matrix{0, static_cast<double>(reads)}));
  EXPECT_FALSE(tally.full());
}

TEST(QualityTally, LastPositionCounts) {
  for (const int lowest : {-128, 0, 86}) {
    QualityTally tally(lowest, 42);
    const std::size_t positions = tally.positions();
    std::vector<signed char> qualities(positions, static_cast<signed char>(lowest));
    qualities.back() = static_cast<signed char>(lowest + 41);
    add(tally, qualities);
    Matrix matrix(42 * positions);
    tally.move_to(matrix.data(), kNone);
    EXPECT_EQ(matrix[42 * positions - 1], 1) << lowest;
    EXPECT_EQ(matrix[42 * (positions - 2)], 1) << lowest;
  }
}

}  // namespace
}  // namespace readkit::quality_tally_test
