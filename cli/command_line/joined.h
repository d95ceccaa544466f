// Words as one text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace readkit::cli {

/// "a, b, c" of a list, with another separator if need be.
inline std::string joined(const std::vector<std::string>& words,
                          std::string_view separator = ", ") {
  std::string result;
  for (const std::string& word : words) {
    if (!result.empty()) result += separator;
    result += word;
  }
  return result;
}

}  // namespace readkit::cli
