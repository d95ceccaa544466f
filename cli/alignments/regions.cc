#include "cli/alignments/regions.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <system_error>

#include "cli/command_line/nearest_names.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

constexpr char kUnknownReference[] = "seqlab:readkit:ReferenceIDNotFound";

std::vector<Reference>::const_iterator find(const std::string& name,
                                            const std::vector<Reference>& references) {
  return std::find_if(references.begin(), references.end(),
                      [&name](const Reference& reference) { return reference.name == name; });
}

// A number with or without commas, or `absent` for an empty text.
std::int64_t position(const std::string& region, std::string text, std::int64_t absent) {
  std::erase(text, ',');
  if (text.empty()) return absent;
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < 0) {
    throw UsageError("'" + region +
                     "' is no region: write name:begin-end, for example "
                     "chr1:1000-2000");
  }
  return std::clamp<std::int64_t>(number, 1, kLastPosition);
}

}  // namespace

std::size_t find_reference(const std::string& name, const std::vector<Reference>& references,
                           const std::string& file) {
  const auto found = find(name, references);
  if (found != references.end()) return static_cast<std::size_t>(found - references.begin());
  constexpr std::size_t kMost = 3;
  std::vector<std::string> names;
  names.reserve(references.size());
  for (const Reference& reference : references) names.push_back(reference.name);
  std::string advice;
  for (const std::string& near : nearest_names(name, names, kMost)) {
    advice += (advice.empty() ? "did you mean " : " or ") + near;
  }
  advice += advice.empty() ? "readkit refs " + file + " lists the references"
                           : "? readkit refs " + file + " lists all references";
  throw Failure(file, "there is no reference '" + name + "'", kUnknownReference, advice);
}

std::string text_of(const Region& region) {
  return region.reference + ':' + std::to_string(region.begin) + '-' + std::to_string(region.end);
}

Region parse_region(const std::string& text, const std::vector<Reference>& references,
                    const std::string& file) {
  std::string name = text;
  std::string range;
  if (find(text, references) == references.end()) {
    // The last colon is the one between name and numbers, unless braces say where the name ends.
    const std::size_t colon = text.rfind(':');
    const bool in_braces = text.starts_with('{') && text.find('}') != std::string::npos;
    if (in_braces) {
      const std::size_t brace = text.rfind('}');
      name = text.substr(1, brace - 1);
      range = text.substr(brace + 1);
      if (range.starts_with(':')) range.erase(0, 1);
    } else if (colon != std::string::npos) {
      name = text.substr(0, colon);
      range = text.substr(colon + 1);
    }
  }
  Region region;
  region.index = find_reference(name, references, file);
  region.reference = name;
  const std::size_t dash = std::min(range.find('-'), range.size());
  region.begin = position(text, range.substr(0, dash), 1);
  region.end = position(text, range.substr(std::min(dash + 1, range.size())), kLastPosition);
  if (region.end < region.begin) {
    throw UsageError("'" + text + "' ends before it begins");
  }
  return region;
}

}  // namespace readkit::cli
