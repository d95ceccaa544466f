// Short words for tests of what a quality scan counts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quality/distribution.h"
#include "support/gateway_calls.h"

namespace readkit {

/// The counts that are not 0, by bin, or by row and column.
using Bins = std::map<std::int64_t, double>;
using Cells = std::map<std::pair<std::int64_t, std::int64_t>, double>;

inline Bins bins_of(const std::vector<double>& counts) {
  Bins bins;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    if (counts[i] != 0) bins[static_cast<std::int64_t>(i)] = counts[i];
  }
  return bins;
}

inline Cells cells_of(const HostMatrix& matrix, std::size_t rows, std::size_t columns) {
  Cells cells;
  for (std::size_t i = 0; i < rows * columns; ++i) {
    const auto row = static_cast<std::int64_t>(i % rows);
    if (matrix[i] != 0) cells[{row, static_cast<std::int64_t>(i / rows)}] = matrix[i];
  }
  return cells;
}

/// Qualities as they lie in a read.
inline std::string qualities_of(const std::vector<int>& values) {
  std::string bytes;
  for (const int value : values) bytes += static_cast<char>(value);
  return bytes;
}

/// Settings for qualities of 0 to 41 without anything to be ignored, and what reads come to with
/// them.
class DistributionTest : public testing::Test {
 protected:
  static constexpr std::int64_t kNoQuality = 1000;

  DistributionTest() {
    encoding_.max_quality = 41;
    encoding_.ignore_value = kNoQuality;
  }

  /// Makes the tables anew.
  void start() { getEmptyDistribution(&distribution_, &encoding_); }
  void start(std::int64_t min_quality, std::int64_t max_quality) {
    encoding_.min_quality = min_quality;
    encoding_.max_quality = max_quality;
    start();
  }

  /// Counts a read from memory of just its size.
  void count(const std::string& letters, const std::string& qualities) {
    ASSERT_EQ(letters.size(), qualities.size());
    const std::vector<char> seq(letters.begin(), letters.end());
    const std::vector<char> qual(qualities.begin(), qualities.end());
    updateDistribution(seq.data(), qual.data(), static_cast<int>(seq.size()), &encoding_,
                       &distribution_);
  }
  void count(const std::string& letters) { count(letters, std::string(letters.size(), '\x1e')); }
  void count_qualities(const std::vector<int>& qualities) {
    count(std::string(qualities.size(), 'A'), qualities_of(qualities));
  }

  /// What the tables hold, all of their columns.
  Cells qualities() {
    settle(&distribution_);
    return cells_of(distribution_.quality_matrix, distribution_.quality_rows, columns());
  }
  Cells bases() {
    settle(&distribution_);
    return cells_of(distribution_.base_matrix, kBaseRows, columns());
  }
  Bins averages() const { return bins_of(distribution_.average_histogram); }
  Bins gc() const { return bins_of(distribution_.gc_histogram); }
  const std::map<int, std::int64_t>& lengths() const { return distribution_.length_histogram; }

  void expect_nothing_counted() {
    EXPECT_EQ(averages(), Bins());
    EXPECT_EQ(gc(), Bins());
    EXPECT_EQ(qualities(), Cells());
    EXPECT_EQ(bases(), Cells());
    EXPECT_TRUE(lengths().empty());
    EXPECT_EQ(distribution_.read_count, 0);
    EXPECT_EQ(distribution_.max_length, 0);
  }

 private:
  const LeakCheck leaks_;  // looks at what is left when the tables are gone
  std::size_t columns() const { return static_cast<std::size_t>(distribution_.capacity); }

 protected:
  encoding_t encoding_;
  distribution_t distribution_;
};

inline constexpr std::int64_t kLeastInt64 = std::numeric_limits<std::int64_t>::min();
inline constexpr std::int64_t kMostInt64 = std::numeric_limits<std::int64_t>::max();
inline constexpr std::int64_t kLeastInt = std::numeric_limits<int>::min();
inline constexpr std::int64_t kMostInt = std::numeric_limits<int>::max();

}  // namespace readkit
