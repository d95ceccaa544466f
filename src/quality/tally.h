// Counts by position in narrow counters: small enough to stay in the fastest memory, and fit for
// wide instructions. Few reads fit before the counts must be moved to where they add up.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace readkit {

/// How many positions have such counters; what a read has beyond them is counted elsewhere.
inline constexpr std::size_t kTallyPositions = 1024;

/// Counts of the letters A, C, G, T and others.
class BaseTally {
 public:
  static constexpr std::size_t kRows = 5;

  std::size_t positions() const { return kTallyPositions; }
  /// Whether another read could make a counter overflow.
  bool full() const { return reads_ == std::numeric_limits<std::uint8_t>::max(); }

  /// Counts a read of at most `positions()` letters; returns how many are C or G. REQUIRES: not
  /// `full()`.
  int add(const char* letters, std::size_t length);

  /// Adds the counts to a matrix of five rows, column by column, and starts anew. REQUIRES: the
  /// matrix has a column for every position counted.
  void move_to(double* matrix);

 private:
  // A row after the other: A, C, G, T.
  std::array<std::uint8_t, (kRows - 1) * kTallyPositions> letters_{};
  std::array<std::uint8_t, kTallyPositions + 1> reads_of_length_{};
  int reads_ = 0;
};

/// Counts of qualities.
class QualityTally {
 public:
  QualityTally() = default;
  /// For qualities from `lowest` on, `rows` of them; more than bytes can tell apart have no
  /// counters here.
  QualityTally(std::int64_t lowest, std::size_t rows);

  std::size_t positions() const { return rows_ == 0 ? 0 : kTallyPositions; }
  bool full() const { return reads_ == std::numeric_limits<std::uint32_t>::max(); }

  /// Counts a read of at most `positions()` qualities. REQUIRES: not `full()`.
  void add(const signed char* qualities, std::size_t length);

  /// Adds the counts, but for those of `ignored`, to a matrix of `rows` rows, as BaseTally does.
  void move_to(double* matrix, int ignored);

 private:
  // Where the counters start: behind as many as a pointer to those of quality 0 may precede them.
  std::size_t first() const { return static_cast<std::size_t>(std::max(lowest_, 0)); }

  int lowest_ = 0;
  std::size_t rows_ = 0;
  std::size_t stride_ = 0;  // from one position's counters to the next one's
  std::vector<std::uint32_t> counts_;
  std::size_t length_ = 0;  // of the longest read
  std::uint32_t reads_ = 0;
};

}  // namespace readkit
