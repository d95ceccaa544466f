// Walking along bytes in blocks of one size: loops over a block have a fixed length, which
// compilers turn into wide instructions without a remainder.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace readkit {

inline constexpr std::size_t kBlock = 32;

/// Calls `use` with blocks of the `n` bytes and the place where each starts, so that every byte
/// comes once. Where the last block would be too short, it starts earlier, or the bytes are fewer
/// than a block: `padding` then stands, in a copy, for what does not belong to it.
template <typename Byte, typename Use>
void for_each_block(const Byte* bytes, std::size_t n, Byte padding, const Use& use) {
  static_assert(sizeof(Byte) == 1);
  const std::size_t rest = n % kBlock;
  for (std::size_t at = 0; at < n - rest; at += kBlock) use(bytes + at, at);
  if (rest == 0) return;
  std::array<Byte, kBlock> last;
  if (n < kBlock) {
    last.fill(padding);
    std::copy_n(bytes, n, last.begin());
    use(last.data(), 0);
    return;
  }
  // Whether a byte stays, for each count of bytes that stay at the block's end.
  static constexpr auto kStays = [] {
    std::array<std::uint8_t, 2 * kBlock> stays{};
    std::fill(stays.begin() + kBlock, stays.end(), std::uint8_t{0xFF});
    return stays;
  }();
  const Byte* const from = bytes + n - kBlock;
  const std::uint8_t* const stays = kStays.data() + rest;
  for (std::size_t i = 0; i < kBlock; ++i) {
    last[i] = static_cast<Byte>((from[i] & stays[i]) | (padding & ~stays[i]));
  }
  use(last.data(), n - kBlock);
}

}  // namespace readkit
