#include "report/counts.h"

#include <span>
#include <stdexcept>
#include <utility>

namespace readkit::report {
namespace {

// The outputs of scanQualities, in their order.
enum Output : std::uint8_t { kAverages, kQualityMatrix, kGc, kBaseMatrix, kReads, kLengths };

// One quality more than any character stands for: the library counts an average of the largest
// quality as one less.
constexpr std::size_t kRows = QualityCounts::kLargest + 1;

std::span<const double> values(const host::Owned& output) {
  return host::data_of<double>(output.get());
}

std::uint64_t count(double value) { return static_cast<std::uint64_t>(value); }

// The sums of the rows of a matrix over the columns [begin, end).
template <typename Sums>
Sums row_sums(std::span<const double> matrix, std::size_t rows, std::size_t begin,
              std::size_t end) {
  Sums sums = {};
  for (std::size_t column = begin; column < end; ++column) {
    for (std::size_t row = 0; row < sums.size(); ++row) {
      sums[row] += count(matrix[column * rows + row]);
    }
  }
  return sums;
}

}  // namespace

QualityCounts::QualityCounts(std::vector<host::Owned> outputs) : outputs_(std::move(outputs)) {
  bool are_tables = outputs_.size() == kOutputs;
  for (const host::Owned& output : outputs_) {
    are_tables = are_tables && output && txGetClassID(output.get()) == txDOUBLE_CLASS;
  }
  if (!are_tables || values(outputs_[kAverages]).size() != kQualities ||
      values(outputs_[kGc]).size() != kGcBins || values(outputs_[kReads]).size() != 1 ||
      values(outputs_[kQualityMatrix]).size() != kRows * positions() ||
      values(outputs_[kBaseMatrix]).size() != kLetters * positions() ||
      values(outputs_[kLengths]).size() % 2 != 0) {
    throw std::invalid_argument("tables of another form");
  }
  // No character of a quality line stands for the row that was asked for in excess.
  const std::span<const double> matrix = values(outputs_[kQualityMatrix]);
  for (std::size_t last = kRows - 1; last < matrix.size(); last += kRows) {
    if (matrix[last] != 0) throw std::invalid_argument("a quality that no character stands for");
  }
}

std::uint64_t QualityCounts::reads() const { return count(values(outputs_[kReads])[0]); }

std::size_t QualityCounts::positions() const {
  return values(outputs_[kBaseMatrix]).size() / kLetters;
}

QualityCounts::Histogram QualityCounts::qualities(std::size_t begin, std::size_t end) const {
  return row_sums<Histogram>(values(outputs_[kQualityMatrix]), kRows, begin, end);
}

QualityCounts::Letters QualityCounts::letters(std::size_t begin, std::size_t end) const {
  return row_sums<Letters>(values(outputs_[kBaseMatrix]), kLetters, begin, end);
}

QualityCounts::Histogram QualityCounts::averages() const {
  return row_sums<Histogram>(values(outputs_[kAverages]), kQualities, 0, 1);
}

std::array<std::uint64_t, QualityCounts::kGcBins> QualityCounts::gc() const {
  return row_sums<std::array<std::uint64_t, kGcBins>>(values(outputs_[kGc]), kGcBins, 0, 1);
}

std::vector<std::pair<std::uint64_t, std::uint64_t>> QualityCounts::lengths() const {
  const std::span<const double> table = values(outputs_[kLengths]);
  const std::size_t rows = table.size() / 2;
  std::vector<std::pair<std::uint64_t, std::uint64_t>> lengths(rows);
  for (std::size_t i = 0; i < rows; ++i) lengths[i] = {count(table[i]), count(table[rows + i])};
  return lengths;
}

}  // namespace readkit::report
