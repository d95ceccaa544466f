// Sorting in one run against sorting in many small ones and merging them, and a shuffle: the same
// records, and, but for the shuffle, the same order of places.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "bam/bam.h"
#include "fuzz/support/blocks.h"
#include "fuzz/support/calls.h"
#include "fuzz/support/samples.h"
#include "fuzz/support/scratch.h"
#include "fuzz/support/target.h"

namespace readkit::fuzz {
namespace {

struct Record {
  std::pair<std::uint32_t, int> place;  // records without a reference come last
  std::string block;
  bool operator<(const Record& other) const { return block < other.block; }
  bool operator==(const Record& other) const = default;
};
using Records = std::vector<Record>;

Records records_of(const Path& path) {
  Records records;
  BAM bam(path);
  while (bam.next_alignment()) {
    records.push_back(
        {{static_cast<std::uint32_t>(bam.ref_id()), bam.pos()},
         {reinterpret_cast<const char*>(bam.data()), static_cast<std::size_t>(bam.block_size())}});
  }
  return records;
}

Records sorted_by_bytes(Records records) {
  std::sort(records.begin(), records.end());
  return records;
}

void check_order(const Records& records) {
  const auto before = [](const Record& a, const Record& b) { return a.place < b.place; };
  require(std::is_sorted(records.begin(), records.end(), before), "a sorted file is not sorted");
}

// The records of base + ".bam" after `work`, which must leave no temporary file.
template <typename Work>
Records made_by(const Work& work) {
  const std::string name = fresh_file("sorted.bam");
  const UString base = path_of(scratch().native("sorted")).text();
  work(base);
  require(!scratch().exists("sorted.0.bam"), "a temporary file is left over");
  return records_of(path_of(name));
}

void run(Input input) {
  const std::uint8_t choice = input.byte();
  const std::string file = file_with("a.bam", input.rest());
  const RunLimits one_run = {.bytes = std::numeric_limits<std::uint64_t>::max()};
  const RunLimits many_runs = {.records = 1U + choice / 2 % 8, .bytes = one_run.bytes};
  constexpr std::size_t kMostRecords = 64;
  Records input_records;
  if (!error_of("reading", [&] { input_records = records_of(path_of(file)); }).empty()) return;
  if (input_records.size() > kMostRecords) return;

  const Records whole =
      made_by([&](const UString& base) { BAM(path_of(file)).sort(base, one_run); });
  Records stable = input_records;
  std::stable_sort(stable.begin(), stable.end(),
                   [](const Record& a, const Record& b) { return a.place < b.place; });
  require(whole == stable, "one run does not keep the order of equal places");

  const Records joined = made_by([&](const UString& base) {
    BAM bam(path_of(file));
    if (choice % 2 == 0) return bam.sort(base, many_runs);
    bam.shuffle(
        base, [choice] { return choice; }, many_runs);
  });
  require(sorted_by_bytes(joined) == sorted_by_bytes(input_records),
          "runs that are joined lose or change records");
  if (choice % 2 == 0) check_order(joined);
}

std::vector<std::string> seeds() {
  return behind({std::string(1, '\0'), "\1", "\4", "\5"}, bam_files());
}

const Registration registration(
    {.name = "sorting", .run = run, .seeds = seeds, .choices = 1, .change = change_bam});

}  // namespace
}  // namespace readkit::fuzz
