#include "quality/letter_counts.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/wide.h"

namespace readkit::quality_letter_counts_test {
namespace {

constexpr std::size_t kStride = 1024;

// Counters of four rows; memory of just the size of the letters, so that tools that watch it see a
// step beyond.
int count(const std::string& letters, std::vector<std::uint8_t>& counts) {
  const std::vector<char> exact(letters.begin(), letters.end());
  return tally_letters(exact.data(), exact.size(), counts.data(), kStride);
}

class LetterCounts : public WideTest {};
INSTANTIATE_TEST_SUITE_P(Instructions, LetterCounts, testing::Bool(), wide_test_name);

TEST_P(LetterCounts, LettersOfAnyLengthCountOnceEach) {
  const std::string alphabet = "ACGTNacgt\\0=";
  std::mt19937 random(1);
  std::vector<std::uint8_t> counts(4 * kStride);
  std::vector<std::uint8_t> expected(counts.size());
  for (std::size_t length = 0; length < 200; ++length) {
    std::string letters(length, 'A');
    int gc = 0;
    for (std::size_t i = 0; i < length; ++i) {
      letters[i] = alphabet[random() % alphabet.size()];
      const std::size_t row = std::string("ACGT").find(letters[i]);
      if (row < std::size(kCountedLetters)) ++expected[row * kStride + i];
      gc += row == 1 || row == 2 ? 1 : 0;
    }
    EXPECT_EQ(count(letters, counts), gc) << length;
  }
  EXPECT_EQ(counts, expected);
}

TEST_P(LetterCounts, LongestReadCanBeAllC) {
  std::vector<std::uint8_t> counts(4 * kStride);
  EXPECT_EQ(count(std::string(kStride, 'C'), counts), 1024);
}

}  // namespace
}  // namespace readkit::quality_letter_counts_test
