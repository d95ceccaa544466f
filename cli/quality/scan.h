// The scan of one file's qualities by the library.
#pragma once

#include "cli/job/input.h"
#include "report/counts.h"
#include "report/document.h"

namespace readkit::cli {

class Job;

/// Scans the file; qualities, that of `settings.min_average` too, are characters less '!'. Raises
/// Failure, and Interrupted.
report::QualityCounts scan_qualities(Job& job, const Input& input,
                                     const report::ScanSettings& settings);

}  // namespace readkit::cli
