// Memory for much data that is read in no order: in large pages where the system has them, whose
// addresses the processor finds with less work.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace readkit {

struct FreeMemory {
  void operator()(void* memory) const { std::free(memory); }
};
using LargeMemory = std::unique_ptr<std::uint8_t[], FreeMemory>;

/// `size` uninitialised bytes. Raises std::bad_alloc.
LargeMemory make_large_memory(std::size_t size);

}  // namespace readkit
