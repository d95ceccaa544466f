#include "quality/tally.h"

#include <algorithm>

namespace readkit {

void BaseTally::add(const char* letters, std::size_t length) {
  // One counter a loop, which compilers turn into wide instructions.
  constexpr std::array<char, 4> kLetters = {'A', 'C', 'G', 'T'};
  for (std::size_t row = 0; row < kLetters.size(); ++row) {
    std::uint8_t* const counts = letters_[row].data();
    const char letter = kLetters[row];
    for (std::size_t i = 0; i < length; ++i) {
      counts[i] = static_cast<std::uint8_t>(counts[i] + (letters[i] == letter ? 1 : 0));
    }
  }
  for (std::size_t i = 0; i < length; ++i) ++all_[i];
  length_ = std::max(length_, length);
  ++reads_;
}

void BaseTally::move_to(double* matrix) {
  for (std::size_t i = 0; i < length_; ++i) {
    int others = all_[i];
    for (Counters& counts : letters_) {
      *matrix++ += counts[i];
      others -= counts[i];
      counts[i] = 0;
    }
    *matrix++ += others;
    all_[i] = 0;
  }
  length_ = 0;
  reads_ = 0;
}

QualityTally::QualityTally(std::int64_t lowest, std::size_t rows) {
  constexpr std::size_t kBytes = 256;
  if (rows > kBytes || lowest < -128 || lowest > 127) return;
  lowest_ = static_cast<int>(lowest);
  rows_ = rows;
  counts_.resize(rows * kTallyPositions);
}

void QualityTally::add(const signed char* qualities, std::size_t length) {
  std::uint16_t* column = counts_.data() - lowest_;
  for (std::size_t i = 0; i < length; ++i, column += rows_) ++column[qualities[i]];
  length_ = std::max(length_, length);
  ++reads_;
}

void QualityTally::move_to(double* matrix, int ignored) {
  std::size_t at = 0;
  for (std::size_t i = 0; i < length_; ++i) {
    for (std::size_t row = 0; row < rows_; ++row, ++at) {
      if (lowest_ + static_cast<int>(row) != ignored) matrix[at] += counts_[at];
      counts_[at] = 0;
    }
  }
  length_ = 0;
  reads_ = 0;
}

}  // namespace readkit
