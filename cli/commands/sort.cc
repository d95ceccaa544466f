// readkit sort: a BAM or SAM file in coordinate order.
#include <memory>
#include <string>

#include "cli/alignments/rewrite.h"
#include "cli/alignments/sam_losses.h"
#include "cli/commands/commands.h"
#include "cli/job/input.h"
#include "cli/job/job.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

int run_sort(const RewriteOptions& options, Job& job) {
  const Input input(job, options.input, {Kind::kBam, Kind::kSam});
  const bool is_bam = input.kind() == Kind::kBam;
  if (!is_bam) warn_of_sam_losses(job, input);
  return rewrite(job, input, options, is_bam ? "bamSort" : "samSort");
}

}  // namespace

Command sort_command() {
  const auto options = std::make_shared<RewriteOptions>();
  Command command("sort", "Sort a BAM or SAM file by coordinate");
  command.describe(
      "Writes the records by reference in the order of the header, then by position, those without "
      "a reference last. The output is of the kind of the input. The header is copied as it is: "
      "its "
      "SO field does not change. Files of any size are sorted in bounded memory; those that need "
      "temporary files have them beside the output, in a folder that is removed. One thread does "
      "the work.");
  add_rewrite_options(command, *options);
  command.example("readkit sort -o sorted.bam reads.bam", "Sort a file.");
  command.example("readkit sort reads.bam | readkit view - | head",
                  "Look at the first records without keeping the sorted file.");
  return command.run([options](Job& job) { return run_sort(*options, job); });
}

}  // namespace readkit::cli
