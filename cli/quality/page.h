// The page that shows a document of `readkit quality` in a browser.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace readkit::cli {

/// The page without its numbers, as the build made it (report/build.mjs), from the folder
/// share/readkit beside the program's own. Raises std::runtime_error that says what to do when
/// there is none.
std::string page_template();

/// The page: `page` with the document in it, and with its numbers as tables for those who read
/// without scripts.
std::string quality_page(const nlohmann::ordered_json& document, const std::string& page);

}  // namespace readkit::cli
