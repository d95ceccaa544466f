// Files of one fuzzing process, in a folder that is quick: the temporary folder, which whoever runs
// many inputs lets lie in memory.
#pragma once

#include <string>
#include <string_view>

#include "core/path.h"
#include "fuzz/support/target.h"
#include "support/temp_dir.h"

namespace readkit::fuzz {

/// The process's folder, removed at its end.
const TempDir& scratch();

/// The native name of a file in it, with this content.
std::string file_with(std::string_view name, std::string_view bytes);
/// The native name of a file in it that does not exist (any more).
std::string fresh_file(std::string_view name);

/// The library's form of a native name.
inline Path path_of(const std::string& native) { return to_path(native); }

}  // namespace readkit::fuzz
