#include "bam/region_sweep.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <tuple>

#include "core/errors.h"

namespace readkit {
namespace {

// Whether no record from this one on overlaps the region.
bool is_past(const Alignment& record, const RefRegion& region) {
  const auto ref = static_cast<std::uint32_t>(record.ref_id());
  const auto wanted = static_cast<std::uint32_t>(region.ref);
  return ref > wanted || (ref == wanted && record.pos() >= region.end && record.pos() > region.beg);
}

}  // namespace

RegionSweep::RegionSweep(BAM& bam, std::span<const RefRegion> regions, std::size_t most_chunks)
    : bam_(bam), regions_(regions), most_chunks_(most_chunks), order_(regions.size()) {
  std::iota(order_.begin(), order_.end(), 0U);
  std::ranges::stable_sort(order_, {}, [this](std::uint32_t place) {
    return std::make_tuple(regions_[place].ref, regions_[place].beg);
  });
}

std::vector<Chunk> RegionSweep::chunks_of(const RefRegion& region) {
  if (bam_.has_index()) return bam_.find_trimmed_chunks(region.ref, region.beg, region.end);
  return {{.beg = bam_.first_record(), .end = std::numeric_limits<std::uint64_t>::max()}};
}

// The queries of the next regions, as many as may be held: an index may give each of many regions
// as many chunks as it has. False when there is none left.
bool RegionSweep::load() {
  std::size_t held = 0;
  while (loaded_ < order_.size() && (held < most_chunks_ || waiting_.empty())) {
    const std::uint32_t place = order_[loaded_++];
    std::vector<Chunk> chunks = chunks_of(regions_[place]);
    held += chunks.size() + 1;
    if (!chunks.empty()) waiting_.push_back({.place = place, .chunks = std::move(chunks)});
  }
  std::ranges::sort(waiting_, std::ranges::greater(),
                    [](const Query& query) { return query.chunks.front().beg; });
  at_ = steady_until_ = last_key_ = 0;
  is_positioned_ = false;
  return !waiting_.empty();
}

// Opens the queries whose first chunk has been reached; false when there is none.
bool RegionSweep::open_those_reached() {
  const std::size_t before = open_.size();
  while (!waiting_.empty() && waiting_.back().chunks.front().beg <= at_) {
    open_.push_back(std::move(waiting_.back()));
    open_.back().chunk = open_.back().chunks.cbegin();
    waiting_.pop_back();
  }
  return open_.size() > before;
}

// Positions the file in a chunk of an open query; false when none is left.
bool RegionSweep::move_to_chunk() {
  for (;;) {
    for (Query& query : open_) {
      const auto is_behind = [this](const Chunk& chunk) { return chunk.end > at_; };
      query.chunk = std::find_if(query.chunk, query.chunks.cend(), is_behind);
    }
    std::erase_if(open_, [](const Query& query) { return query.chunk == query.chunks.cend(); });
    if (open_those_reached()) continue;
    if (open_.empty() && waiting_.empty()) return false;
    std::uint64_t target = std::numeric_limits<std::uint64_t>::max();
    for (const Query& query : open_) target = std::min(target, std::max(at_, query.chunk->beg));
    if (!waiting_.empty()) target = std::min(target, waiting_.back().chunks.front().beg);
    if (is_positioned_ && target == at_) {
      steady_until_ = waiting_.empty() ? std::numeric_limits<std::uint64_t>::max()
                                       : waiting_.back().chunks.front().beg;
      for (const Query& query : open_) steady_until_ = std::min(steady_until_, query.chunk->end);
      return true;
    }
    bam_.seek(target);
    at_ = target;
    is_positioned_ = true;
  }
}

void RegionSweep::require_order() {
  const std::uint64_t key = bam_.order_key();
  if (key < last_key_) throw BAMUnsorted();
  last_key_ = key;
}

// The open regions that the current record overlaps; those that end before it are done.
bool RegionSweep::find_hits() {
  hits_.clear();
  const auto is_done = [this](const Query& query) { return is_past(bam_, regions_[query.place]); };
  if (std::erase_if(open_, is_done) > 0) steady_until_ = 0;
  const int end = bam_.cigar_endpos();
  for (const Query& query : open_) {
    const RefRegion& region = regions_[query.place];
    if (bam_.ref_id() == region.ref && overlap(region.beg, region.end, bam_.pos(), end)) {
      hits_.push_back(query.place);
    }
  }
  return !hits_.empty();
}

bool RegionSweep::next() {
  for (;;) {
    if (at_ >= steady_until_ && !move_to_chunk()) {
      if (!load()) return false;
      continue;
    }
    if (!bam_.next_alignment()) {
      open_.clear();
      waiting_.clear();
      steady_until_ = 0;
      continue;
    }
    at_ = bam_.tell();
    require_order();
    if (find_hits()) return true;
  }
}

}  // namespace readkit
