#include "cli/alignments/rewrite.h"

#include "cli/job/job.h"
#include "cli/job/target.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

// A name that promises another format would deceive whoever opens the file.
void check_ending(const Input& input, const std::string& output) {
  const bool is_bam = input.kind() == Kind::kBam;
  if (!output.ends_with(is_bam ? ".sam" : ".bam")) return;
  throw UsageError(output + ": the output is " + name_of(input.kind()) +
                   ", as the input is; name it so, or use readkit convert");
}

}  // namespace

void add_rewrite_options(Command& command, RewriteOptions& options) {
  command.add("", file_value(), options.input, "The file to read; - is standard input");
  command.add("-o,--output", file_value(), options.output,
              "The file to write; - is standard output, the default");
  command.add_flag("-f,--force", options.force, "Replace an output that exists");
  command.add_common();
}

int rewrite(Job& job, const Input& input, const RewriteOptions& options, const char* function) {
  constexpr std::size_t kEnding = 4;
  const bool is_bam = input.kind() == Kind::kBam;
  job.set_main_input(input);
  job.progress().expect_second_stage();
  check_ending(input, options.output);
  Target target(job, options.output, is_bam ? Target::Content::kBinary : Target::Content::kText,
                options.force ? Target::Existing::kReplaced : Target::Existing::kKept, {&input});
  if (job.json() && target.is_standard_output()) {
    throw UsageError("--json needs an output file: standard output has room for one of the two");
  }
  target.write(is_bam ? "out.bam" : "out.sam", [&](const std::string& path) {
    const std::string base = path.substr(0, path.size() - kEnding);
    if (options.seed) {
      job.call(function, 0, input.path(), base, *options.seed);
    } else {
      job.call(function, 0, input.path(), base);
    }
  });
  if (!job.json()) return kSuccess;
  JsonWriter& json = job.begin_document();
  json.member("input", input.name());
  json.member("output", target.name());
  json.member("kind", name_of(input.kind()));
  if (options.seed) json.member("seed", *options.seed);
  job.end_document();
  return kSuccess;
}

}  // namespace readkit::cli
