// The names that a user may have meant.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace readkit::cli {

/// The names of `known` that are `name` but for a few letters inserted, deleted or replaced, upper
/// and lower case and a leading "chr" set aside, nearest first, `most` of them at most.
std::vector<std::string> nearest_names(const std::string& name,
                                       const std::vector<std::string>& known, std::size_t most);

}  // namespace readkit::cli
