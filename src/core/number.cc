#include "core/number.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include <locale.h>

#include "core/digits.h"

namespace readkit {
namespace {

bool is_blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

constexpr int kNoDigit = 36;

int digit_value(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return kNoDigit;
}

struct ParsedLong {
  long value = 0;
  std::size_t used = 0;  // 0: no number
  bool in_range = true;
};

ParsedLong scan_long(std::string_view text, int base) {
  std::size_t at = 0;
  while (at < text.size() && is_blank(text[at])) ++at;
  bool negative = false;
  if (at < text.size() && (text[at] == '-' || text[at] == '+')) negative = text[at++] == '-';
  if (base == 16 && at + 2 < text.size() && text[at] == '0' && (text[at + 1] | 0x20) == 'x' &&
      digit_value(text[at + 2]) < base) {
    at += 2;
  }
  const std::size_t first_digit = at;
  // Counts downwards: the negative range is the larger one.
  constexpr long kLowest = std::numeric_limits<long>::min();
  ParsedLong result;
  for (; at < text.size(); ++at) {
    const int digit = digit_value(text[at]);
    if (digit >= base) break;
    if (result.value < (kLowest + digit) / base) {
      result.in_range = false;
      result.value = kLowest;
    } else {
      result.value = result.value * base - digit;
    }
  }
  if (at == first_digit) return {};
  result.used = at;
  if (negative) return result;
  if (result.value == kLowest) {
    result.in_range = false;
    result.value = std::numeric_limits<long>::max();
  } else {
    result.value = -result.value;
  }
  return result;
}

struct ParsedFloat {
  float value = 0;
  std::size_t used = 0;
  bool in_range = true;
};

struct FreeLocale {
  void operator()(locale_t locale) const { freelocale(locale); }
};

// strtof in the C locale, on a copy that ends where the text ends.
ParsedFloat scan_float(std::string_view text) {
  static const std::unique_ptr<std::remove_pointer_t<locale_t>, FreeLocale> c_locale(
      newlocale(LC_ALL_MASK, "C", nullptr));
  const std::string copy(text);
  char* end = nullptr;
  const int saved_errno = std::exchange(errno, 0);
  ParsedFloat result;
  result.value = strtof_l(copy.c_str(), &end, c_locale.get());
  result.in_range = errno != ERANGE;
  errno = saved_errno;
  result.used = static_cast<std::size_t>(end - copy.c_str());
  return result;
}

}  // namespace

long parse_long(std::string_view text, std::size_t* used, int base) {
  if (base == 10) {
    const auto [value, digits] = leading_digits(text);
    // The usual number: digits alone, and fewer than could saturate.
    if (digits > 0 && (digits == text.size() || digit_value(text[digits]) >= base)) {
      if (used != nullptr) *used = digits;
      return value;
    }
  }
  const ParsedLong parsed = scan_long(text, base);
  if (used != nullptr) *used = parsed.used;
  return parsed.value;
}

float parse_float(std::string_view text, std::size_t* used) {
  const ParsedFloat parsed = scan_float(text);
  if (used != nullptr) *used = parsed.used;
  return parsed.value;
}

long checked_long(std::string_view text, int base) {
  const ParsedLong parsed = scan_long(text, base);
  if (parsed.used == 0) throw std::invalid_argument("stol");
  if (!parsed.in_range) throw std::out_of_range("stol");
  return parsed.value;
}

float checked_float(std::string_view text) {
  const ParsedFloat parsed = scan_float(text);
  if (parsed.used == 0) throw std::invalid_argument("stof");
  if (!parsed.in_range) throw std::out_of_range("stof");
  return parsed.value;
}

char* format_integer(char* out, std::uint32_t value) {
  return std::to_chars(out, out + kMaxIntegerText, value).ptr;
}

char* format_integer(char* out, std::int32_t value) {
  return std::to_chars(out, out + kMaxIntegerText, value).ptr;
}

char* format_float(char* out, float value) {
  return std::to_chars(out, out + kMaxFloatText, static_cast<double>(value),
                       std::chars_format::fixed, 6)
      .ptr;
}

}  // namespace readkit
