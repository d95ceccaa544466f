#include "bam/bai.h"

#include <algorithm>
#include <limits>

namespace readkit {
namespace {

constexpr std::uint64_t kNoOffset = std::numeric_limits<std::uint64_t>::max();

// The first entry that is not 0: no record of the region lies before it in an index that is
// complete.
std::uint64_t lowest_offset(std::span<const std::uint64_t> windows) {
  const auto found =
      std::ranges::find_if(windows, [](std::uint64_t offset) { return offset != 0; });
  return found == windows.end() ? kNoOffset : *found;
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

WindowRange windows_of(int beg, int end, std::size_t n_intv) {
  const std::int64_t first = std::max(beg >> kLinearShift, 0);
  const std::int64_t stop =
      std::min(((std::int64_t{end} - 1) >> kLinearShift) + 1, static_cast<std::int64_t>(n_intv));
  if (first >= stop) return {};
  return {static_cast<std::size_t>(first), static_cast<std::size_t>(stop - first)};
}

std::vector<Chunk> find_chunks(const BinMap& bins, const std::vector<std::uint32_t>& candidates,
                               std::span<const std::uint64_t> windows) {
  std::vector<Chunk> found;
  const std::uint64_t lowest = lowest_offset(windows);
  for (const std::uint32_t number : candidates) {
    if (number == kMetadataBin) continue;
    const auto bin = bins.find(number);
    if (bin == bins.end()) continue;
    for (const Chunk& chunk : bin->second.chunks) {
      if (lowest == kNoOffset || chunk.end >= lowest) found.push_back(chunk);
    }
  }
  Chunk::merge_adj_chunks(found);
  return found;
}

void trim_chunks(std::vector<Chunk>& chunks, std::span<const std::uint64_t> windows) {
  if (windows.empty() || windows.back() == 0) return;
  const std::uint64_t lowest = windows.back();
  const auto differs = [lowest](std::uint64_t offset) { return offset != lowest; };
  const auto before = std::find_if(windows.rbegin(), windows.rend(), differs);
  if (before == windows.rend() || *before == 0 || *before > lowest) return;
  for (Chunk& chunk : chunks) chunk.beg = std::max(chunk.beg, lowest);
}

std::vector<Chunk> BAI::find_chunks(int ref, int beg, int end) const {
  if (ref < 0 || static_cast<std::size_t>(ref) >= refs_.size()) return {};
  const RefIndex& index = refs_[static_cast<std::size_t>(ref)];
  const std::span<const std::uint64_t> linear(index.linear);
  const WindowRange windows = windows_of(beg, end, linear.size());
  return readkit::find_chunks(index.bins, reg2bins(beg, end),
                              linear.subspan(windows.first, windows.count));
}

std::vector<Chunk> BAI::find_trimmed_chunks(int ref, int beg, int end) const {
  std::vector<Chunk> chunks = find_chunks(ref, beg, end);
  if (chunks.empty()) return chunks;
  const std::span<const std::uint64_t> linear(refs_[static_cast<std::size_t>(ref)].linear);
  const WindowRange windows = windows_of(beg, end, linear.size());
  if (windows.count > 0) trim_chunks(chunks, linear.first(windows.first + 1));
  return chunks;
}

}  // namespace readkit
