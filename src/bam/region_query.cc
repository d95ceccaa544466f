// Region queries: the records of one reference that overlap a region.
#include <functional>

#include "bam/bam.h"
#include "core/errors.h"

namespace readkit {

void BAM::index_find_init(int ref, int beg, int end) {
  chunks_ = find_chunks(ref, beg, end);
  cur_chunk_ = -1;
}

bool BAM::index_next_alignment() {
  if (chunks_.empty()) return false;
  const auto count = static_cast<std::int32_t>(chunks_.size());
  if (cur_chunk_ == -1) {
    cur_chunk_ = 0;
    stream_.seek(chunks_[0].beg);
  } else if (cur_chunk_ >= count) {
    return false;
  }
  if (stream_.tell() >= chunks_[static_cast<std::size_t>(cur_chunk_)].end) {
    if (++cur_chunk_ >= count) return false;
    stream_.seek(chunks_[static_cast<std::size_t>(cur_chunk_)].beg);
  }
  return next_alignment();
}

void BAM::index_find_destroy() {
  chunks_.clear();
  cur_chunk_ = -1;
}

void BAM::find_init(int ref, int beg, int end) {
  if (has_index_) {
    index_find_init(ref, beg, end);
  } else {
    rewind();
  }
}

bool BAM::find_next(int ref, int beg, int end) {
  while (has_index_ ? index_next_alignment() : next_alignment()) {
    if (ref_id() == ref && overlap(beg, end, pos(), cigar_endpos())) return true;
  }
  return false;
}

std::vector<Alignment> BAM::filter_overlapping(int ref, int beg, int end) {
  // Kept: one would expect an index equal to the number of references to be refused as well.
  if (get_num_refs() < ref) throw ReferenceIDNotFound(to_ustring(ref));
  return filter_overlapping(ref, beg, end, [](const Alignment&) { return true; });
}

std::vector<Alignment> BAM::filter_overlapping(int ref, int beg, int end, const Predicate& keep) {
  std::vector<Alignment> kept;
  find_init(ref, beg, end);
  while (find_next(ref, beg, end)) {
    if (keep(*this)) kept.push_back(static_cast<const Alignment&>(*this));
  }
  return kept;
}

std::vector<Alignment> BAM::filter_all(const Predicate& keep) {
  std::vector<Alignment> kept;
  rewind();
  while (next_alignment()) {
    if (keep(*this)) kept.push_back(static_cast<const Alignment&>(*this));
  }
  return kept;
}

}  // namespace readkit
