// Where a record may begin, for reading on behind damage.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "header/bam_header.h"

namespace readkit {

/// Longer records are not read: memory must not follow what a damaged length says.
inline constexpr std::int32_t kLongestRecord = std::int32_t{1} << 28;

/// Whether a record can begin at `bytes`: a length word and 32 bytes of fields, whose name, CIGAR,
/// sequence and qualities fit into the length.
bool has_sound_layout(const std::uint8_t* bytes);
inline constexpr std::size_t kLayoutSize = 36;

/// The index of the first of `bytes` at which a record seems to begin: its fields are in range, its
/// name is there and can be printed, and the same holds for the two records behind it as far as
/// `bytes` has them. `references` are those of the dictionary, or null.
std::optional<std::size_t> find_record(std::span<const std::uint8_t> bytes,
                                       const std::vector<Reference>* references);

}  // namespace readkit
