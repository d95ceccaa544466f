// readkit index: a BAI index of a BAM file.
#include <memory>
#include <optional>
#include <string>

#include "cli/commands/commands.h"
#include "cli/job/input.h"
#include "cli/job/job.h"
#include "cli/job/target.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

struct IndexOptions {
  std::string input;
  std::optional<std::string> index;
  std::optional<std::string> output;
  bool exact = false;
};

std::string index_name(const IndexOptions& options, const Input& input) {
  if (options.index && options.output) {
    throw UsageError("the index is named twice: " + *options.index + " and " + *options.output);
  }
  if (options.output) return *options.output;
  if (options.index) return *options.index;
  if (input.is_spooled()) {
    throw UsageError("an index of " + input.name() + " needs a name: use -o INDEX");
  }
  return input.path() + ".bai";
}

int run_index(const IndexOptions& options, Job& job) {
  const Input input(job, options.input, {Kind::kBam});
  job.set_main_input(input);
  Target target(job, index_name(options, input), Target::Content::kBinary,
                Target::Existing::kReplaced, {&input});
  if (job.json() && target.is_standard_output()) {
    throw UsageError("--json needs an output file: standard output has room for one of the two");
  }
  if (options.exact) {
    job.messages().warn(target.name(),
                        "queries through an --exact index can miss records without a word",
                        "for queries make the index without --exact");
  }
  target.write("out.bai", [&](const std::string& path) {
    job.call(options.exact ? "bamIndex" : "kxBamIndexComplete", 0, input.path(), path);
  });
  if (!job.json()) return kSuccess;
  JsonWriter& json = job.begin_document();
  json.member("input", input.name());
  json.member("index", target.name());
  json.member("complete", !options.exact);
  job.end_document();
  return kSuccess;
}

}  // namespace

Command index_command() {
  const auto options = std::make_shared<IndexOptions>();
  Command command("index", "Make a BAI index of a sorted BAM file");
  command.describe(
      "Writes FILE.bai, or the file that is named. An index that exists is replaced. Queries "
      "through it miss no record, and other tools read it.");
  command.add("", file_value(), options->input,
              "A BAM file in coordinate order; - is standard input, then -o is needed");
  command.add("", file_value("INDEX"), options->index, "The index to write");
  command.add("-o,--output", file_value("INDEX"), options->output, "The same as an option");
  command.add_flag("--exact", options->exact,
                   "Make the index that the library function bamIndex makes: it is sparse, and "
                   "queries through it can miss records");
  command.add_common();
  command.example("readkit index sorted.bam", "Write sorted.bam.bai.");
  return command.run([options](Job& job) { return run_index(*options, job); });
}

}  // namespace readkit::cli
