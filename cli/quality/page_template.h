// The page of reports without its numbers, as the build made it (report/build.mjs).
#pragma once

#include <string>

namespace readkit::cli {

/// The page's text, from the folder share/readkit beside the program's own. Raises Failure that
/// says what to do when there is none.
std::string page_template();

}  // namespace readkit::cli
