#include "core/large_memory.h"

#include <limits>
#include <new>

#include <sys/mman.h>

namespace readkit {

LargeMemory make_large_memory(std::size_t size) {
  constexpr std::size_t kPage = std::size_t{2} << 20;
  if (size > std::numeric_limits<std::ptrdiff_t>::max()) throw std::bad_alloc();
  if (size < kPage) {
    LargeMemory memory(static_cast<std::uint8_t*>(std::malloc(size)));
    if (!memory) throw std::bad_alloc();
    return memory;
  }
  const std::size_t whole = (size + kPage - 1) / kPage * kPage;
  LargeMemory memory(static_cast<std::uint8_t*>(std::aligned_alloc(kPage, whole)));
  if (!memory) throw std::bad_alloc();
  madvise(memory.get(), whole, MADV_HUGEPAGE);  // a wish; small pages do as well
  return memory;
}

}  // namespace readkit
