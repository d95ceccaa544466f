#include "bam/bai.h"

#include <algorithm>
#include <limits>

namespace readkit {
namespace {

constexpr std::uint64_t kNoOffset = std::numeric_limits<std::uint64_t>::max();

// The first entry that is not 0 of the windows of [beg, end): no record of the region lies before
// it in an index that is complete.
std::uint64_t lowest_offset(const RefIndex& index, int beg, int end) {
  if (index.n_intv < 1) return kNoOffset;
  const auto windows = static_cast<std::int64_t>(index.linear.size());
  const std::int64_t first = std::max(beg >> kLinearShift, 0);
  const std::int64_t last = std::min((std::int64_t{end} - 1) >> kLinearShift, windows - 1);
  for (std::int64_t window = first; window <= last; ++window) {
    const std::uint64_t offset = index.linear[static_cast<std::size_t>(window)];
    if (offset != 0) return offset;
  }
  return kNoOffset;
}

}  // namespace

std::int64_t Chunk::merge_adj_chunks(std::vector<Chunk>& chunks) {
  if (chunks.size() < 2) return static_cast<std::int64_t>(chunks.size());
  std::sort(chunks.begin(), chunks.end());
  auto current = chunks.begin();
  for (auto next = chunks.begin() + 1; next != chunks.end(); ++next) {
    if (current->end >> kVirtualOffsetShift >= next->beg >> kVirtualOffsetShift) {
      current->end = std::max(current->end, next->end);
    } else {
      *++current = *next;
    }
  }
  chunks.erase(current + 1, chunks.end());
  return static_cast<std::int64_t>(chunks.size());
}

void RefIdxBin::sort_chunks() { std::sort(chunks.begin(), chunks.end()); }

void RefIdxBin::merge_adj_chunks() {
  n_chunk = static_cast<std::int32_t>(Chunk::merge_adj_chunks(chunks));
}

std::vector<Chunk> BAI::find_chunks(int ref, int beg, int end) const {
  std::vector<Chunk> found;
  if (ref < 0 || static_cast<std::size_t>(ref) >= refs_.size()) return found;
  const RefIndex& index = refs_[static_cast<std::size_t>(ref)];
  const std::uint64_t lowest = lowest_offset(index, beg, end);
  for (const std::uint32_t number : reg2bins(beg, end)) {
    if (number == kMetadataBin) continue;
    const auto bin = index.bins.find(number);
    if (bin == index.bins.end()) continue;
    for (const Chunk& chunk : bin->second.chunks) {
      if (lowest == kNoOffset || chunk.end >= lowest) found.push_back(chunk);
    }
  }
  Chunk::merge_adj_chunks(found);
  return found;
}

}  // namespace readkit
