// The check of a FASTQ file of four lines a read.
#pragma once

#include "check/check_result.h"
#include "core/file.h"

namespace readkit {

/// Reads `file`, which stands at its first byte, to its end. The offsets of findings are numbers of
/// lines, from 1 on. Lines that do not have the form of a read are passed over up to a line that
/// begins with '@' whose next but one begins with '+'; empty lines at the end are no finding.
void check_fastq(File& file, CheckResult& result);

}  // namespace readkit
