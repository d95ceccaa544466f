#include "cli/quality/scan.h"

#include <numeric>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "cli/job/advice.h"
#include "cli/job/job.h"
#include "host/error.h"

namespace readkit::cli {
namespace {

using report::QualityCounts;
using report::ScanSettings;

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
  inputs.push_back(number(QualityCounts::kLargest));
  inputs.push_back(number('!'));
  inputs.push_back(number(-1));  // no quality is ignored
  inputs.push_back(number(-1));  // reads may have any length
  inputs.push_back(host::make_scalar(settings.min_average.value_or(0)));
  inputs.push_back(number(settings.first.value_or(-1)));
  inputs.push_back(host::make_row(selected));
  inputs.push_back(number(settings.min_length));
  inputs.push_back(number(settings.from - 1));
  inputs.push_back(number(settings.to.value_or(0) - 1));
  inputs.push_back(host::make_scalar(!settings.mapped_only));
  return inputs;
}

}  // namespace

QualityCounts scan_qualities(Job& job, const Input& input, const ScanSettings& settings) {
  std::vector<host::Owned> outputs =
      job.call_with("scanQualities", QualityCounts::kOutputs, inputs_of(input, settings));
  try {
    return QualityCounts(std::move(outputs));
  } catch (const std::invalid_argument&) {
    throw failure_of(host::HostError("seqlab:scanqualities:InvalidData"), input.name(), {});
  }
}

}  // namespace readkit::cli
