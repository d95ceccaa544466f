#include "cli/json/json_text.h"

#include <charconv>
#include <cstddef>
#include <iterator>
#include <optional>
#include <utility>

#include <utf8.h>

#include "cli/json/surrogates.h"

namespace readkit::cli {
namespace {

constexpr char16_t kShield = 0xE000;
constexpr std::string_view kShieldBytes = "\xEE\x80\x80";
constexpr char16_t kShieldedFirst = 0xE100;
constexpr char16_t kSurrogateFirst = 0xD800;
constexpr std::size_t kEscapeLength = 6;

// The unit of the escape \uXXXX at `at`, if there is one.
std::optional<char16_t> escape_at(std::string_view json, std::size_t at) {
  if (json.size() - at < kEscapeLength || json[at] != '\\' || json[at + 1] != 'u') return {};
  unsigned unit = 0;
  const char* const digits = json.data() + at + 2;
  const char* const end = json.data() + at + kEscapeLength;
  const auto [stop, error] = std::from_chars(digits, end, unit, 16);
  if (error != std::errc() || stop != end) return {};
  return static_cast<char16_t>(unit);
}

// Copies what stands at the backslash `at`, replaced if need be; returns the place after it.
std::size_t shield_escape(std::string_view json, std::size_t at, std::string& out) {
  const std::optional<char16_t> unit = escape_at(json, at);
  std::size_t length = unit ? kEscapeLength : std::size_t{2};
  if (unit && *unit == kShield) {
    out.append(kShieldBytes).append(kShieldBytes);
    return at + length;
  }
  if (unit && is_high_surrogate(*unit)) {
    const std::optional<char16_t> next = escape_at(json, at + length);
    if (next && is_low_surrogate(*next)) length += kEscapeLength;
  }
  if (unit && (is_high_surrogate(*unit) || is_low_surrogate(*unit)) && length == kEscapeLength) {
    out.append(kShieldBytes);
    utf8::unchecked::append(static_cast<char32_t>(kShieldedFirst + (*unit - kSurrogateFirst)),
                            std::back_inserter(out));
  } else {
    out.append(json.substr(at, length));
  }
  return at + length;
}

std::string shield(std::string_view json) {
  std::string out;
  out.reserve(json.size());
  for (std::size_t at = 0; at < json.size();) {
    const std::size_t special = std::min(json.find_first_of("\\\xEE", at), json.size());
    out.append(json.substr(at, special - at));
    at = special;
    if (at == json.size()) break;
    if (json[at] == '\\') {
      at = shield_escape(json, at, out);
    } else if (json.substr(at, kShieldBytes.size()) == kShieldBytes) {
      out.append(kShieldBytes).append(kShieldBytes);
      at += kShieldBytes.size();
    } else {
      out.push_back(json[at++]);
    }
  }
  return out;
}

}  // namespace

ShieldedJson::ShieldedJson(std::string json) : text_(std::move(json)) {
  shielded_ =
      text_.find("\\u") != std::string::npos || text_.find(kShieldBytes) != std::string::npos;
  if (shielded_) text_ = shield(text_);
}

std::u16string ShieldedJson::units_of(std::string_view parsed) const {
  std::u16string units;
  units.reserve(parsed.size());
  utf8::unchecked::utf8to16(parsed.begin(), parsed.end(), std::back_inserter(units));
  if (!shielded_) return units;
  std::size_t kept = 0;
  for (std::size_t i = 0; i < units.size(); ++i) {
    char16_t unit = units[i];
    if (unit == kShield && i + 1 < units.size()) {
      unit = units[++i];
      if (unit != kShield) unit = static_cast<char16_t>(unit - kShieldedFirst + kSurrogateFirst);
    }
    units[kept++] = unit;
  }
  units.resize(kept);
  return units;
}

}  // namespace readkit::cli
