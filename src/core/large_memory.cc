#include "core/large_memory.h"

#include <limits>
#include <new>

#include <sys/mman.h>

namespace readkit {
namespace {

void unmap(std::uint8_t* memory, std::size_t size) {
  if (size > 0) munmap(memory, size);
}

}  // namespace

void UnmapMemory::operator()(std::uint8_t* memory) const { unmap(memory, size); }

LargeMemory make_aligned_memory(std::size_t size) {
  if (size > std::numeric_limits<std::size_t>::max() / 2) throw std::bad_alloc();
  const std::size_t whole = (size + kLargePage - 1) / kLargePage * kLargePage;
  // A page more, of which what lies before and behind the aligned part goes back at once.
  void* const mapped =
      mmap(nullptr, whole + kLargePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) throw std::bad_alloc();
  auto* const start = static_cast<std::uint8_t*>(mapped);
  const std::size_t before =
      (kLargePage - reinterpret_cast<std::uintptr_t>(start) % kLargePage) % kLargePage;
  unmap(start, before);
  unmap(start + before + whole, kLargePage - before);
  return LargeMemory(start + before, UnmapMemory{whole});
}

LargeMemory make_large_memory(std::size_t size) {
  LargeMemory memory = make_aligned_memory(size);
  madvise(memory.get(), memory.get_deleter().size, MADV_HUGEPAGE);  // small pages do as well
  return memory;
}

void find_pages(const LargeMemory& memory) {
#ifdef MADV_POPULATE_WRITE
  madvise(memory.get(), memory.get_deleter().size, MADV_POPULATE_WRITE);
#endif
}

}  // namespace readkit
