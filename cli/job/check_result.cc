#include "cli/job/check_result.h"

#include <span>

namespace readkit::cli {

CheckResult check_result(const txArray* a) {
  const auto number = [a](const char* name) {
    return static_cast<std::uint64_t>(host::data_of<double>(host::field_of(a, name))[0]);
  };
  const auto truth = [a](const char* name) {
    return host::data_of<bool>(host::field_of(a, name))[0];
  };
  CheckResult result;
  result.kind = host::text_of(host::field_of(a, "kind"));
  result.records = number("records");
  result.blocks = number("blocks");
  result.sorted = truth("sorted");
  result.end_marker = truth("end_marker");
  result.count = number("count");
  const txArray* const findings = host::field_of(a, "findings");
  const std::vector<std::string> identifiers =
      host::texts_of(host::field_of(findings, "identifier"));
  const std::span<const std::uint64_t> offsets =
      host::data_of<std::uint64_t>(host::field_of(findings, "offset"));
  const std::span<const double> records = host::data_of<double>(host::field_of(findings, "record"));
  const std::vector<std::string> texts = host::texts_of(host::field_of(findings, "text"));
  result.findings.reserve(identifiers.size());
  for (std::size_t i = 0; i < identifiers.size(); ++i) {
    result.findings.push_back(
        {identifiers[i], offsets[i], static_cast<std::uint64_t>(records[i]), texts[i]});
  }
  return result;
}

}  // namespace readkit::cli
