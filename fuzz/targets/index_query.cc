// A region of a sorted BAM file, asked for through an index and by reading the whole file: the
// index that the library builds gives some of the records that the scan gives, in their order, and
// one that misses nothing gives them all.
#include <algorithm>
#include <cstdint>
#include <exception>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "bam/bam.h"
#include "fuzz/support/blocks.h"
#include "fuzz/support/calls.h"
#include "fuzz/support/lines.h"
#include "fuzz/support/samples.h"
#include "fuzz/support/scratch.h"
#include "fuzz/support/target.h"
#include "support/index_model.h"
#include "support/reference_decoder.h"

namespace readkit::fuzz {
namespace {

using Blocks = std::vector<std::string>;

std::string block_of(const Alignment& record) {
  return {reinterpret_cast<const char*>(record.data()),
          static_cast<std::size_t>(record.block_size())};
}

Blocks query(BAM& bam, int ref, int beg, int end) {
  Blocks found;
  bam.find_init(ref, beg, end);
  while (bam.find_next(ref, beg, end)) found.push_back(block_of(bam));
  return found;
}

bool is_part_of(const Blocks& part, const Blocks& whole) {
  auto at = whole.begin();
  for (const std::string& block : part) {
    at = std::find(at, whole.end(), block);
    if (at++ == whole.end()) return false;
  }
  return true;
}

// Every record in the bin of what it covers, and for every window the first record in it. Nothing
// when there is a place that no such index can tell.
bool complete_index(const std::vector<ModelRecord>& records, int references, ModelIndex& index) {
  constexpr int kMostPlaces = 1 << 29;
  constexpr std::size_t kFewWindows = 4096;
  if (references > 16) return false;
  index.refs.assign(static_cast<std::size_t>(references), {});
  std::map<std::pair<int, std::uint32_t>, std::vector<ModelChunk>> bins;
  for (const ModelRecord& record : records) {
    if (record.ref < 0) continue;
    if (record.ref >= references || record.pos < 0 || record.end > kMostPlaces) return false;
    const int end = std::max(record.end, record.pos + 1);
    std::vector<ModelChunk>& chunks =
        bins[{record.ref, static_cast<std::uint32_t>(slow_bin(record.pos, end))}];
    const bool follows = !chunks.empty() && chunks.back().second == record.beg_offset;
    if (!follows) chunks.emplace_back(record.beg_offset, record.end_offset);
    chunks.back().second = record.end_offset;
    auto& linear = index.refs[static_cast<std::size_t>(record.ref)].linear;
    const auto last = static_cast<std::size_t>((end - 1) >> 14);
    if (last >= kFewWindows) return false;
    if (linear.size() <= last) linear.resize(last + 1);
    for (auto window = static_cast<std::size_t>(record.pos >> 14); window <= last; ++window) {
      if (linear[window] == 0) linear[window] = record.beg_offset;
    }
  }
  for (auto& [place, chunks] : bins) {
    index.refs[static_cast<std::size_t>(place.first)].bins.push_back({place.second, chunks});
  }
  return true;
}

// Records with such names end elsewhere for the library than for the model.
bool has_wrapping_name(const Path& path) {
  BAM bam(path);
  while (bam.next_alignment()) {
    if (bam.l_read_name() >= kWrappingName) return true;
  }
  return false;
}

void compare(const Path& sorted, int ref, int beg, int end) {
  BAM scanned(sorted);
  const Blocks whole = query(scanned, ref, beg, end);
  BAM indexed(sorted);
  const std::string error = error_of("build_index", [&] { indexed.build_index(); });
  if (error.empty()) {
    const std::string name = fresh_file("a.bai");
    require(indexed.save_index(path_of(name)), "an index cannot be written");
    const bool loaded = indexed.load_index(path_of(name));
    const Blocks part = query(indexed, ref, beg, end);
    require(!loaded || is_part_of(part, whole), "a query gives what a scan does not");
  }
  if (beg < 0 || end <= beg || has_wrapping_name(sorted)) return;
  std::vector<ModelRecord> records;
  try {
    records = model_records(scratch().read("sorted.bam"));
  } catch (const std::exception&) {
    return;  // optional fields that the model cannot walk
  }
  ModelIndex index;
  if (!complete_index(records, scanned.get_num_refs(), index)) return;
  BAM complete(sorted);
  require(complete.load_index(path_of(file_with("c.bai", encode_bai(index)))),
          "a complete index is passed over");
  require(query(complete, ref, beg, end) == whole, "a complete index misses records");
}

void run(Input input) {
  const auto ref = input.take<std::int8_t>();
  const auto beg = input.take<std::int32_t>();
  const auto end = input.take<std::int32_t>();
  const std::string file = file_with("a.bam", input.rest());
  fresh_file("sorted.bam");
  const std::string error = error_of("sort", [&] {
    BAM(path_of(file))
        .sort(path_of(scratch().native("sorted")).text(),
              {.bytes = std::numeric_limits<std::uint64_t>::max()});
  });
  if (error.empty()) compare(path_of(scratch().native("sorted.bam")), ref, beg, end);
}

std::vector<std::string> seeds() {
  std::vector<std::string> files = bam_files();
  files.push_back(stored_bgzf(wide_bam(40).content(), 300));
  return behind({std::string("\0\0\0\0\0\0\0\0\1", 9), std::string("\0\120\303\0\0\0\0\2\0", 9),
                 std::string("\1\0\140\0\0\0\0\2\0", 9)},
                files);
}

const Registration registration(
    {.name = "index_query", .run = run, .seeds = seeds, .choices = 9, .change = change_bam});

}  // namespace
}  // namespace readkit::fuzz
