// Optional fields of a SAM line, encoded.
#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "core/bytes.h"
#include "core/errors.h"
#include "core/number.h"
#include "records/tags.h"

namespace readkit {
namespace {

constexpr std::size_t kPrefix = 5;   // "NM:i:"
constexpr std::size_t kTagSize = 3;  // tag and type letter

std::int32_t array_elements(std::string_view text) {
  const auto commas = std::count(text.begin(), text.end(), ',');
  return static_cast<std::int32_t>(commas + 1);
}

// Kept: one would expect one byte behind the other; instead the k-th pair of digits lands at offset
// 2k while the field grows by one byte per pair, so that later fields overwrite later pairs.
// Returns the bytes by which the field grows.
std::size_t encode_hex(std::string_view digits, std::uint8_t* value) {
  const std::size_t pairs = (digits.size() + 1) / 2;
  std::fill_n(value, 2 * pairs, std::uint8_t{0});
  for (std::size_t k = 0; k < pairs; ++k) {
    value[2 * k] = static_cast<std::uint8_t>(checked_long(digits.substr(2 * k, 2), 16));
  }
  return pairs;
}

// Encodes the value of one field behind its header; returns the value's size.
std::size_t encode_value(char type, std::string_view text, std::uint8_t* value) {
  switch (type) {
    case 'A':
      if (text.empty()) throw InvalidSAMFormat(UString());
      value[0] = static_cast<std::uint8_t>(text[0]);
      return 1;
    case 'i':
      store(value, static_cast<std::int32_t>(parse_long(text)));
      return 4;
    case 'f':
      store(value, parse_float(text));
      return 4;
    case 'Z':
      std::copy(text.begin(), text.end(), value);
      value[text.size()] = 0;
      return text.size() + 1;
    case 'H':
      return encode_hex(text, value);
    case 'B': {
      const char subtype = text.empty() ? '\0' : text[0];
      value[0] = static_cast<std::uint8_t>(subtype);
      const std::string elements(text.substr(std::min<std::size_t>(1, text.size())));
      return 1 + static_cast<std::size_t>(parse_barray(elements, subtype, value + 1));
    }
    default:
      return 0;  // Kept: a field of any other type is its header alone.
  }
}

std::uint8_t* encode_field(std::string_view field, std::uint8_t* out) {
  if (field.size() < kPrefix) throw InvalidSAMFormat(UString());
  out[0] = static_cast<std::uint8_t>(field[0]);
  out[1] = static_cast<std::uint8_t>(field[1]);
  out[2] = static_cast<std::uint8_t>(field[3]);
  return out + kTagSize + encode_value(field[3], field.substr(kPrefix), out + kTagSize);
}

}  // namespace

std::uint8_t* encode_tags(std::string_view fields, std::uint8_t* out) {
  while (!fields.empty()) {
    const std::string_view field = fields.substr(0, fields.find('\t'));
    if (!field.empty()) out = encode_field(field, out);
    fields.remove_prefix(std::min(field.size() + 1, fields.size()));
  }
  return out;
}

std::unique_ptr<std::uint8_t[]> parse_tags(const std::string& line, std::size_t start,
                                           std::size_t* length) {
  const std::string_view fields = std::string_view(line).substr(std::min(start, line.size()));
  auto bytes = std::make_unique_for_overwrite<std::uint8_t[]>(max_encoded_tags(fields.size()));
  *length = static_cast<std::size_t>(encode_tags(fields, bytes.get()) - bytes.get());
  return bytes;
}

int parse_barray(const std::string& text, char subtype, std::uint8_t* out) {
  const std::int32_t count = array_elements(text);
  store(out, count);
  std::uint8_t* element = out + 4;
  for (std::int32_t i = 0; i < count; ++i) {
    // Kept: every conversion starts at the first character.
    if (subtype == 'f') {
      store(element, checked_float(text));
      element += 4;
      continue;
    }
    const long number = checked_long(text);
    switch (subtype) {
      case 'C':
      case 'c':
        store(element, static_cast<std::uint8_t>(number));
        element += 1;
        break;
      case 'S':
      case 's':
        store(element, static_cast<std::uint16_t>(number));
        element += 2;
        break;
      case 'I':
      case 'i':
        store(element, static_cast<std::uint32_t>(number));
        element += 4;
        break;
      default:
        break;
    }
  }
  return static_cast<int>(element - out);
}

int tag_max_size(const std::string& line, int start, int end) {
  const auto begin = static_cast<std::size_t>(std::max(start, 0));
  const char type = begin + 3 < line.size() ? line[begin + 3] : '\0';
  switch (type) {
    case 'A':
      return 4;
    case 'B': {
      if (end == start) return 12;
      const auto length = static_cast<std::size_t>(std::max(end - start, 0));
      return 12 + 4 * (array_elements(std::string_view(line).substr(begin, length)) - 1);
    }
    case 'H':
      return (end - start - 5) / 2 + 3;
    case 'Z':
      return end - start - 1;
    default:
      return 7;
  }
}

int _next_tab(const std::string& s, int from) {
  if (from < 0 || static_cast<std::size_t>(from) >= s.size()) return -1;
  const std::size_t tab = s.find('\t', static_cast<std::size_t>(from));
  return tab == std::string::npos ? -1 : static_cast<int>(tab);
}

int _assert_tab(const std::string& s, int from) {
  const int tab = _next_tab(s, from);
  if (tab < 0) throw InvalidSAMFormat(UString());
  return tab;
}

std::unique_ptr<std::uint8_t[]> _resize(std::unique_ptr<std::uint8_t[]> buffer, std::size_t used,
                                        std::size_t size) {
  auto larger = std::make_unique_for_overwrite<std::uint8_t[]>(size);
  if (used > 0) std::memcpy(larger.get(), buffer.get(), std::min(used, size));
  return larger;
}

}  // namespace readkit
