#include "records/bins.h"

#include <algorithm>

namespace readkit {
namespace {

constexpr int shift_of(int level) { return kLinearShift + 3 * (kBinLevels - level); }

}  // namespace

int first_bin(int level) { return ((1 << 3 * level) - 1) / 7; }

int parent_bin(int bin) { return (bin - 1) >> 3; }

int reg2bin(int beg, int end) {
  const std::int64_t last = std::int64_t{end} - 1;
  for (int level = kBinLevels; level > 0; --level) {
    const int shift = shift_of(level);
    if (beg >> shift == last >> shift) return (beg >> shift) + first_bin(level);
  }
  return 0;
}

std::vector<std::uint32_t> reg2bins(int beg, int end) {
  const std::int64_t last = std::min<std::int64_t>(end, kMaxReferenceLength) - 1;
  std::vector<std::uint32_t> bins = {0};
  for (int level = 1; level <= kBinLevels; ++level) {
    const int shift = shift_of(level);
    const std::int64_t last_bin = (last >> shift) + first_bin(level);
    for (std::int64_t bin = (beg >> shift) + first_bin(level); bin <= last_bin; ++bin) {
      bins.push_back(static_cast<std::uint32_t>(bin));
    }
  }
  return bins;
}

}  // namespace readkit
