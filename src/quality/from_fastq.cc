#include <cstdint>

#include "core/errors.h"
#include "core/file.h"
#include "core/path.h"
#include "quality/fastq_lines.h"
#include "quality/selection.h"
#include "quality/sources.h"

namespace readkit {

void collectDataFromFASTQ(const UString& path, const encoding_t* encoding,
                          distribution_t* distribution) {
  File file(Path(path), "r");
  if (!file.is_open()) throw UnableToOpenFile(path);
  buffer_t seq;
  buffer_t qual;
  ScanSelection selection(*encoding);
  for (std::int64_t record = 0;; ++record) {
    int length = fillBuffersFASTQ(&seq, &qual, file);
    if (file.read_failed()) throw UnableToOpenFile(path);
    if (length == kNoRecord) return;
    const ScanSelection::Verdict verdict = selection.judge(record);
    if (verdict == ScanSelection::Verdict::kStop) return;
    if (verdict == ScanSelection::Verdict::kPassOver || length == 0) continue;
    if (length > 0) {
      length = verifyAndShift(qual.text.get(), length, encoding->min_quality, encoding->max_quality,
                              encoding->shift());
    }
    if (length < 0) throw InvalidData();
    updateDistribution(seq.text.get(), qual.text.get(), length, encoding, distribution);
  }
}

}  // namespace readkit
