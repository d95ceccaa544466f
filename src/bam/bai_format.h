// The BAI index file, as section 5.2 of the SAM/BAM format document describes it; see
// docs/formats/bai.md. All integers are little-endian.
#pragma once

#include <array>
#include <cstdint>

namespace readkit {

/// The file's first bytes; then n_ref, and per reference its bins with their chunks and its linear
/// index; then, optionally, the number of records without a reference.
inline constexpr std::array<std::uint8_t, 4> bai_magic = {'B', 'A', 'I', 1};

}  // namespace readkit
