// Numbers in text, both ways, independent of the process locale and bounded by the text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace readkit {

/// The integer at the start of `text` by the rules of strtol: leading blanks, an optional sign,
/// then digits of `base` (10, or 16 with an optional 0x); 0 when there are none; saturated at the
/// limits of long. `*used` (when not null) receives the number of characters used, 0 without
/// digits.
long parse_long(std::string_view text, std::size_t* used = nullptr, int base = 10);

/// The number at the start of `text` by the rules of strtof.
float parse_float(std::string_view text, std::size_t* used = nullptr);

/// As std::stol and std::stof: like the above, but text without a number raises
/// std::invalid_argument and a number out of range std::out_of_range, with "stol" or "stof".
long checked_long(std::string_view text, int base = 10);
float checked_float(std::string_view text);

/// The longest texts that the functions below write.
inline constexpr std::size_t kMaxIntegerText = 11;  // -2147483648
inline constexpr std::size_t kMaxFloatText = 47;  // -340282346638528859811704183484516925440.000000

/// Writes `value` in decimal at `out`, which has room for `kMaxIntegerText`; returns the end.
char* format_integer(char* out, std::uint32_t value);
char* format_integer(char* out, std::int32_t value);

/// Writes `value` with six decimals, exactly as "%f" prints it in the C locale, at `out`, which has
/// room for `kMaxFloatText`; returns the end.
char* format_float(char* out, float value);

}  // namespace readkit
