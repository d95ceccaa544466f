#include "core/large_memory.h"

#include <limits>
#include <new>

#include <sys/mman.h>

namespace readkit {
namespace {

constexpr std::size_t kLargePage = std::size_t{2} << 20;

void unmap(std::uint8_t* memory, std::size_t size) {
  if (size > 0) munmap(memory, size);
}

}  // namespace

void UnmapMemory::operator()(std::uint8_t* memory) const { unmap(memory, size); }

LargeMemory make_large_memory(std::size_t size) {
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
  madvise(start + before, whole, MADV_HUGEPAGE);  // a wish; small pages do as well
  return LargeMemory(start + before, UnmapMemory{whole});
}

}  // namespace readkit
