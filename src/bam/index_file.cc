#include "bam/index_file.h"

#include <algorithm>
#include <span>

namespace readkit {

IndexFile::IndexFile(const Path& path) : in_(path) {
  in_.check_magic();
  n_ref_ = in_.read<std::int32_t>();
  RefIndex nothing;
  for (std::int32_t ref = 0; ref < n_ref_; ++ref) {
    offsets_.push_back(in_.tell());
    in_.read_bins(nothing, [](std::uint32_t) { return false; });
    in_.skip<std::uint64_t>(in_.read_count());
  }
}

std::vector<Chunk> IndexFile::find_chunks(int ref, int beg, int end) {
  if (ref < 0 || static_cast<std::size_t>(ref) >= offsets_.size()) return {};
  const std::vector<std::uint32_t> candidates = reg2bins(beg, end);
  std::vector<std::uint32_t> sorted = candidates;
  std::ranges::sort(sorted);
  in_.seek(offsets_[static_cast<std::size_t>(ref)]);
  RefIndex index;
  in_.read_bins(index, [&sorted](std::uint32_t number) {
    return std::ranges::binary_search(sorted, number);
  });
  const WindowRange windows = windows_of(beg, end, in_.read_count());
  in_.skip<std::uint64_t>(windows.first);
  in_.append(index.linear, windows.count);
  return readkit::find_chunks(index.bins, candidates, index.linear);
}

std::vector<Chunk> IndexFile::find_trimmed_chunks(int ref, int beg, int end) {
  std::vector<Chunk> chunks = find_chunks(ref, beg, end);
  if (chunks.empty()) return chunks;
  in_.seek(offsets_[static_cast<std::size_t>(ref)]);
  RefIndex index;
  in_.read_bins(index, [](std::uint32_t) { return false; });
  const WindowRange windows = windows_of(beg, end, in_.read_count());
  if (windows.count > 0) in_.append(index.linear, windows.first + 1);
  trim_chunks(chunks, index.linear);
  return chunks;
}

}  // namespace readkit
