#include "quality/distribution.h"

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>

#include "core/errors.h"
#include "quality/blocks.h"

namespace readkit {
namespace {

constexpr int kFirstCapacity = 1000;
constexpr std::uint64_t kMostEntries = std::uint64_t{1} << 31;

constexpr std::int64_t kLowestInt = std::numeric_limits<int>::min();
constexpr std::int64_t kHighestInt = std::numeric_limits<int>::max();

// A quality is a signed byte.
constexpr int kLowestByte = -128;
constexpr int kHighestByte = 127;

// Both tables have these columns; the one of letters always has its five rows.
void require_table(std::size_t quality_rows, std::int64_t columns) {
  const std::size_t rows = std::max<std::size_t>(quality_rows, kBaseRows);
  if (columns < 0 || static_cast<std::uint64_t>(columns) > kMostEntries / rows) throw InvalidData();
}

std::size_t quality_rows_of(const encoding_t& encoding) {
  if (encoding.max_quality < encoding.min_quality) throw InvalidData();
  const std::uint64_t steps = static_cast<std::uint64_t>(encoding.max_quality) -
                              static_cast<std::uint64_t>(encoding.min_quality);
  if (steps >= kMostEntries) throw InvalidData();
  return steps + 1;
}

// 0 for A, 1 for C, 2 for G, 3 for T, 4 for everything else.
constexpr std::array<std::uint8_t, 256> kBaseCodes = [] {
  std::array<std::uint8_t, 256> codes{};
  codes.fill(4);
  codes['A'] = 0;
  codes['C'] = 1;
  codes['G'] = 2;
  codes['T'] = 3;
  return codes;
}();

const signed char* bytes_at(const char* text, int start) {
  return reinterpret_cast<const signed char*>(text) + start;
}

// Positions, both ends included.
struct Span {
  int start;
  int end;

  std::int64_t length() const { return std::int64_t{end} - start + 1; }
};

// The positions of a read that the settings, which `require_span` has seen, ask for.
Span span_of(int length, const encoding_t& encoding) {
  const auto start = static_cast<int>(std::max<std::int64_t>(encoding.scan_start, 0));
  const int last = length - 1;
  if (encoding.scan_end == -1) return {start, last};
  return {start, std::min(last, static_cast<int>(encoding.scan_end))};
}

void require_span(const encoding_t& encoding) {
  if (encoding.scan_start > kHighestInt || encoding.scan_end < kLowestInt ||
      encoding.scan_end > kHighestInt) {
    throw InvalidData();
  }
}

void grow(distribution_t& distribution, std::int64_t columns) {
  require_table(distribution.quality_rows, columns);
  const auto old_columns = static_cast<std::size_t>(distribution.capacity);
  const auto new_columns = static_cast<std::size_t>(columns);
  matrixRealloc(distribution.quality_matrix, distribution.quality_rows, old_columns, new_columns);
  matrixRealloc(distribution.base_matrix, kBaseRows, old_columns, new_columns);
  distribution.capacity = static_cast<int>(columns);
}

// Counts `length` letters at the first positions of `base_matrix`; returns how many are C or G.
std::int64_t count_letters(const char* letters, std::size_t length, distribution_t& distribution) {
  BaseTally& tally = distribution.recent_bases;
  const std::size_t tallied = std::min(length, tally.positions());
  if (tally.full()) tally.move_to(distribution.base_matrix.get());
  std::int64_t gc = tally.add(letters, tallied);
  double* column = distribution.base_matrix.get() + kBaseRows * tallied;
  for (std::size_t i = tallied; i < length; ++i, column += kBaseRows) {
    const std::uint8_t code = kBaseCodes[static_cast<std::uint8_t>(letters[i])];
    ++column[code];
    gc += code == kBaseCodes['C'] || code == kBaseCodes['G'] ? 1 : 0;
  }
  return gc;
}

// What an average is made of.
struct QualitySum {
  std::int64_t sum = 0;
  std::int64_t count = 0;  // of qualities that are not ignored

