// External sort of a SAM file. The temporaries are BAM files all the same, which need less room
// than the text even where they are not compressed.
#include "bam/bam.h"
#include "core/errors.h"
#include "sam/sam.h"

namespace readkit {
namespace {

void write_sam(const UString& name, const BamHeader& header, const RunBuffer& run) {
  SAM out(Path(name), "w");
  const bool written = out.write(header) && run.visit([&](const Alignment& record) {
    return out.write(record, header);
  });
  out.close();
  if (!written || out.fail()) throw FileWrite(name);
}

}  // namespace

void SAM::sort(const UString& base) { sort(base, RunLimits::for_this_machine()); }

void SAM::sort(const UString& base, const RunLimits& limits) {
  const UString name = base + u".sam";
  process_runs(
      {path_, [this] { return next_alignment(); }, alignment_, header_}, base, limits,
      {[](RunBuffer& run) { run.sort(); },
       [&](const RunBuffer& run) { write_sam(name, header_, run); },
       [&](const std::vector<UString>& names) { BAM::merge_bams(names, name); }, Packing::kNone});
}

}  // namespace readkit
