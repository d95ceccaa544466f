#include "support/quality_checks.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <span>
#include <utility>

#include "host/error.h"
#include "support/reference_decoder.h"
#include "support/test_data.h"

namespace readkit {
namespace {

namespace fs = std::filesystem;

Inputs inputs_of(ScanSource source, host::Owned data, const ScanSettings& s) {
  const RecordNumbers numbers = s.selected.value_or(RecordNumbers());
  const auto count = static_cast<std::int64_t>(numbers.size());
  return inputs(host::make_scalar(static_cast<std::int64_t>(source)), std::move(data),
                host::make_scalar(s.min_quality), host::make_scalar(s.max_quality),
                host::make_scalar(s.offset), host::make_scalar(s.ignore_value),
                host::make_scalar(s.read_length), host::make_scalar(s.min_average),
                host::make_scalar(s.selected.has_value() ? count : std::int64_t{-1}),
                host::make_row(numbers), host::make_scalar(s.min_length),
                host::make_scalar(s.scan_start), host::make_scalar(s.scan_end),
                host::make_scalar(s.flag));
}

testing::AssertionResult is_table(const host::Owned& output, const ModelTable& table) {
  if (txGetClassID(output.get()) != txDOUBLE_CLASS ||
      host::dims_of(output.get()) != host::Dims{table.rows, table.columns}) {
    return testing::AssertionFailure()
           << "is " << txGetM(output.get()) << " x " << txGetN(output.get()) << " of class "
           << host::class_name(txGetClassID(output.get())) << ", expected doubles, " << table.rows
           << " x " << table.columns;
  }
  const std::span<const double> values = host::data_of<double>(output.get());
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (values[i] == table.values.at(i)) continue;
    return testing::AssertionFailure()
           << "has " << values[i] << ", expected " << table.values[i] << ", at row "
           << i % table.rows << ", column " << i / table.rows;
  }
  return testing::AssertionSuccess();
}

// What the standard exception says is the standard library's.
testing::AssertionResult is_error(const host::HostError& error, const std::string& identifier,
                                  const UString& file) {
  const bool is_of_file = identifier.starts_with("seqlab:readkit:");
  const ErrorArguments arguments = is_of_file ? ErrorArguments{file} : ErrorArguments{};
  const bool has_text = identifier.starts_with("Tessel:cpp:");
  if (error.identifier() == identifier && (has_text || error.arguments() == arguments)) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure()
         << "the scan fails with " << describe(error.identifier(), error.arguments())
         << ", expected " << (identifier.empty() ? "a result" : describe(identifier, arguments));
}

// No number, some numbers, and one that no record has.
std::vector<NamedSettings> selections(std::size_t records) {
  const auto last = static_cast<std::int64_t>(records) - 1;
  RecordNumbers every_third;
  for (std::int64_t number = 0; number <= last; number += 3) every_third.push_back(number);
  return {{"the first", {.selected = RecordNumbers{0}}},
          {"every third", {.selected = every_third}},
          {"the last", {.selected = RecordNumbers{std::max<std::int64_t>(last, 0)}}},
          {"beyond the end", {.selected = RecordNumbers{0, last + 5}}},
          {"none", {.selected = RecordNumbers()}}};
}

}  // namespace

Inputs scan_inputs(ScanSource source, const std::string& native, const ScanSettings& settings) {
  return inputs_of(source, host::make_text(native), settings);
}

Inputs scan_inputs(const ScanReads& reads, const ScanSettings& settings) {
  std::vector<std::string> bases;
  std::vector<std::string> qualities;
  for (const ScanRead& read : reads.reads) {
    bases.push_back(read.bases);
    qualities.push_back(read.qualities);
  }
  std::vector<std::pair<std::string, host::Owned>> fields;
  fields.emplace_back("Sequence", host::make_cell_of_texts(bases));
  fields.emplace_back("Quality", host::make_cell_of_texts(qualities));
  return inputs_of(ScanSource::kMemory, host::make_struct(std::move(fields)), settings);
}

testing::AssertionResult scans_as(const ModelScan& expected, const Inputs& inputs,
                                  const UString& file) {
  const LeakCheck leaks;
  try {
    const Outputs outputs = call_gateway("scanQualities", 6, inputs);
    if (!expected.error.empty()) {
      return testing::AssertionFailure() << "the scan succeeds, expected " << expected.error;
    }
    if (outputs.size() != expected.outputs.size()) {
      return testing::AssertionFailure() << outputs.size() << " outputs";
    }
    for (std::size_t i = 0; i < outputs.size(); ++i) {
      const testing::AssertionResult same = is_table(outputs[i], expected.outputs[i]);
      if (!same) return testing::AssertionFailure() << "output " << i << ' ' << same.message();
    }
    return testing::AssertionSuccess();
  } catch (const host::HostError& error) {
    return is_error(error, expected.error, file);
  }
}

std::vector<std::string> real_fastqs() {
  if (test_data_folder().empty()) return {""};
  std::vector<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(test_file("fastq"))) {
    if (!entry.is_regular_file()) continue;
    names.push_back(entry.path().lexically_relative(test_data_folder()).string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string real_fastq_bytes(const std::string& name) { return gunzip_file(test_file(name)); }

std::vector<NamedSettings> scan_settings(std::size_t records) {
  std::vector<NamedSettings> all = {
      {"defaults", {}},
      {"offset 64", {.min_quality = -5, .max_quality = 62, .offset = 64}},
      {"up to 41", {.max_quality = 41}},
      {"one value", {.min_quality = 93}},
      {"up to 500", {.max_quality = 500}},
      {"ignoring 2", {.ignore_value = 2}},
      {"average from 20", {.min_average = 20}},
      {"length from 50", {.min_length = 50}},
      {"span", {.scan_start = 10, .scan_end = 39}},
      {"a whole span", {.min_length = 30, .scan_start = 10, .scan_end = 39}},
      {"fixed length", {.read_length = 50}},
  };
  for (NamedSettings& selection : selections(records)) all.push_back(std::move(selection));
  return all;
}

std::vector<NamedSettings> few_scan_settings(std::size_t records) {
  return {{"up to 41", {.max_quality = 41, .ignore_value = 2}},
          {"span", {.max_quality = 93, .min_average = 20, .scan_start = 10, .scan_end = 39}},
          selections(records)[1]};
}

}  // namespace readkit
