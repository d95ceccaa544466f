// What the library counts of reads, read out of its arrays.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "host/array.h"

namespace readkit::report {

/// The tables of one scan. A quality here is a character less '!', whatever its encoding means by
/// it; positions count from 0, which is `ScanSettings::from`.
class QualityCounts {
 public:
  /// The qualities that a character may stand for, ' ' (no quality) and DEL (one) excluded.
  static constexpr int kQualities = '~' - '!' + 1;
  /// A, C, G, T, and any other letter.
  static constexpr std::size_t kLetters = 5;
  static constexpr std::size_t kGcBins = 20;
  using Histogram = std::array<std::uint64_t, kQualities>;
  using Letters = std::array<std::uint64_t, kLetters>;

  /// The six outputs of scanQualities for qualities from 0 to `kLargest`, of characters less '!'.
  static constexpr int kOutputs = 6;
  static constexpr int kLargest = kQualities;
  /// Raises std::invalid_argument when one of them is of another form, or has a quality that no
  /// character stands for.
  explicit QualityCounts(std::vector<host::Owned> outputs);

  std::uint64_t reads() const;
  /// The length of the longest read.
  std::size_t positions() const;
  /// The qualities, and the letters, at the positions [begin, end).
  Histogram qualities(std::size_t begin, std::size_t end) const;
  Letters letters(std::size_t begin, std::size_t end) const;
  /// Reads by their average quality, cut to an integer.
  Histogram averages() const;
  /// Reads by their percentage of C and G, in steps of 5; 100 % counts in the last one.
  std::array<std::uint64_t, kGcBins> gc() const;
  /// Lengths that occur, ascending, and how many reads have them.
  std::vector<std::pair<std::uint64_t, std::uint64_t>> lengths() const;

 private:
  std::vector<host::Owned> outputs_;
};

}  // namespace readkit::report
