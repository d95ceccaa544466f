// Small files that many targets begin with.
#pragma once

#include <string>
#include <vector>

#include "support/bam_builder.h"

namespace readkit::fuzz {

/// Three references, one of them with an odd name; records with every kind of CIGAR op and optional
/// field, mates, and records without a reference; sorted.
BamBuilder sample_bam();
/// Many small records over two references, far apart and in many windows of an index; sorted.
BamBuilder wide_bam(int records);
/// BAM files whole, in many blocks, without records, and without anything.
std::vector<std::string> bam_files();
/// SAM files: header and lines, of all kinds.
std::vector<std::string> sam_files();

/// Every file of a list behind every list of choices.
std::vector<std::string> behind(const std::vector<std::string>& choices,
                                const std::vector<std::string>& files);
/// Lists of choices: the first byte counts up to `count`, the others are as given.
std::vector<std::string> counted_choices(std::size_t count, const std::string& others = {});

}  // namespace readkit::fuzz
