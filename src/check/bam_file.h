// The check of a BAM file: its blocks, header and records, and the records against an index.
#pragma once

#include "check/check_result.h"
#include "check/index_checks.h"
#include "core/file.h"

namespace readkit {

/// Reads `file`, which stands at its first byte, to its end. With an `index` every record is looked
/// for through it, and its counts are compared with those of the file.
void check_bam(File& file, IndexChecks* index, CheckResult& result);

}  // namespace readkit
