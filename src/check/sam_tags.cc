#include "check/sam_tags.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <system_error>

#include "check/characters.h"

namespace readkit {
namespace {

constexpr std::size_t kPrefix = 5;  // "NM:i:"

bool is_form(std::string_view field) {
  return field.size() >= kPrefix && is_letter(field[0]) &&
         (is_letter(field[1]) || is_digit(field[1])) && field[2] == ':' && field[4] == ':';
}

bool is_integer(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size() &&
         value >= std::numeric_limits<std::int32_t>::min() &&
         value <= std::numeric_limits<std::uint32_t>::max();
}

// Takes a sign off `text`, and digits; returns how many digits.
void take_sign(std::string_view& text) {
  if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
}
std::size_t take_digits(std::string_view& text) {
  const auto end = std::find_if_not(text.begin(), text.end(), is_digit);
  const auto count = static_cast<std::size_t>(end - text.begin());
  text.remove_prefix(count);
  return count;
}

// Digits with a point among or before them, and an exponent; neither infinity nor hexadecimal.
bool is_float(std::string_view text) {
  take_sign(text);
  std::size_t last_digits = take_digits(text);
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    last_digits = take_digits(text);
  }
  if (last_digits == 0) return false;
  if (text.empty()) return true;
  if (text[0] != 'e' && text[0] != 'E') return false;
  text.remove_prefix(1);
  take_sign(text);
  return take_digits(text) != 0 && text.empty();
}

bool is_array(std::string_view text) {
  if (text.empty() || std::string_view("cCsSiIf").find(text[0]) == std::string_view::npos) {
    return false;
  }
  const bool of_floats = text[0] == 'f';
  text.remove_prefix(1);
  while (text.starts_with(',')) {
    text.remove_prefix(1);
    const std::string_view element = text.substr(0, text.find(','));
    if (!(of_floats ? is_float(element) : is_integer(element))) return false;
    text.remove_prefix(element.size());
  }
  return text.empty();
}

bool is_value(char type, std::string_view text) {
  switch (type) {
    case 'A':
      return text.size() == 1 && is_printable(text[0]);
    case 'i':
      return is_integer(text);
    case 'f':
      return is_float(text);
    case 'Z':
      return std::all_of(text.begin(), text.end(), is_printable_or_blank);
    case 'H':
      return text.size() % 2 == 0 && std::all_of(text.begin(), text.end(), is_hex_digit);
    case 'B':
      return is_array(text);
    default:
      return false;
  }
}

}  // namespace

void check_sam_tags(std::string_view fields, std::uint64_t line, std::uint64_t record,
                    TagNames& names, Findings& findings) {
  names.start();
  bool goes_on = true;
  while (goes_on) {
    const std::size_t tab = fields.find('\t');
    const std::string_view field = fields.substr(0, tab);
    goes_on = tab != std::string_view::npos;
    fields.remove_prefix(goes_on ? tab + 1 : fields.size());
    if (!is_form(field)) {
      findings.add(FindingKind::kTag, line, record, "an optional field is ", excerpt(field),
                   ", not of the form NAME:TYPE:VALUE");
      continue;
    }
    if (!is_value(field[3], field.substr(kPrefix))) {
      findings.add(FindingKind::kTag, line, record,
                   "an optional field has no value of its type: ", excerpt(field));
    }
    if (!names.add(static_cast<std::uint8_t>(field[0]), static_cast<std::uint8_t>(field[1]))) {
      findings.add(FindingKind::kTagRepeated, line, record, "optional field ", field.substr(0, 2),
                   " comes again");
    }
  }
}

}  // namespace readkit
