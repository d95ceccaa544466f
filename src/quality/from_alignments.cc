// SAM and BAM files as sources.
#include <cstdint>
#include <functional>
#include <string>

#include "bam/bam.h"
#include "core/errors.h"
#include "core/path.h"
#include "quality/selection.h"
#include "quality/sources.h"
#include "sam/sam.h"

namespace readkit {
namespace {

/// Counts the records that `next` advances to; `record` is the current one.
template <typename Next>
void collect(const Next& next, const Alignment& record, const encoding_t& encoding,
             distribution_t& distribution) {
  std::string bases;
  std::string qualities;
  ScanSelection selection(encoding);
  for (std::int64_t number = 0; next(); ++number) {
    if (encoding.flag == 0 && record.ref_id() < 0) continue;
    record.seq_string(bases);
    record.qual_string(qualities);
    if (bases.size() != qualities.size()) throw InvalidData();
    verifyAndShift(qualities, encoding.min_quality, encoding.max_quality, encoding.shift());
    const ScanSelection::Verdict verdict = selection.judge(number);
    if (verdict == ScanSelection::Verdict::kStop) return;
    if (verdict == ScanSelection::Verdict::kPassOver) continue;
    updateDistribution(bases.data(), qualities.data(), static_cast<int>(bases.size()), &encoding,
                       &distribution);
  }
}

}  // namespace

void collectDataFromSAM(const UString& path, const encoding_t* encoding,
                        distribution_t* distribution) {
  SAM file(Path(path), "r");
  collect([&] { return file.next_alignment(); }, file.alignment(), *encoding, *distribution);
}

void collectDataFromBAM(const UString& path, const encoding_t* encoding,
                        distribution_t* distribution) {
  BAM file{Path(path)};
  collect([&] { return file.next_alignment(); }, file, *encoding, *distribution);
}

}  // namespace readkit
