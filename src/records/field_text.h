// The fields of a record as SAM shows them: positions, CIGAR and qualities.
#pragma once

#include <cstddef>
#include <cstdint>

namespace readkit {

/// A 0-based position as users count it, 1-based; the sum wraps as 32-bit integers do.
inline std::int32_t one_based(int position) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(position) + 1U);
}

/// The most characters of one CIGAR op: nine digits and a letter.
inline constexpr std::size_t kMaxCigarOpText = 10;

/// Writes `count` ops, each as its length and letter, at `out`, which has room for `count` *
/// `kMaxCigarOpText`; returns the end. A code without a letter prints as '?'.
char* write_cigar(const std::uint8_t* ops, int count, char* out);

/// Writes `count` qualities plus 33, modulo 256, at `out`; returns false when all of them are 0xFF,
/// the mark of missing qualities.
bool write_qualities(const std::uint8_t* qualities, std::size_t count, char* out);

}  // namespace readkit
