// The binning scheme of section 5.3 of the SAM/BAM format document: five levels of bins, each an
// eighth of the one above, over 2^29 positions. Positions are 0-based.
#pragma once

#include <cstdint>
#include <vector>

namespace readkit {

inline constexpr int kBinLevels = 5;
inline constexpr std::int64_t kMaxReferenceLength = std::int64_t{1} << 29;
inline constexpr int kLinearShift = 14;  // a window of the linear index: 16384 positions
inline constexpr std::uint32_t kMetadataBin = 37450;  // the pseudo-bin

/// The smallest bin that wholly contains [beg, end).
int reg2bin(int beg, int end);
/// Every bin that may overlap [beg, end), level by level, ascending within a level. `end` is
/// clamped to 2^29, `beg` is not clamped.
std::vector<std::uint32_t> reg2bins(int beg, int end);
/// The number of the first bin of a level, 0 to 5.
int first_bin(int level);
/// The bin one level up that contains `bin`.
int parent_bin(int bin);

}  // namespace readkit
