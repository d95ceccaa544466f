// What a conversion reads from, be it BAM or SAM.
#pragma once

#include <functional>

#include "core/path.h"
#include "header/bam_header.h"
#include "records/alignment.h"

namespace readkit {

/// An open file of records: `rewind` goes back to the first one, `next` advances and tells whether
/// there is one, `current` is it.
struct Source {
  const Path& path;
  const BamHeader& header;
  Alignment& current;
  std::function<void()> rewind;
  std::function<bool()> next;
};

}  // namespace readkit
