// A FASTQ file through the quality scan, against a slow model of it.
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/support/calls.h"
#include "fuzz/support/scratch.h"
#include "fuzz/support/target.h"
#include "gateway/gateways.h"
#include "support/quality_model.h"

namespace readkit::fuzz {
namespace {

ScanSettings settings_of(Input& input) {
  ScanSettings settings;
  settings.min_quality = input.take<std::int8_t>();
  settings.max_quality = settings.min_quality + input.byte();
  settings.offset = input.take<std::int8_t>();
  settings.ignore_value = input.take<std::int8_t>();
  settings.read_length = input.take<std::int8_t>();
  settings.min_average = input.take<std::int8_t>();
  settings.min_length = input.take<std::int8_t>();
  settings.scan_start = input.byte();
  settings.scan_end = input.take<std::int8_t>();
  if (const std::uint8_t record = input.byte(); record != 0) {
    settings.selected = RecordNumbers{record - 1, record + 1};
  }
  return settings;
}

Inputs inputs_of(const std::string& file, const ScanSettings& s) {
  const RecordNumbers selected = s.selected.value_or(RecordNumbers{});
  const std::int64_t count = s.selected ? static_cast<std::int64_t>(selected.size()) : -1;
  return inputs(host::make_scalar(std::int64_t{1}), host::make_text(file),
                host::make_scalar(s.min_quality), host::make_scalar(s.max_quality),
                host::make_scalar(s.offset), host::make_scalar(s.ignore_value),
                host::make_scalar(s.read_length), host::make_scalar(s.min_average),
                host::make_scalar(count), host::make_row(selected), host::make_scalar(s.min_length),
                host::make_scalar(s.scan_start), host::make_scalar(s.scan_end),
                host::make_scalar(s.flag));
}

// The model does not know what a NUL far behind in a line does.
bool is_for_model(std::string_view file) { return file.find('\0') == std::string_view::npos; }

void run(Input input) {
  const ScanSettings settings = settings_of(input);
  const std::string_view file = input.rest();
  const Outcome outcome =
      call("scanQualities", scanQualities, 6, inputs_of(file_with("a.fastq", file), settings));
  if (!is_for_model(file)) return;
  const ModelScan model = model_quality_scan(ScanSource::kFastq, model_fastq_reads(file), settings);
  require(outcome.error == model.error,
          "a scan ends with " + outcome.error + ", the model with " + model.error);
  for (std::size_t i = 0; i < outcome.outputs.size(); ++i) {
    const ModelTable& table = model.outputs[i];
    const txArray* const output = outcome.outputs[i].get();
    require(host::dims_of(output) == host::Dims{table.rows, table.columns} &&
                host::numbers_of(output) == table.values,
            "output " + std::to_string(i) + " is not the model's");
  }
}

std::vector<std::string> seeds() {
  const std::string plain("\0\135\41\377\377\0\377\0\377\0", 10);
  const std::string part("\0\135\41\2\4\3\1\1\2\2", 10);
  std::vector<std::string> seeds;
  for (const std::string& file :
       {std::string("@r1\nACGTN\n+\nIIII!\n@r2 x\nGG\n+r2\n#~\n@r3\nacgt\n+\n!!!!\n"),
        std::string("@r1\r\nACGT\r\n+\r\nIIII\r\n@r2\r\nA\r\n+\r\nJ"), std::string("@r\n\n+\n\n"),
        std::string("@r1\nACG\n+\nII\n"), std::string("\n@r\nA\n+\nI\n"),
        "@long\n" + std::string(1200, 'A') + "\n+\n" + std::string(1200, '5') + "\n",
        std::string()}) {
    seeds.push_back(plain + file);
    seeds.push_back(part + file);
  }
  return seeds;
}

const Registration registration({.name = "fastq", .run = run, .seeds = seeds, .choices = 10});

}  // namespace
}  // namespace readkit::fuzz
