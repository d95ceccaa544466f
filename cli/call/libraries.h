// Which library a program run loads, and where the other files are that the program comes with.
#pragma once

#include <string>

namespace readkit::cli {

/// The path of the library that `choice` asks for: "fast" and "exact" are the two flavours, which
/// are where the host is; anything else is a path.
std::string library_path(const std::string& choice);

/// The path of a file in the folder share/readkit beside the program's own.
std::string shared_file_path(const std::string& name);

}  // namespace readkit::cli
