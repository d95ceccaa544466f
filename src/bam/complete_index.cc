// Building an index through which no query misses a record.
//
// A lookup takes the chunks of the bins that may overlap its region and drops those that end before
// its lower bound, the first window of the region that is not 0. So it finds every record whose
// chunk lies in a bin of the record's whole extent, as long as no window of the extent has an entry
// beyond the record, and no window has an entry beyond those of later windows.
//
// In a file in coordinate order the smallest offset of each window does that: it never decreases
// from one window to the next. Building accepts one kind of file that is not in order, though: one
// that comes back to reference 0. Entries that come out too large there are lowered to the least of
// the windows behind them; in a file in order there are none.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "bam/bai.h"
#include "bam/bam.h"

namespace readkit {
namespace {

constexpr std::uint32_t kRootBin = 0;

// The window of a position; positions outside the scheme count to its first and last one.
std::int64_t window_of(std::int64_t position) {
  return std::clamp<std::int64_t>(position, 0, kMaxReferenceLength - 1) >> kLinearShift;
}

// The bin of an extent. What begins or ends outside the scheme may have a number that is no bin's;
// it belongs to the root, which every lookup reads.
std::uint32_t bin_of(int pos, int end) {
  const int bin = reg2bin(pos, end);
  const bool exists = bin >= 0 && bin < first_bin(kBinLevels + 1);
  return exists ? static_cast<std::uint32_t>(bin) : kRootBin;
}

// Lowers the unset windows of an extent to `offset`. Those that are set in a file in order are the
// first ones, so the walk from the last one on ends at them.
void cover(std::vector<std::uint64_t>& linear, int pos, int end, std::uint64_t offset,
           std::uint64_t unset) {
  const std::int64_t first = window_of(pos);
  const std::int64_t last = std::max(first, window_of(std::int64_t{end} - 1));
  if (last >= static_cast<std::int64_t>(linear.size())) {
    linear.resize(static_cast<std::size_t>(last) + 1, unset);
  }
  for (std::int64_t window = last; window >= first; --window) {
    std::uint64_t& entry = linear[static_cast<std::size_t>(window)];
    if (entry != unset) break;
    entry = offset;
  }
}

// Gives unset windows the entry before them, 0 when there is none, and lowers entries that are
// larger than one behind them.
void complete_windows(std::vector<std::uint64_t>& linear, std::uint64_t unset) {
  std::uint64_t before = 0;
  for (std::uint64_t& entry : linear) before = entry = entry == unset ? before : entry;
  std::uint64_t behind = unset;
  for (std::size_t window = linear.size(); window-- > 0;) {
    behind = linear[window] = std::min(linear[window], behind);
  }
}

// Joins the two chunks that each visit of a reference has left in its pseudo-bin: from where to
// where its records lie, and how many there are.
void join_visits(RefIdxBin& metadata) {
  std::vector<Chunk>& chunks = metadata.chunks;
  for (std::size_t i = 2; i + 1 < chunks.size(); i += 2) {
    chunks[0].end = chunks[i].end;
    chunks[1].beg += chunks[i + 1].beg;
    chunks[1].end += chunks[i + 1].end;
  }
  chunks.resize(2);
  metadata.n_chunk = 2;
}

}  // namespace

bool BAI::add_complete(const Alignment& record, std::uint64_t offset) {
  const int ref = accept(record);
  std::uint32_t bin = kRootBin;
  if (ref >= 0) {
    const int end = record.cigar_endpos();
    bin = bin_of(record.pos(), end);
    cover(refs_[static_cast<std::size_t>(ref)].linear, record.pos(), end, last_off_, kUnset);
  }
  take(record, bin, offset);
  return true;
}

bool BAI::finish_complete(std::uint64_t offset, int n_ref) {
  close_last_bin(offset);
  n_ref_ = n_ref;
  refs_.resize(static_cast<std::size_t>(n_ref));
  for (RefIndex& index : refs_) {
    for (auto& [number, bin] : index.bins) {
      number == kMetadataBin ? join_visits(bin) : bin.merge_adj_chunks();
    }
    complete_windows(index.linear, kUnset);
    index.n_intv = static_cast<std::int32_t>(index.linear.size());
  }
  finished_ = is_complete_ = true;
  return true;
}

bool BAM::build_complete_index() {
  const std::uint64_t end = index_records(&BAI::add_complete, get_num_refs());
  has_index_ = index_.finish_complete(end, get_num_refs());
  return has_index_;
}

}  // namespace readkit
