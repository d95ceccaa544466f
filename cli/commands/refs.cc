// readkit refs: the references of a BAM or SAM file.
#include <memory>
#include <string>

#include "cli/alignments/alignment_header.h"
#include "cli/commands/commands.h"
#include "cli/job/input.h"
#include "cli/job/job.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

int run_refs(const std::string& file, Job& job) {
  const Input input(job, file, {Kind::kBam, Kind::kSam});
  const AlignmentHeader header = read_header(job, input);
  if (!job.json()) {
    for (const Reference& reference : header.references) {
      job.out().append(reference.name);
      job.out().append('\t');
      job.out().append(std::to_string(reference.length));
      job.out().append('\n');
    }
    return kSuccess;
  }
  JsonWriter& json = job.begin_document();
  json.member("file", input.name());
  json.key("references");
  json.begin_array();
  for (const Reference& reference : header.references) {
    json.begin_object();
    json.member("name", reference.name);
    json.member("length", reference.length);
    json.end_object();
  }
  json.end_array();
  job.end_document();
  return kSuccess;
}

}  // namespace

Command refs_command() {
  const auto file = std::make_shared<std::string>();
  Command command("refs", "List the references of a BAM or SAM file with their lengths");
  command.describe(
      "Prints a line for each reference in the order of the file: its name, a tab, its length in "
      "bases. Names and lengths are those of the binary dictionary of a BAM file, and those of the "
      "@SQ lines of a SAM file.");
  command.add("", file_value(), *file, "A BAM or SAM file; - is standard input");
  command.add_common();
  command.example("readkit refs reads.bam", "List all references.");
  return command.run([file](Job& job) { return run_refs(*file, job); });
}

}  // namespace readkit::cli
