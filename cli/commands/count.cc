// readkit count: how many records pass filters, and why the others do not.
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "cli/commands/commands.h"
#include "cli/job/input.h"
#include "cli/job/job.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

struct CountOptions {
  std::string input;
  std::string multi_mapped = "keep";
  bool both_ends = false;
  bool proper_pairs = false;
  std::optional<std::int64_t> quality;
};

// In the order of the library's tallies.
constexpr std::array<const char*, 5> kReasons = {"unmapped", "supplementary", "low_quality",
                                                 "pairing", "multi_mapped"};

int mode_of(const std::string& name) {
  if (name == "drop-nh") return 1;
  return name == "drop-secondary" ? 2 : 0;
}

int run_count(const CountOptions& options, Job& job) {
  const Input input(job, options.input, {Kind::kBam});
  job.set_main_input(input);
  const std::vector<host::Owned> outputs =
      job.call("getFeatureCountData", 9, input.path(), mode_of(options.multi_mapped),
               options.both_ends, options.proper_pairs, options.quality.value_or(0));
  constexpr std::size_t kTallies = 7;
  constexpr std::size_t kSomeMissing = 8;
  const auto tally = [&](std::size_t i) {
    const txArray* const cell = host::cell_of(outputs[kTallies].get(), i);
    return static_cast<std::uint64_t>(host::data_of<double>(cell)[0]);
  };
  const std::uint64_t kept = host::data_of<std::int32_t>(outputs[2].get()).size();
  const std::uint64_t total = tally(kReasons.size());
  const bool some_missing = host::data_of<bool>(outputs[kSomeMissing].get())[0];
  if (some_missing) {
    job.messages().warn(input.name(), "some records have no field NH; they count as mapped once");
  }
  if (job.json()) {
    JsonWriter& json = job.begin_document();
    json.member("file", input.name());
    json.key("filters");
    json.begin_object();
    json.member("multi_mapped", options.multi_mapped);
    json.member("both_ends_mapped", options.both_ends);
    json.member("proper_pairs", options.proper_pairs);
    json.member("min_mapping_quality", options.quality.value_or(0));
    json.end_object();
    json.member("records", total);
    json.key("dropped");
    json.begin_object();
    for (std::size_t i = 0; i < kReasons.size(); ++i) json.member(kReasons[i], tally(i));
    json.end_object();
    json.member("kept", kept);
    json.member("some_nh_missing", some_missing);
    job.end_document();
    return kSuccess;
  }
  const auto line = [&job](const char* name, std::uint64_t number) {
    job.out().append(std::string(name) + '\t' + std::to_string(number) + '\n');
  };
  line("records", total);
  for (std::size_t i = 0; i < kReasons.size(); ++i) line(kReasons[i], tally(i));
  line("kept", kept);
  return kSuccess;
}

}  // namespace

Command count_command() {
  const auto options = std::make_shared<CountOptions>();
  Command command("count", "Count the records that pass filters, and those that do not");
  command.describe(
      "Reads the whole file. Each record that is dropped counts once, for the first reason that "
      "applies: unmapped (flag 0x4), supplementary (0x800), low_quality (--min-MQ), pairing "
      "(--both-ends-mapped, --proper-pairs), multi_mapped (--multi-mapped).");
  command.add("", file_value(), options->input, "A BAM file; - is standard input");
  command.add("--multi-mapped", choice_value("HOW", {"keep", "drop-nh", "drop-secondary"}),
              options->multi_mapped,
              "What becomes of reads with several alignments: they are kept (the default), records "
              "with 2 or more in the field NH are dropped, or secondary records (0x100) are");
  command.add_flag("--both-ends-mapped", options->both_ends,
                   "Drop paired records whose mate is unmapped");
  command.add_flag("--proper-pairs", options->proper_pairs,
                   "Drop paired records that are not properly aligned");
  command.add_number("--min-MQ", "N", 0, 255, options->quality,
                     "Drop records with a lower mapping quality");
  command.add_common();
  command.example("readkit count reads.bam", "Count all mapped records.");
  command.example("readkit count --min-MQ 20 --proper-pairs reads.bam",
                  "Count those of good pairs that are surely placed.");
  return command.run([options](Job& job) { return run_count(*options, job); });
}

}  // namespace readkit::cli
