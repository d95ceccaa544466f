// Bases as letters and as BAM's packed codes, two in a byte, the first one in the high nibble.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace readkit {

/// The letter of every code.
inline constexpr std::string_view kBaseLetters = "=ACMGRSVTWYHKDBN";

/// Writes the letters of `count` packed bases at `out`.
void unpack_bases(const std::uint8_t* packed, std::size_t count, char* out);

/// Packs letters at `out`, which has room for (count + 1) / 2 bytes; the low nibble behind an odd
/// last one is 0. Returns false, and what was written means nothing, when there is a character that
/// is none of `kBaseLetters`.
bool pack_bases(std::string_view letters, std::uint8_t* out);

}  // namespace readkit
