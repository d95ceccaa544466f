// The end-of-file marker of a BAM file.
#pragma once

#include <string>

namespace readkit::cli {

/// Whether the file ends with the empty block that marks the end of a whole file.
bool has_end_marker(const std::string& path);

}  // namespace readkit::cli
