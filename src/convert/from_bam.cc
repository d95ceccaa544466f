// Conversions of a BAM file.
#include <algorithm>
#include <cstdint>
#include <memory>

#include "bam/bam.h"
#include "convert/copy.h"
#include "core/errors.h"

namespace readkit {
namespace {

Source source_of(BAM& bam) {
  return {bam.path(), bam.header(), bam, [&bam] { bam.rewind(); },
          [&bam] { return bam.next_alignment(); }};
}

}  // namespace

void BAM::to_bam(const Path& out, const unsigned* ordinals, std::size_t n,
                 std::set<std::string> refs, bool /*unused*/) {
  copy_to_bam(source_of(*this), out, ordinals, n, refs);
}

void BAM::to_sam(const Path& out, const unsigned* ordinals, std::size_t n, bool with_header) {
  copy_to_sam(source_of(*this), out, ordinals, n, with_header);
}

void BAM::to_fastq(const Path& out, const unsigned* ordinals, std::size_t n) {
  copy_to_fastq(source_of(*this), out, ordinals, n);
}

void BAM::to_fasta(const Path& out, const unsigned* ordinals, std::size_t n) {
  copy_to_fasta(source_of(*this), out, ordinals, n);
}

std::string BAM::alignment_to_sam(const Alignment& record, bool with_tags) const {
  unsigned long length = 0;
  const std::unique_ptr<char[]> line = record.to_sam_chr(header_, &length, with_tags);
  return {line.get(), length - 1};
}

std::vector<int> BAM::reduce_ref_count(const Alignment& record, std::vector<int> counts) const {
  const int ref_id = std::max(record.ref_id(), -1);
  if (ref_id >= reference_limit()) throw ReferenceIDNotFound(to_ustring(ref_id));
  const auto slot = static_cast<std::size_t>(std::int64_t{ref_id} + 1);
  counts.resize(std::max(counts.size(), slot + 1));
  ++counts[slot];
  return counts;
}

}  // namespace readkit
