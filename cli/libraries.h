// Which library a program run loads.
#pragma once

#include <string>

namespace readkit::cli {

/// The path of the library that `choice` asks for: "fast" and "exact" are the two flavours, found
/// in the folder lib beside the program's own, or in the program's own; anything else is a path.
std::string library_path(const std::string& choice);

}  // namespace readkit::cli