  double mean() const {
    return count == 0 ? std::numeric_limits<double>::lowest()
                      : static_cast<double>(sum) / static_cast<double>(count);
  }
};

// A quality that no byte equals where the ignored one is out of their range.
int ignored_byte(const encoding_t& encoding) {
  return static_cast<int>(
      std::clamp<std::int64_t>(encoding.ignore_value, kLowestByte - 1, kHighestByte + 1));
}

// Sums of so many qualities fit into 16 bits for each place of a block, counts of them into 8.
constexpr std::size_t kStretch = 255 * kBlock;

// Sums and, where they equal `ignored`, counts the qualities of a block, place by place.
void add_qualities(const signed char* __restrict block, std::int16_t* __restrict sums) {
  for (std::size_t i = 0; i < kBlock; ++i) sums[i] = static_cast<std::int16_t>(sums[i] + block[i]);
}
void count_ignored(const signed char* __restrict block, signed char ignored,
                   std::uint8_t* __restrict counts) {
  for (std::size_t i = 0; i < kBlock; ++i) {
    counts[i] = static_cast<std::uint8_t>(counts[i] + (block[i] == ignored ? 1 : 0));
  }
}

QualitySum sum_of(const signed char* qualities, std::int64_t length, const encoding_t& encoding) {
  const int ignored = ignored_byte(encoding);
  const auto ignored_quality = static_cast<signed char>(ignored);
  const bool ignores = ignored_quality == ignored;
  // What completes a last block is to be left out as well.
  const signed char padding = ignores ? ignored_quality : static_cast<signed char>(0);
  const auto n = static_cast<std::size_t>(length);
  std::int64_t sum = 0;
  std::int64_t left_out = 0;
  for (std::size_t at = 0; at < n; at += kStretch) {
    std::array<std::int16_t, kBlock> sums{};
    std::array<std::uint8_t, kBlock> counts{};
    for_each_block(qualities + at, std::min(n - at, kStretch), padding,
                   [&](const signed char* block, std::size_t) {
                     add_qualities(block, sums.data());
                     if (ignores) count_ignored(block, ignored_quality, counts.data());
                   });
    sum += std::accumulate(sums.begin(), sums.end(), 0);
    left_out += std::accumulate(counts.begin(), counts.end(), 0);
  }
  const std::size_t whole = ignores ? (n + kBlock - 1) / kBlock * kBlock : n;
  return {sum - left_out * ignored, static_cast<std::int64_t>(whole) - left_out};
}

// Counts `length` qualities, and the average that `sum` of them gives.
void count_qualities(const signed char* qualities, std::int64_t length, const QualitySum& sum,
                     const encoding_t& encoding, distribution_t& distribution) {
  QualityTally& tally = distribution.recent_qualities;
  const auto tallied = std::min(length, static_cast<std::int64_t>(tally.positions()));
  if (tally.full()) tally.move_to(distribution.quality_matrix.get(), distribution.ignored);
  tally.add(qualities, static_cast<std::size_t>(tallied));
  const auto rows = static_cast<std::int64_t>(distribution.quality_rows);
  double* column = distribution.quality_matrix.get() + rows * tallied;
  for (std::int64_t i = tallied; i < length; ++i, column += rows) {
    if (qualities[i] != distribution.ignored) ++column[qualities[i] - encoding.min_quality];
  }
  if (sum.count == 0) return;
  std::int64_t average = sum.sum / sum.count;
  if (average >= encoding.max_quality) average = encoding.max_quality - 1;
  ++distribution.average_histogram.at(static_cast<std::size_t>(average - encoding.min_quality));
}

}  // namespace

void getEmptyDistribution(distribution_t* distribution, encoding_t* encoding) {
  const std::size_t rows = quality_rows_of(*encoding);
  std::int64_t capacity = kFirstCapacity;
  if (encoding->read_length != -1) capacity = encoding->read_length;
  require_table(rows, capacity);
  if (encoding->read_length != -1) {
    encoding->scan_start = 0;
    encoding->scan_end = capacity - 1;
  }
  require_span(*encoding);
  *distribution = distribution_t();
  distribution->capacity = static_cast<int>(capacity);
  distribution->quality_rows = rows;
  distribution->average_histogram.resize(rows - 1);
  distribution->quality_matrix = matrixAllocate(rows, static_cast<std::size_t>(capacity));
  distribution->recent_qualities = QualityTally(encoding->min_quality, rows);
  distribution->ignored = ignored_byte(*encoding);
  distribution->gc_histogram.resize(kGcBins);
  distribution->base_matrix = matrixAllocate(kBaseRows, static_cast<std::size_t>(capacity));
}

void updateDistribution(const char* seq, const char* qual, int length, const encoding_t* encoding,
                        distribution_t* distribution) {
  const Span span = span_of(length, *encoding);
  const std::int64_t n = span.length();
  const QualitySum sum = n > 0 ? sum_of(bytes_at(qual, span.start), n, *encoding) : QualitySum();
  const double average = span.start > span.end ? 0.0 : sum.mean();
  if (average < encoding->min_average) return;
  if (n == 0 || (encoding->min_length != -1 && n < encoding->min_length)) return;
  if (n < kLowestInt) throw InvalidData();

  const int span_length = static_cast<int>(n);
  ++distribution->length_histogram[span_length];
  if (span_length > distribution->capacity) grow(*distribution, 2 * n);
  ++distribution->read_count;
  distribution->max_length = std::max(distribution->max_length, span_length);
  scanSequence(span.start, span.end, seq, distribution);
  if (n > 0) count_qualities(bytes_at(qual, span.start), n, sum, *encoding, *distribution);
}

void scanSequence(int start, int end, const char* seq, distribution_t* distribution) {
  const std::int64_t n = Span{start, end}.length();
  std::int64_t gc = 0;
  if (n > 0) {
    gc = count_letters(seq + start, static_cast<std::size_t>(n), *distribution);
  }
  const std::int64_t bin = gc != n ? kGcBins * gc / n : kGcBins - 1;
  ++distribution->gc_histogram.at(static_cast<std::size_t>(bin));
}

int scanQuality(int start, int end, const char* qual, const encoding_t* encoding,
                distribution_t* distribution) {
  const std::int64_t n = Span{start, end}.length();
  if (n <= 0) return 0;
  const signed char* const qualities = bytes_at(qual, start);
  const QualitySum sum = sum_of(qualities, n, *encoding);
  count_qualities(qualities, n, sum, *encoding, *distribution);
  return static_cast<int>(sum.count);
}

double getAverageQuality(const char* qual, int start, int end, const encoding_t* encoding) {
  if (end < start) return 0.0;
  return sum_of(bytes_at(qual, start), Span{start, end}.length(), *encoding).mean();
}

void settle(distribution_t* distribution) {
  distribution->recent_bases.move_to(distribution->base_matrix.get());
  distribution->recent_qualities.move_to(distribution->quality_matrix.get(), distribution->ignored);
}

HostMatrix matrixAllocate(std::size_t rows, std::size_t columns) {
  return make_host_block<double>(rows * columns);
}

void matrixRealloc(HostMatrix& matrix, std::size_t rows, std::size_t old_columns,
                   std::size_t columns) {
  resize_host_block(matrix, rows * columns);
  if (columns <= old_columns) return;
  std::fill(matrix.get() + rows * old_columns, matrix.get() + rows * columns, 0.0);
}

}  // namespace readkit
