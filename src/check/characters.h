// The characters that the formats name, whatever the locale.
#pragma once

namespace readkit {

constexpr bool is_letter(int c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
constexpr bool is_digit(int c) { return c >= '0' && c <= '9'; }
/// A digit to the base 16; only capital letters are.
constexpr bool is_hex_digit(int c) { return is_digit(c) || (c >= 'A' && c <= 'F'); }
/// ASCII's characters but for controls and the blank.
constexpr bool is_printable(int c) { return c >= '!' && c <= '~'; }
constexpr bool is_printable_or_blank(int c) { return c >= ' ' && c <= '~'; }
/// A character of a read's name.
constexpr bool is_of_name(int c) { return is_printable(c) && c != '@'; }

}  // namespace readkit
