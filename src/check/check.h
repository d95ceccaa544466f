// The check of a file: everything that is wrong with it, as far as that can be told, in one pass.
// docs/check.md lists what is checked.
#pragma once

#include "check/check_result.h"
#include "core/path.h"

namespace readkit {

/// Checks a BAM, SAM, BAI or FASTQ file, whose kind its content tells. With an `index` (null for
/// none) that is checked, too, and the records of a BAM file are looked for through it; the
/// findings of the index come first. Raises FileNotFound for a file that cannot be opened, and
/// std::bad_alloc; whatever else is wrong is a finding.
CheckResult check_file(const Path& path, const Path* index);

}  // namespace readkit
