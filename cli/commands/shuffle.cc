// readkit shuffle: a BAM file in random order.
#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "cli/alignments/rewrite.h"
#include "cli/commands/commands.h"
#include "cli/job/input.h"
#include "cli/job/job.h"

namespace readkit::cli {
namespace {

int run_shuffle(const RewriteOptions& options, Job& job) {
  const Input input(job, options.input, {Kind::kBam});
  return rewrite(job, input, options, options.seed ? "kxBamShuffleSeeded" : "kxBamShuffle");
}

}  // namespace

Command shuffle_command() {
  const auto options = std::make_shared<RewriteOptions>();
  Command command("shuffle", "Put the records of a BAM file into random order");
  command.describe(
      "Every order is equally likely for files that one run of the sort holds; larger ones are "
      "shuffled run by run. The header is copied as it is, also a statement that the file is "
      "sorted. One thread does the work.");
  command.add_number("-s,--seed", "N", 0, std::numeric_limits<std::uint32_t>::max(), options->seed,
                     "The same seed gives the same order; without it every run gives another one");
  add_rewrite_options(command, *options);
  command.example("readkit shuffle --seed 7 -o mixed.bam reads.bam",
                  "Mix a file, and mix it in the same way another time.");
  return command.run([options](Job& job) { return run_shuffle(*options, job); });
}

}  // namespace readkit::cli
