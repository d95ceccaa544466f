// The names that a user may have meant.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace readkit::cli {

/// The names of `known` that are nearest to `name`, `most` of them at most: those with the fewest
/// letters inserted, deleted or replaced, and with few at all; upper and lower case and a leading
/// "chr" set aside.
std::vector<std::string> nearest_names(const std::string& name,
                                       const std::vector<std::string>& known, std::size_t most);

}  // namespace readkit::cli
