// Conversions of a SAM file.
#include "convert/copy.h"
#include "sam/sam.h"

namespace readkit {
namespace {

Source source_of(SAM& sam) {
  return {sam.path(), sam.header(), sam.alignment(), [&sam] { sam.rewind(); },
          [&sam] { return sam.next_alignment(); }};
}

}  // namespace

void SAM::to_bam(Path output) { copy_to_bam(source_of(*this), output, nullptr, 0, {}); }

void SAM::to_bam(const Path& output, const unsigned* ordinals, std::size_t n,
                 std::set<std::string> refs, bool /*unused*/) {
  copy_to_bam(source_of(*this), output, ordinals, n, refs);
}

void SAM::to_sam(const Path& output, const unsigned* ordinals, std::size_t n, bool with_header) {
  copy_to_sam(source_of(*this), output, ordinals, n, with_header);
}

void SAM::to_fastq(const Path& output, const unsigned* ordinals, std::size_t n) {
  copy_to_fastq(source_of(*this), output, ordinals, n);
}

void SAM::to_fasta(const Path& output, const unsigned* ordinals, std::size_t n) {
  copy_to_fasta(source_of(*this), output, ordinals, n);
}

}  // namespace readkit
