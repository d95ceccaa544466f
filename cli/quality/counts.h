// What the library counts of the reads of one file, read out of its arrays.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "cli/input.h"
#include "host/array.h"

namespace readkit::cli {

class Job;

/// Which reads are counted, and what part of them.
struct ScanSettings {
  /// Reads with fewer positions to count are left out.
  std::int64_t min_length = 1;
  /// Reads of a lower average are left out. Qualities here are characters less '!'.
  double min_average = 0;
  /// Positions of each read, 1-based and inclusive; no end is the read's own.
  std::int64_t from = 1;
  std::optional<std::int64_t> to;
  /// Only as many reads, from the file's first on.
  std::optional<std::int64_t> first;
  /// SAM and BAM: leave out records without a reference.
  bool mapped_only = false;
};

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

  /// Scans the file. Raises Failure, and Interrupted.
  QualityCounts(Job& job, const Input& input, const ScanSettings& settings);

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

}  // namespace readkit::cli
