// What the program is called, and of which version it and its libraries are.
#pragma once

#include <string>

namespace readkit::cli {

inline constexpr char kProgramSummary[] =
    "Utilities for genomic sequence-alignment files (BAM, SAM, BAI, FASTQ)";

/// For example "1.0.0".
std::string version();
/// "readkit 1.0.0" and a line for each library, without a newline at the end.
std::string version_text();

}  // namespace readkit::cli
