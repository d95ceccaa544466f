// The BAM record: field offsets and code letters, as section 4.2 of the SAM/BAM format document
// gives them; see docs/formats/bam.md. Offsets are within the data block, which follows the
// record's length word in the file.
#pragma once

#include <cstddef>
#include <cstdint>

namespace readkit::record_format {

inline constexpr std::size_t kLengthWord = 4;  // int32, before the data block

inline constexpr std::size_t kRefId = 0;        // int32
inline constexpr std::size_t kPos = 4;          // int32
inline constexpr std::size_t kNameLength = 8;   // uint8, the NUL included
inline constexpr std::size_t kMapq = 9;         // uint8
inline constexpr std::size_t kBin = 10;         // uint16
inline constexpr std::size_t kCigarCount = 12;  // uint16
inline constexpr std::size_t kFlag = 14;        // uint16
inline constexpr std::size_t kSeqLength = 16;   // int32
inline constexpr std::size_t kNextRefId = 20;   // int32
inline constexpr std::size_t kNextPos = 24;     // int32
inline constexpr std::size_t kTlen = 28;        // int32
inline constexpr std::size_t kName = 32;        // then CIGAR, sequence, qualities, optional fields

inline constexpr std::uint16_t kPaired = 0x1;
inline constexpr std::uint16_t kProperlyPaired = 0x2;
inline constexpr std::uint16_t kUnmapped = 0x4;
inline constexpr std::uint16_t kMateUnmapped = 0x8;
inline constexpr std::uint16_t kSecondary = 0x100;
inline constexpr std::uint16_t kSupplementary = 0x800;

/// The ops that consume the reference, M, D, N, = and X, as a bit mask over op codes.
inline constexpr unsigned kReferenceOps = 0x18D;
/// The ops that consume the sequence, M, I, S, = and X.
inline constexpr unsigned kSequenceOps = 0x193;

inline constexpr std::uint8_t kMissingQuality = 0xFF;
inline constexpr char kQualityOffset = 33;

}  // namespace readkit::record_format
