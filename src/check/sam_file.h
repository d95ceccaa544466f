// The check of a SAM file: the lines of its header and of its records.
#pragma once

#include "check/check_result.h"
#include "core/file.h"

namespace readkit {

/// Reads `file`, which stands at its first byte, to its end. The offsets of findings are numbers of
/// lines, from 1 on.
void check_sam(File& file, CheckResult& result);

}  // namespace readkit
