#include "cli/json/json_string.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>

#include <utf8.h>

#include "cli/json/surrogates.h"

namespace readkit::cli {
namespace {

// What one unit takes at most: the escape \uXXXX.
constexpr std::size_t kMaxEscape = 6;
constexpr std::size_t kPiece = Output::kMaxRoom / kMaxEscape;
constexpr char16_t kByteEscape = 0xDC00;

bool is_plain(char16_t unit) { return unit >= 0x20 && unit < 0x80 && unit != '"' && unit != '\\'; }
char* put_escape(char16_t unit, char* to) {
  constexpr char kHex[] = "0123456789abcdef";
  *to++ = '\\';
  if (unit == '"' || unit == '\\') {
    *to++ = static_cast<char>(unit);
  } else if (unit == '\n') {
    *to++ = 'n';
  } else if (unit == '\t') {
    *to++ = 't';
  } else {
    *to++ = 'u';
    for (const unsigned shift : {12U, 8U, 4U, 0U}) *to++ = kHex[unit >> shift & 0xFU];
  }
  return to;
}

// Puts the character that begins at `at` and moves `at` to its last unit.
char* put_character(std::u16string_view units, std::size_t& at, char* to) {
  const char16_t unit = units[at];
  if (unit < 0x80) return put_escape(unit, to);
  if (is_high_surrogate(unit) && at + 1 < units.size() && is_low_surrogate(units[at + 1])) {
    const char32_t high = unit - 0xD800U;
    const char32_t low = units[++at] - 0xDC00U;
    return utf8::unchecked::append(0x10000U + (high << 10U | low), to);
  }
  if (is_high_surrogate(unit) || is_low_surrogate(unit)) return put_escape(unit, to);
  return utf8::unchecked::append(unit, to);
}

}  // namespace

void write_json_string(Output& out, std::u16string_view units) {
  out.append('"');
  for (std::size_t at = 0; at < units.size();) {
    char* to = out.room(Output::kMaxRoom);
    const std::size_t end = std::min(at + kPiece, units.size());
    for (; at < end; ++at) {
      if (is_plain(units[at])) {
        *to++ = static_cast<char>(units[at]);
      } else {
        to = put_character(units, at, to);
      }
    }
    out.advance(to);
  }
  out.append('"');
}

void write_json_string(Output& out, std::string_view bytes) {
  std::u16string units;
  while (!bytes.empty()) {
    const char* const end = bytes.data() + bytes.size();
    const char* const invalid = utf8::find_invalid(bytes.data(), end);
    utf8::unchecked::utf8to16(bytes.data(), invalid, std::back_inserter(units));
    bytes.remove_prefix(static_cast<std::size_t>(invalid - bytes.data()));
    if (!bytes.empty()) {
      const auto byte = static_cast<unsigned char>(bytes.front());
      units.push_back(static_cast<char16_t>(kByteEscape + byte));
      bytes.remove_prefix(1);
    }
  }
  write_json_string(out, units);
}

}  // namespace readkit::cli
