// The halves of which UTF-16 makes characters beyond 0xFFFF.
#pragma once

namespace readkit::cli {

constexpr bool is_high_surrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool is_low_surrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

}  // namespace readkit::cli
