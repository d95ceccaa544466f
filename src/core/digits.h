// Characters of text looked at eight at a time, for fields so short that a loop over them costs
// more in wrong guesses of its end than in work.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/bytes.h"

namespace readkit {

inline constexpr std::size_t kEight = sizeof(std::uint64_t);

/// A word that has this byte in every place.
constexpr std::uint64_t each_byte(std::uint8_t byte) {
  return std::uint64_t{0x0101010101010101} * byte;
}

/// Which of eight characters, the lowest byte first, is the first with a bit in `marks`; 8 when
/// there is none.
inline std::size_t first_marked(std::uint64_t marks) {
  return static_cast<std::size_t>(std::countr_zero(marks)) / 8;
}

/// Marks the first of eight characters that sorts, as an unsigned number, before `bound`, which is
/// at most 128; marks behind it mean nothing.
constexpr std::uint64_t mark_below(std::uint64_t eight, char bound) {
  return (eight - each_byte(static_cast<std::uint8_t>(bound))) & ~eight & each_byte(0x80);
}

/// Marks the first of eight characters that is no decimal digit; marks behind it mean nothing.
constexpr std::uint64_t mark_no_digit(std::uint64_t eight) {
  const std::uint64_t high = each_byte(0xF0);
  return ((eight & high) ^ each_byte('0')) | (((eight + each_byte(6)) & high) ^ each_byte('0'));
}

/// The number that eight digits form, the first one in the lowest byte; a byte of 0 counts as the
/// digit 0.
constexpr std::uint32_t eight_digits(std::uint64_t digits) {
  std::uint64_t value = (digits & each_byte(0x0F)) * ((10 << 8) + 1) >> 8;
  value = (value & 0x00FF00FF00FF00FF) * ((100 << 16) + 1) >> 16;
  value = (value & 0x0000FFFF0000FFFF) * ((std::uint64_t{10000} << 32) + 1) >> 32;
  return static_cast<std::uint32_t>(value);
}

struct LeadingDigits {
  /// A number of so many digits fits into 63 bits.
  static constexpr std::size_t kMost = 18;

  std::int64_t value = 0;
  std::size_t count = 0;
};

/// The decimal digits at the front of `text` and their value, `LeadingDigits::kMost` at most.
inline LeadingDigits leading_digits(std::string_view text) {
  LeadingDigits digits;
  if (text.size() >= kEight) {
    const auto eight = load<std::uint64_t>(text.data());
    digits.count = first_marked(mark_no_digit(eight));
    if (digits.count == 0) return digits;
    // Zeros come in front, in the low bytes.
    digits.value = eight_digits(eight << 8 * (kEight - digits.count));
    if (digits.count < kEight) return digits;
  }
  const std::size_t end = std::min(text.size(), LeadingDigits::kMost);
  for (; digits.count < end; ++digits.count) {
    const char c = text[digits.count];
    if (c < '0' || c > '9') break;
    digits.value = digits.value * 10 + (c - '0');
  }
  return digits;
}

}  // namespace readkit
