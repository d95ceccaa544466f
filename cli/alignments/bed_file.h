// Regions in a file of the BED format (BEDv1, from the maintainers of SAM and BAM).
#pragma once

#include <string>
#include <vector>

#include "cli/alignments/alignment_header.h"
#include "cli/alignments/regions.h"
#include "cli/job/input.h"

namespace readkit::cli {

class Job;

/// The regions of the lines of `bed` ("-" is standard input): a reference, the 0-based begin, and
/// the end, which is the first position behind the region, between tabs or blanks. What else a line
/// has does not count, nor do empty lines, comments, and lines that begin with "track" or
/// "browser"; a region of no length has no records. Says on standard error how many lie on
/// references that `input` does not have. Raises Failure for a line that is no region, and when all
/// are on such references.
std::vector<Region> read_bed(Job& job, const std::string& bed,
                             const std::vector<Reference>& references, const Input& input);

}  // namespace readkit::cli
