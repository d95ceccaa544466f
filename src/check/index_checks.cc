#include "check/index_checks.h"

#include <algorithm>
#include <limits>

#include "check/record_checks.h"
#include "core/bgzf_format.h"
#include "core/errors.h"
#include "core/file.h"

namespace readkit {
namespace {

// The part of a virtual offset that lies inside a block's data.
constexpr std::uint64_t kInside = (std::uint64_t{1} << kVirtualOffsetShift) - 1;

// Whether one of these chunks, which are sorted and do not overlap, has the offset in it.
bool covers(const std::vector<Chunk>& chunks, std::uint64_t offset) {
  const auto behind = std::upper_bound(chunks.begin(), chunks.end(), Chunk{offset, 0});
  return behind != chunks.begin() && offset < (behind - 1)->end;
}

}  // namespace

IndexChecks::IndexChecks(const Path& path, Findings& findings, std::uint64_t most_steps)
    : findings_(findings), most_steps_(most_steps) {
  File file(path, "rb");
  if (!file.is_open()) throw FileNotFound(path.text());
  summary_ = check_index_file(file, findings);
  if (!summary_.is_whole) return;
  index_.load(path);
  counts_.resize(index_.refs().size());
  list_begins();
}

void IndexChecks::list_begins() {
  for (const RefIndex& reference : index_.refs()) {
    for (const auto& [number, bin] : reference.bins) {
      if (number == kMetadataBin) continue;
      for (const Chunk& chunk : bin.chunks) {
        if (chunk.beg < chunk.end) begins_.push_back(chunk.beg);
      }
    }
  }
  std::sort(begins_.begin(), begins_.end());
  begins_.erase(std::unique(begins_.begin(), begins_.end()), begins_.end());
}

// A query that enters the file elsewhere than at a record takes other bytes for one.
void IndexChecks::pass_begins(std::uint64_t offset) {
  while (passed_begins_ < begins_.size() && begins_[passed_begins_] < offset) {
    const std::uint64_t begin = begins_[passed_begins_++];
    // The end of a block's data is the begin of the next block.
    const bool may_be_end = (offset & kInside) == 0 &&
                            begin >> kVirtualOffsetShift == last_offset_ >> kVirtualOffsetShift;
    if (!may_be_end) misplaced_.push_back(begin);
  }
  if (passed_begins_ < begins_.size() && begins_[passed_begins_] == offset) ++passed_begins_;
  last_offset_ = offset;
}

void IndexChecks::check(const Alignment& record, std::uint64_t offset, std::uint64_t ordinal) {
  if (!summary_.is_whole) return;
  count(record);
  pass_begins(offset);
  if (record.ref_id() < 0 || record.pos() < 0) return;
  most_steps_ += kStepsPerRecord;
  constexpr std::int64_t kHighest = std::numeric_limits<std::int32_t>::max();
  const int end = static_cast<int>(std::min(covered_end(record), kHighest));
  const bool had_given_up = gave_up_;
  if (!finds(record.ref_id(), record.pos(), end, offset)) {
    findings_.add(FindingKind::kIndexRecord, offset, ordinal, "a query of its region, positions ",
                  record.pos() + std::int64_t{1}, " to ", end, " of reference ", record.ref_id(),
                  ", does not come to the record");
  }
  if (gave_up_ && !had_given_up) {
    findings_.add(FindingKind::kIndexEffort, offset, ordinal,
                  "looking for records takes too long; those from this one on are not looked for");
  }
}

void IndexChecks::count(const Alignment& record) {
  const std::int32_t ref = record.ref_id();
  if (ref < 0) {
    ++without_reference_;
  } else if (static_cast<std::size_t>(ref) < counts_.size()) {
    Counts& counts = counts_[static_cast<std::size_t>(ref)];
    ++((record.flag() & record_format::kUnmapped) == 0 ? counts.mapped : counts.unmapped);
  }
}

bool IndexChecks::finds(std::int32_t ref, int beg, int end, std::uint64_t offset) {
  // Regions of the same windows have the same chunks.
  const std::int64_t first = beg >> kLinearShift;
  const std::int64_t last = (std::int64_t{end} - 1) >> kLinearShift;
  Lookup& kept = lookups_[static_cast<std::size_t>(last - first) % kLookups];
  if (kept.ref == ref && kept.first_window == first && kept.last_window == last) {
    return covers(kept.chunks, offset);
  }
  gave_up_ = gave_up_ || steps_ > most_steps_;
  if (gave_up_) return true;
  steps_ += lookup_steps(ref, beg, end);
  std::vector<Chunk> chunks = index_.find_chunks(ref, beg, end);
  const bool found = covers(chunks, offset);
  if (chunks.size() <= kMostChunks) kept = {ref, first, last, std::move(chunks)};
  return found;
}

// What a lookup visits: bins, and their chunks.
std::uint64_t IndexChecks::lookup_steps(std::int32_t ref, int beg, int end) const {
  const std::vector<std::uint32_t> bins = reg2bins(beg, end);
  std::uint64_t steps = bins.size();
  if (static_cast<std::size_t>(ref) >= index_.refs().size()) return steps;
  const BinMap& indexed = index_.refs()[static_cast<std::size_t>(ref)].bins;
  for (const std::uint32_t bin : bins) {
    const auto found = indexed.find(bin);
    if (found != indexed.end()) steps += found->second.chunks.size();
  }
  return steps;
}

void IndexChecks::finish(std::size_t references, bool is_complete) {
  if (!summary_.is_whole) return;
  const std::vector<RefIndex>& indexed = index_.refs();
  if (indexed.size() != references) {
    findings_.add(FindingKind::kIndexReferences, 0, 0, "the index has ", indexed.size(),
                  " references and the header ", references);
  }
  if (!is_complete) return;
  for (const std::uint64_t begin : misplaced_) {
    findings_.add(FindingKind::kIndexChunk, 0, 0, "a chunk begins at virtual offset ", begin,
                  ", where no record does");
  }
  for (std::size_t ref = 0; ref < indexed.size(); ++ref) {
    const auto metadata = indexed[ref].bins.find(kMetadataBin);
    if (metadata == indexed[ref].bins.end() || metadata->second.chunks.size() != 2) continue;
    const Chunk& stated = metadata->second.chunks[1];
    const Counts& found = counts_[ref];
    if (stated.beg == found.mapped && stated.end == found.unmapped) continue;
    findings_.add(FindingKind::kIndexCount, 0, 0, "reference ", ref, " has ", found.mapped,
                  " mapped and ", found.unmapped, " unmapped records, the index states ",
                  stated.beg, " and ", stated.end);
  }
  if (summary_.has_count && index_.n_no_coor() != without_reference_) {
    findings_.add(FindingKind::kIndexCount, 0, 0, without_reference_,
                  " records have no reference, the index states ", index_.n_no_coor());
  }
}

}  // namespace readkit
