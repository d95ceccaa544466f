// Shuffling a file of any size: runs are shuffled in memory and then interleaved at random.
#include <algorithm>
#include <memory>
#include <random>

#include "bam/bam.h"
#include "bam/readers.h"
#include "bam/runs.h"
#include "core/errors.h"

namespace readkit {
namespace {

std::uint32_t system_seed() { return std::random_device("/dev/urandom")(); }

}  // namespace

void BAM::shuffle(const UString& base) {
  shuffle(base, system_seed, RunLimits::for_this_machine());
}

void BAM::shuffle(const UString& base, std::uint32_t seed) {
  shuffle(
      base, [seed]() mutable { return seed++; }, RunLimits::for_any_machine());
}

void BAM::shuffle(const UString& base, const SeedSource& seeds, const RunLimits& limits) {
  const UString out = base + u".bam";
  std::mt19937 random(seeds());
  process_runs(
      {path_, [this] { return next_alignment(); }, *this, header_}, base, limits,
      {[&random](RunBuffer& run) { run.shuffle(random); },
       [&](const RunBuffer& run) { write_bam(out, header_, run); },
       [&](const std::vector<UString>& names) { merge_shuffled_bams(names, out, seeds()); }});
}

void merge_shuffled_bams(const std::vector<UString>& inputs, const UString& out) {
  merge_shuffled_bams(inputs, out, system_seed());
}

void merge_shuffled_bams(const std::vector<UString>& inputs, const UString& out,
                         std::uint32_t seed) {
  const auto check = [&out](bool written) {
    if (!written) throw FileWrite(out);
  };
  refuse_to_overwrite(inputs, out);
  BAM output(Path(out), "w");
  Readers readers = open_readers(inputs);
  check(output.write(readers.at(0)->header()));
  std::erase_if(readers, [](const auto& reader) { return reader->at_end(); });
  std::mt19937 random(seed);
  std::shuffle(readers.begin(), readers.end(), random);
  while (!readers.empty()) {
    BAM& chosen = *readers.back();
    check(output.write(static_cast<const Alignment&>(chosen)));
    if (!chosen.next_alignment()) readers.pop_back();
    std::shuffle(readers.begin(), readers.end(), random);
  }
  check(output.close() == 0);
}

}  // namespace readkit
