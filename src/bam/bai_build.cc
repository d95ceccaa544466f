// Building an index while a sorted file is read from start to end. What another way of building
// shares with it stands here too (see complete_index.cc).
//
// Records arrive in file order, each with the virtual offset at which it ends. Runs of records with
// the same stored bin become one chunk of that bin; a change of reference closes the reference with
// its metadata, two chunks in a pseudo-bin: where its records lie, and how many there are. At the
// end, bins that lie within less than 64 KiB of compressed file are folded into their parents.
#include <algorithm>
#include <cstdint>

#include "bam/bai.h"
#include "bam/bam.h"
#include "core/errors.h"

namespace readkit {
namespace {

constexpr std::int64_t kMaxPosition = kMaxReferenceLength - 1;

// A bin is folded into its parent when it lies within less than this much compressed file.
constexpr std::uint64_t kFoldedBinSpan = 65536;

std::uint64_t block_address(std::uint64_t offset) { return offset >> kVirtualOffsetShift; }

// The numbers of the bins that a level's folding looks at, in iteration order.
std::vector<std::uint32_t> bins_from_level(const BinMap& bins, int level) {
  std::vector<std::uint32_t> numbers;
  numbers.reserve(bins.size());
  for (const auto& [number, bin] : bins) {
    const bool at_level = number >= static_cast<std::uint32_t>(first_bin(level));
    if (at_level && number != kMetadataBin) numbers.push_back(number);
  }
  return numbers;
}

bool fits_into_parent(const RefIdxBin& bin) {
  return block_address(bin.chunks.back().end) - block_address(bin.chunks.front().beg) <
         kFoldedBinSpan;
}

std::int64_t end_of_bases(const Alignment& record) {
  return std::int64_t{record.pos()} + record.l_seq();
}

bool is_mapped(const Alignment& record) { return (record.flag() & record_format::kUnmapped) == 0; }

}  // namespace

void BAI::init(std::uint64_t offset) {
  n_ref_ = 0;
  n_no_coor_ = 0;
  last_ref_ = save_ref_ = -1;
  last_bin_ = save_bin_ = kNoBin;
  last_pos_ = -1;
  last_off_ = off_beg_ = off_end_ = offset;
  n_mapped_ = n_unmapped_ = 0;
  refs_.clear();
  is_complete_ = false;
}

bool BAI::add(const Alignment& record, std::uint64_t offset) {
  const int ref = accept(record);
  if (ref >= 0 && is_mapped(record)) add_to_linear(record.pos(), end_of_bases(record));
  take(record, static_cast<std::uint32_t>(record.bin()), offset);
  return true;
}

// Checks limits and order, and makes room for the record's reference, which it returns.
int BAI::accept(const Alignment& record) {
  const int ref = std::max(record.ref_id(), -1);
  if (ref >= 0 && (record.pos() > kMaxPosition || end_of_bases(record) > kMaxPosition)) {
    throw PositionTooBig(to_ustring(record.read_name_text()));
  }
  if (ref >= n_ref_) {
    n_ref_ = ref + 1;
    refs_.resize(static_cast<std::size_t>(n_ref_));
  }
  check_order(ref, record.pos());
  return ref;
}

// Adds an accepted record to a bin, counts it, and makes it the one before the next.
void BAI::take(const Alignment& record, std::uint32_t bin, std::uint64_t offset) {
  add_to_bins(last_ref_, bin);
  const bool mapped = is_mapped(record);
  ++(mapped ? n_mapped_ : n_unmapped_);
  last_pos_ = last_ref_ >= 0 && mapped ? std::max(record.pos(), 0) : record.pos();
  last_off_ = offset;
}

void BAI::check_order(int ref, int pos) {
  if (ref == last_ref_) {
    if (ref >= 0 && pos < last_pos_) throw BAMUnsorted();
  } else {
    // Kept: one would expect a change back to reference 0 to be refused like any other step back.
    if (ref >= 0 && (n_no_coor_ != 0 || (ref != 0 && last_ref_ > ref))) throw BAMUnsorted();
    last_ref_ = ref;
    last_bin_ = kNoBin;
  }
  if (ref < 0) ++n_no_coor_;
}

void BAI::add_to_linear(int pos, std::int64_t end) {
  RefIndex& index = refs_[static_cast<std::size_t>(last_ref_)];
  std::vector<std::uint64_t>& linear = index.linear;
  const std::int64_t first = std::max(pos >> kLinearShift, 0);
  const std::int64_t last = (end - 1) >> kLinearShift;
  const auto length = static_cast<std::int64_t>(linear.size());
  // Kept: one would expect every record to fill the windows it touches; instead only a record that
  // makes the array grow does, so that other windows stay unset and end as 0.
  if (last >= length) {
    linear.resize(static_cast<std::size_t>(std::max(2 * length, last + 1)), kUnset);
    for (std::int64_t window = first; window <= last; ++window) {
      std::uint64_t& entry = linear[static_cast<std::size_t>(window)];
      if (entry == kUnset) entry = last_off_;
    }
  }
  index.n_intv = std::max(index.n_intv, static_cast<std::int32_t>(last + 1));
}

void BAI::add_to_bins(int ref, std::uint32_t bin) {
  if (bin == last_bin_) return;
  if (save_bin_ != kNoBin) {
    _add(save_ref_, save_bin_, save_off_, last_off_);
    if (last_bin_ == kNoBin) close_reference(last_off_);
  }
  save_off_ = last_off_;
  last_bin_ = save_bin_ = bin;
  save_ref_ = ref;
}

// Writes the metadata of the reference whose last bin has just been closed.
void BAI::close_reference(std::uint64_t offset) {
  off_end_ = offset;
  _add(save_ref_, kMetadataBin, off_beg_, off_end_);
  _add(save_ref_, kMetadataBin, n_mapped_, n_unmapped_);
  n_mapped_ = n_unmapped_ = 0;
  off_beg_ = off_end_;
}

void BAI::_add(int ref, std::uint32_t bin, std::uint64_t beg, std::uint64_t end) {
  if (ref < 0) return;
  RefIndex& index = refs_[static_cast<std::size_t>(ref)];
  const auto [entry, is_new] = index.bins.try_emplace(bin);
  if (is_new) {
    entry->second.bin = bin;
    ++index.n_bin;
  }
  entry->second.chunks.push_back({beg, end});
  ++entry->second.n_chunk;
}

void BAI::close_last_bin(std::uint64_t offset) {
  if (save_ref_ < 0) return;
  _add(save_ref_, save_bin_, save_off_, offset);
  close_reference(offset);
}

bool BAI::finish(std::uint64_t offset) {
  close_last_bin(offset);
  for (int ref = 0; ref < n_ref_; ++ref) {
    compress_index(ref);
    std::vector<std::uint64_t>& linear = refs_[static_cast<std::size_t>(ref)].linear;
    std::replace(linear.begin(), linear.end(), kUnset, std::uint64_t{0});
  }
  finished_ = true;
  return true;
}

// Kept: adjacent chunks of the stored bins are not merged with each other.
void BAI::compress_index(int ref) {
  RefIndex& index = refs_[static_cast<std::size_t>(ref)];
  BinMap& bins = index.bins;
  for (int level = kBinLevels; level >= 1; --level) {
    for (const std::uint32_t number : bins_from_level(bins, level)) {
      const auto parent =
          bins.find(static_cast<std::uint32_t>(parent_bin(static_cast<int>(number))));
      if (parent == bins.end()) continue;
      const auto entry = bins.find(number);
      RefIdxBin bin = entry->second;  // a bin that stays keeps its order of chunks
      if (level < kBinLevels && bin.chunks.size() >= 2) bin.sort_chunks();
      if (!fits_into_parent(bin)) continue;
      std::vector<Chunk>& chunks = parent->second.chunks;
      chunks.insert(chunks.end(), bin.chunks.begin(), bin.chunks.end());
      parent->second.n_chunk += bin.n_chunk;
      bins.erase(entry);
      --index.n_bin;
    }
  }
  if (const auto root = bins.find(0); root != bins.end()) root->second.sort_chunks();
}

std::uint64_t BAM::index_records(bool (BAI::*add)(const Alignment&, std::uint64_t), int limit) {
  has_index_ = false;
  index_file_.reset();
  rewind();
  index_.init(first_record_);
  while (next_alignment()) {
    if (ref_id() >= limit) throw ReferenceIDNotFound(to_ustring(ref_id()));
    (index_.*add)(*this, stream_.tell());
  }
  return stream_.tell();
}

bool BAM::build_index() {
  has_index_ = index_.finish(index_records(&BAI::add, reference_limit()));
  return has_index_;
}

}  // namespace readkit
