#include "cli/quality/counts.h"

#include <algorithm>
#include <numeric>
#include <span>
#include <string_view>

#include "cli/advice.h"
#include "cli/job.h"
#include "host/error.h"

namespace readkit::cli {
namespace {

// The outputs of scanQualities, in their order.
enum Output : std::uint8_t { kAverages, kQualityMatrix, kGc, kBaseMatrix, kReads, kLengths };
constexpr int kOutputs = 6;

// One quality more than any character stands for: the library counts an average of the largest
// quality as one less.
constexpr int kLargest = QualityCounts::kQualities;
constexpr std::size_t kRows = kLargest + 1;

// What scanQualities calls the kinds of files.
int source_type(Kind kind) {
  if (kind == Kind::kFastq) return 1;
  return kind == Kind::kSam ? 2 : 3;
}

std::vector<host::Owned> inputs_of(const Input& input, const ScanSettings& settings) {
  const auto number = [](std::int64_t value) { return host::make_scalar(value); };
  std::vector<std::int64_t> selected(static_cast<std::size_t>(settings.first.value_or(0)));
  std::iota(selected.begin(), selected.end(), 0);
  std::vector<host::Owned> inputs;
  inputs.push_back(number(source_type(input.kind())));
  inputs.push_back(host::make_text(std::string_view(input.path())));
  inputs.push_back(number(0));
  inputs.push_back(number(kLargest));
  inputs.push_back(number('!'));
  inputs.push_back(number(-1));  // no quality is ignored
  inputs.push_back(number(-1));  // reads may have any length
  inputs.push_back(host::make_scalar(settings.min_average));
  inputs.push_back(number(settings.first.value_or(-1)));
  inputs.push_back(host::make_row(selected));
  inputs.push_back(number(settings.min_length));
  inputs.push_back(number(settings.from - 1));
  inputs.push_back(number(settings.to.value_or(0) - 1));
  inputs.push_back(host::make_scalar(!settings.mapped_only));
  return inputs;
}

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

QualityCounts::QualityCounts(Job& job, const Input& input, const ScanSettings& settings)
    : outputs_(job.call_with("scanQualities", kOutputs, inputs_of(input, settings))) {
  // No character of a quality line stands for the row that was asked for in excess.
  const std::span<const double> matrix = values(outputs_[kQualityMatrix]);
  for (std::size_t last = kRows - 1; last < matrix.size(); last += kRows) {
    if (matrix[last] == 0) continue;
    throw failure_of(host::HostError("seqlab:scanqualities:InvalidData"), input.name(), {});
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

}  // namespace readkit::cli
