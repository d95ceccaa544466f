#include "bam/bam.h"

#include <algorithm>

#include "core/errors.h"

namespace readkit {
namespace {

// Behind a name so long, the CIGAR is taken from the wrong place (see Alignment::cigar_bytes).
bool has_wrong_cigar(const Alignment& record) {
  constexpr int kLongName = 256 - static_cast<int>(record_format::kName);
  return record.block_size() >= static_cast<std::int32_t>(record_format::kName) &&
         record.l_read_name() >= kLongName && record.n_cigar_op() > 0;
}

}  // namespace

BAM::BAM(const Path& path, std::string_view mode) : stream_(path, mode), path_(path) {
  if (mode.find('r') != std::string_view::npos) first_record_ = header_.read(stream_);
}

bool BAM::next_alignment() {
  const std::uint64_t before = is_strict_ ? stream_.bytes_taken() : 0;
  const bool found = Alignment::next(stream_);
  at_end_ = !found;
  if (is_strict_ && (found ? has_wrong_cigar(*this) : stream_.bytes_taken() != before)) {
    throw InvalidBAMFormat(path_.text());
  }
  if (found && !is_well_formed()) throw InvalidBAMFormat(path_.text());
  return found;
}

bool BAM::write(const std::vector<Alignment>& records) {
  return std::all_of(records.begin(), records.end(),
                     [this](const Alignment& record) { return write(record); });
}

bool BAM::is_sorted() {
  rewind();
  int previous_ref = -2;
  int previous_pos = 0;
  while (next_alignment()) {
    const int ref = ref_id();
    if (ref == previous_ref) {
      if (ref < 0) continue;
      if (pos() < previous_pos) return false;
      previous_pos = pos();
    } else if (ref < 0) {
      previous_ref = -1;
      previous_pos = 0;
    } else {
      if (previous_ref == -1 || ref <= previous_ref) return false;
      previous_ref = ref;
      previous_pos = pos();
    }
  }
  return true;
}

bool BAM::operator<(const BAM& other) const {
  if (at_end_) return false;
  return other.at_end_ || Alignment::operator<(other);
}

bool BAM::operator<=(const BAM& other) const {
  if (at_end_ || other.at_end_) return other.at_end_;
  return Alignment::operator<=(other);
}

}  // namespace readkit
