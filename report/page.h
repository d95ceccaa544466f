// The page that shows a document of `readkit quality` in a browser.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace readkit::report {

/// The page: `page`, the one without numbers that the build made (build.mjs), with the document in
/// it, and with its numbers as tables for those who read without scripts.
std::string quality_page(const nlohmann::ordered_json& document, const std::string& page);

}  // namespace readkit::report
