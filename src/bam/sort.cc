// External sort of a BAM file.
#include "bam/bam.h"

namespace readkit {

void BAM::sort(const UString& base, const RunLimits& limits) {
  const UString out = base + u".bam";
  process_runs({path_, [this] { return next_alignment(); }, *this, header_}, base, limits,
               {[](RunBuffer& run) { run.sort(); },
                [&](const RunBuffer& run) { write_bam(out, header_, run); },
                [&](const std::vector<UString>& names) { merge_bams(names, out); }});
}

}  // namespace readkit
