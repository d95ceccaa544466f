// The check of an index file by itself.
#pragma once

#include <cstdint>

#include "check/findings.h"
#include "core/file.h"

namespace readkit {

/// What an index file says of itself.
struct IndexSummary {
  bool is_whole = false;      ///< has every reference that it states
  bool has_count = false;     ///< of the records without a reference
  std::uint64_t records = 0;  ///< that it counts, with and without a reference
};

/// Reads the index `file`, which stands at its first byte, to its end. The offsets of findings are
/// those of bytes. Memory does not depend on the file.
IndexSummary check_index_file(File& file, Findings& findings);

}  // namespace readkit
