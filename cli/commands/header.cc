// readkit header: the header text of a BAM or SAM file.
#include <memory>
#include <string>

#include "cli/alignments/alignment_header.h"
#include "cli/commands/commands.h"
#include "cli/job/input.h"
#include "cli/job/job.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

int run_header(const std::string& file, Job& job) {
  const Input input(job, file, {Kind::kBam, Kind::kSam});
  const AlignmentHeader header = read_header(job, input);
  if (!job.json()) {
    job.out().append(header.text);
    if (!header.text.empty() && !header.text.ends_with('\n')) job.out().append('\n');
    return kSuccess;
  }
  JsonWriter& json = job.begin_document();
  json.member("file", input.name());
  json.member("text", header.text);
  job.end_document();
  return kSuccess;
}

}  // namespace

Command header_command() {
  const auto file = std::make_shared<std::string>();
  Command command("header", "Print the header text of a BAM or SAM file");
  command.add("", file_value(), *file, "A BAM or SAM file; - is standard input");
  command.add_common();
  command.example("readkit header reads.bam", "Print the lines that begin with @.");
  command.example("readkit header reads.bam | grep ^@RG", "Its read groups.");
  return command.run([file](Job& job) { return run_header(*file, job); });
}

}  // namespace readkit::cli
