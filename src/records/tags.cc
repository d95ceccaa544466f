#include "records/tags.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "core/bytes.h"
#include "core/errors.h"
#include "core/number.h"

namespace readkit {
namespace {

constexpr std::ptrdiff_t kHeaderSize = 3;       // tag and type letter
constexpr std::ptrdiff_t kArrayHeaderSize = 8;  // and subtype letter and count

bool is_text(char type) { return type == 'Z' || type == 'H'; }
char type_of(const std::uint8_t* field) { return static_cast<char>(field[2]); }
char subtype_of(const std::uint8_t* field) { return static_cast<char>(field[3]); }
std::int32_t array_count(const std::uint8_t* field) {
  return std::max(load<std::int32_t>(field + 4), 0);
}

[[noreturn]] void raise_invalid_type(char type) {
  throw InvalidTagType(to_ustring(static_cast<signed char>(type)));
}

// As `tag_elem_size`, with 0 for a letter that is none.
int elem_size(char type) {
  switch (type) {
    case 'A':
    case 'C':
    case 'H':
    case 'Z':
    case 'c':
      return 1;
    case 'S':
    case 's':
      return 2;
    case 'I':
    case 'f':
    case 'i':
      return 4;
    default:
      return 0;
  }
}

// The text at `text` up to its NUL, or to `end`.
std::size_t text_length(const std::uint8_t* text, const std::uint8_t* end) {
  const auto room = static_cast<std::size_t>(end - text);
  const void* nul = room == 0 ? nullptr : std::memchr(text, 0, room);
  return nul == nullptr ? room
                        : static_cast<std::size_t>(static_cast<const std::uint8_t*>(nul) - text);
}

std::size_t max_element_text(char type) {
  switch (type) {
    case 'A':
      return 1;
    case 'C':
    case 'c':
      return 4;
    case 'S':
    case 's':
      return 6;
    case 'f':
      return kMaxFloatText;
    default:
      return kMaxIntegerText;
  }
}

char* write_element(const std::uint8_t* value, char type, char* out) {
  switch (type) {
    case 'A':
      *out = static_cast<char>(*value);
      return out + 1;
    case 'C':
      return format_integer(out, std::uint32_t{*value});
    case 'c':
      return format_integer(out, std::int32_t{load<std::int8_t>(value)});
    case 'S':
      return format_integer(out, std::uint32_t{load<std::uint16_t>(value)});
    case 's':
      return format_integer(out, std::int32_t{load<std::int16_t>(value)});
    case 'I':
      return format_integer(out, load<std::uint32_t>(value));
    case 'i':
      return format_integer(out, load<std::int32_t>(value));
    default:
      return format_float(out, load<float>(value));
  }
}

// Elements separated by commas, the last one followed by a TAB; none prints nothing.
char* write_elements(const std::uint8_t* value, char type, int count, char* out) {
  const int size = elem_size(type);
  for (int i = 0; i < count; ++i, value += size) {
    out = write_element(value, type, out);
    *out++ = ',';
  }
  if (count > 0) out[-1] = '\t';
  return out;
}

char* write_text(const std::uint8_t* text, std::size_t length, char* out) {
  std::memcpy(out, text, length);
  out[length] = '\t';
  return out + length + 1;
}

// What a field prints: `count` values of `type` at `value`, or text.
struct Values {
  const std::uint8_t* value;
  char type;
  int count;
};

Values values_of(const std::uint8_t* field) {
  if (type_of(field) != 'B') return {field + kHeaderSize, type_of(field), 1};
  return {field + kArrayHeaderSize, subtype_of(field), array_count(field)};
}

// Just past the field [field, end) begins with. Raises what makes it unprintable.
const std::uint8_t* printed_end(const std::uint8_t* field, const std::uint8_t* end) {
  const auto left = end - field;
  if (left < kHeaderSize) throw InvalidSAMFormat(UString());
  const bool is_array = type_of(field) == 'B';
  if (is_array && left < kArrayHeaderSize) throw InvalidSAMFormat(UString());
  const Values values = values_of(field);
  tag_elem_size(values.type);
  if (is_text(values.type)) {
    const std::uint8_t* const text_end = values.value + text_length(values.value, end);
    return text_end == end ? end : text_end + 1;
  }
  const std::int64_t size =
      values.value - field + std::int64_t{values.count} * elem_size(values.type);
  if (size > left) throw InvalidSAMFormat(UString());
  return field + size;
}

char printed_type(char type) { return std::strchr("cCsSiI", type) != nullptr ? 'i' : type; }

}  // namespace

int tag_elem_size(char type) {
  const int size = elem_size(type);
  if (size == 0) raise_invalid_type(type);
  return size;
}

int _tag_size(const std::uint8_t* field) {
  const char type = type_of(field);
  if (is_text(type)) {
    return static_cast<int>(std::strlen(reinterpret_cast<const char*>(field + kHeaderSize))) + 4;
  }
  if (type == 'B') {
    const std::int64_t size =
        std::int64_t{array_count(field)} * tag_elem_size(subtype_of(field)) + kArrayHeaderSize;
    return static_cast<int>(std::min<std::int64_t>(size, std::numeric_limits<int>::max()));
  }
  const int size = elem_size(type);
  return size == 0 ? -1 : static_cast<int>(kHeaderSize) + size;
}

std::int64_t tag_size_within(const std::uint8_t* field, const std::uint8_t* end) {
  const auto left = end - field;
  if (left < kHeaderSize) return -1;
  const char type = type_of(field);
  if (is_text(type)) {
    const auto length = static_cast<std::int64_t>(text_length(field + kHeaderSize, end));
    return std::min<std::int64_t>(length + 4, left);
  }
  std::int64_t size = kHeaderSize;
  if (type == 'B') {
    if (left < kArrayHeaderSize || elem_size(subtype_of(field)) == 0) return -1;
    size = kArrayHeaderSize + std::int64_t{array_count(field)} * elem_size(subtype_of(field));
  } else if (elem_size(type) == 0) {
    return -1;
  } else {
    size += elem_size(type);
  }
  return size <= left ? size : -1;
}

int integer_tag_value(const std::uint8_t* field) {
  const std::uint8_t* const value = field + kHeaderSize;
  switch (type_of(field)) {
    case 'C':
      return *value;
    case 'c':
      return load<std::int8_t>(value);
    case 'S':
      return load<std::uint16_t>(value);
    case 's':
      return load<std::int16_t>(value);
    case 'I':
    case 'i':
      return load<std::int32_t>(value);
    default:
      return -1;
  }
}

int tag_snprintf(char* out, std::size_t room, const std::uint8_t* value, char type, int count,
                 const std::uint8_t** next) {
  const int size = tag_elem_size(type);
  const char* const start = out;
  if (is_text(type)) {
    const std::size_t length = std::strlen(reinterpret_cast<const char*>(value));
    if (length + 1 <= room) out = write_text(value, length, out);
    if (next != nullptr) *next = value + length + 1;
    return static_cast<int>(out - start);
  }
  const int all = std::max(count, 0);
  int printed = 0;
  std::size_t left = room;
  while (printed < all) {
    char text[kMaxFloatText + 1];
    char* end = write_element(value + std::ptrdiff_t{printed} * size, type, text);
    *end++ = '\t';
    const auto length = static_cast<std::size_t>(end - text);
    if (length > left) break;
    if (out != start) out[-1] = ',';
    out = std::copy(text, end, out);
    left -= length;
    ++printed;
  }
  if (next != nullptr) *next = value + std::ptrdiff_t{all} * size;
  return static_cast<int>(out - start);
}

std::size_t max_tags_text(const std::uint8_t* field, const std::uint8_t* end) {
  constexpr std::size_t kPrefix = 5;  // "NM:i:"
  std::size_t most = 0;
  while (field < end) {
    const std::uint8_t* const next = printed_end(field, end);
    const Values values = values_of(field);
    most += kPrefix;
    most += is_text(values.type)
                ? static_cast<std::size_t>(next - values.value) + 1
                : static_cast<std::size_t>(values.count) * (max_element_text(values.type) + 1);
    field = next;
  }
  return most;
}

char* write_tags(const std::uint8_t* field, const std::uint8_t* end, char* out) {
  while (field < end) {
    const std::uint8_t* const next = printed_end(field, end);
    const Values values = values_of(field);
    *out++ = static_cast<char>(field[0]);
    *out++ = static_cast<char>(field[1]);
    *out++ = ':';
    *out++ = printed_type(type_of(field));
    *out++ = ':';
    // Kept: neither the subtype letter of an array nor the comma behind it is printed.
    out = is_text(values.type) ? write_text(values.value, text_length(values.value, end), out)
                               : write_elements(values.value, values.type, values.count, out);
    field = next;
  }
  return out;
}

}  // namespace readkit
