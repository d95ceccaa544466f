// Memory for much data that is read in no order: in large pages where the system has them, whose
// addresses the processor finds with less work.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace readkit {

/// Gives memory back to the system.
struct UnmapMemory {
  std::size_t size = 0;  ///< bytes, of whole pages
  void operator()(std::uint8_t* memory) const;
};
using LargeMemory = std::unique_ptr<std::uint8_t[], UnmapMemory>;

/// The size of a large page, and what the addresses of all this memory are a multiple of.
inline constexpr std::size_t kLargePage = std::size_t{2} << 20;

/// At least `size` bytes, above 0, all 0. They come from the system and go back to it, so that runs
/// of large blocks leave no holes behind. Raises std::bad_alloc.
LargeMemory make_large_memory(std::size_t size);
/// The same in pages of the usual size, which cost nothing before they are used.
LargeMemory make_aligned_memory(std::size_t size);
/// Lets the system find all pages of such memory now, for less than one by one when they are used.
void find_pages(const LargeMemory& memory);

}  // namespace readkit
