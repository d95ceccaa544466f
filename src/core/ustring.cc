#include "core/ustring.h"

#include <cstddef>
#include <iterator>

#include <utf8.h>

namespace readkit {
namespace {

constexpr char16_t kByteEscape = 0xDC00;
constexpr char32_t kReplacement = 0xFFFD;

bool is_high_surrogate(char16_t u) { return u >= 0xD800 && u <= 0xDBFF; }
bool is_low_surrogate(char16_t u) { return u >= 0xDC00 && u <= 0xDFFF; }
bool is_escaped_byte(char16_t u) { return u >= 0xDC80 && u <= 0xDCFF; }

}  // namespace

UString to_ustring(std::string_view bytes) {
  UString text;
  text.reserve(bytes.size());
  const char* at = bytes.data();
  const char* const end = at + bytes.size();
  while (at != end) {
    const char* const invalid = utf8::find_invalid(at, end);
    utf8::unchecked::utf8to16(at, invalid, std::back_inserter(text));
    at = invalid;
    if (at != end) {
      text.push_back(static_cast<char16_t>(kByteEscape + static_cast<unsigned char>(*at++)));
    }
  }
  return text;
}

UString to_ustring(long long number) { return to_ustring(std::to_string(number)); }

std::string to_bytes(std::u16string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = text[i];
    if (is_high_surrogate(unit) && i + 1 < text.size() && is_low_surrogate(text[i + 1])) {
      const char32_t high = unit - 0xD800U;
      const char32_t low = text[++i] - 0xDC00U;
      utf8::append(0x10000 + (high << 10 | low), std::back_inserter(bytes));
    } else if (is_escaped_byte(unit)) {
      bytes.push_back(static_cast<char>(unit - kByteEscape));
    } else if (is_high_surrogate(unit) || is_low_surrogate(unit)) {
      utf8::append(kReplacement, std::back_inserter(bytes));
    } else {
      utf8::append(static_cast<char32_t>(unit), std::back_inserter(bytes));
    }
  }
  return bytes;
}

}  // namespace readkit
