#include "quality/tally.h"

#include <algorithm>
#include <utility>

#include "core/bytes.h"
#include "quality/letter_counts.h"

namespace readkit {

int BaseTally::add(const char* letters, std::size_t length) {
  ++reads_;
  ++reads_of_length_[length];
  return tally_letters(letters, length, letters_.data(), kTallyPositions);
}

void BaseTally::move_to(double* matrix) {
  int reads = reads_;  // that reach the position
  for (std::size_t i = 0; i < kTallyPositions; ++i) {
    reads -= std::exchange(reads_of_length_[i], std::uint8_t{0});
    if (reads == 0) break;
    int others = reads;
    for (std::size_t row = 0; row < kRows - 1; ++row) {
      const std::uint8_t count =
          std::exchange(letters_[row * kTallyPositions + i], std::uint8_t{0});
      *matrix++ += count;
      others -= count;
    }
    *matrix++ += others;
  }
  reads_of_length_[kTallyPositions] = 0;
  reads_ = 0;
}

QualityTally::QualityTally(std::int64_t lowest, std::size_t rows) {
  constexpr std::size_t kBytes = 256;
  if (rows > kBytes || lowest < -128 || lowest > 127) return;
  lowest_ = static_cast<int>(lowest);
  rows_ = rows;
  // An odd multiple of half a cache line: neighbouring positions never compete for a place there.
  constexpr std::size_t kHalfLine = 32 / sizeof(std::uint32_t);
  stride_ = ((rows + kHalfLine - 1) / kHalfLine | 1) * kHalfLine;
  // Room for a pointer to the counters of quality 0 of the position behind the last one, too.
  counts_.resize(first() + stride_ * (kTallyPositions + 1) + kBytes);
}

void QualityTally::add(const signed char* qualities, std::size_t length) {
  const std::size_t stride = stride_;
  std::uint32_t* column = counts_.data() + (static_cast<std::ptrdiff_t>(first()) - lowest_);
  std::size_t i = 0;
  // Eight at a time: one read from memory, and the loop's own work once.
  for (; length - i >= sizeof(std::uint64_t); i += sizeof(std::uint64_t)) {
    auto eight = load<std::uint64_t>(qualities + i);
    for (std::size_t k = 0; k < sizeof eight; ++k) {
      ++column[static_cast<signed char>(eight)];
      eight >>= 8;
      column += stride;
    }
  }
  for (; i < length; ++i) {
    ++column[qualities[i]];
    column += stride;
  }
  length_ = std::max(length_, length);
  ++reads_;
}

void QualityTally::move_to(double* matrix, int ignored) {
  for (std::size_t i = 0; i < length_; ++i) {
    std::uint32_t* const column = counts_.data() + first() + i * stride_;
    for (std::size_t row = 0; row < rows_; ++row) {
      const std::uint32_t count = std::exchange(column[row], 0U);
      if (lowest_ + static_cast<int>(row) != ignored) *matrix += count;
      ++matrix;
    }
  }
  length_ = 0;
  reads_ = 0;
}

}  // namespace readkit
