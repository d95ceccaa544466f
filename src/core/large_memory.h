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

/// At least `size` bytes, above 0, all 0. They come from the system and go back to it, so that runs
/// of large blocks leave no holes behind. Raises std::bad_alloc.
LargeMemory make_large_memory(std::size_t size);

}  // namespace readkit
