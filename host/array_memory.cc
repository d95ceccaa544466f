// Host memory: blocks for data that is, or will be, attached to arrays.
#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

#include "host/array_storage.h"
#include "host/error.h"

namespace readkit::host {
namespace {

// Relaxed: the numbers are read when no call is under way.
std::atomic<std::size_t> g_live_arrays{0};
std::atomic<std::size_t> g_live_blocks{0};

std::size_t with_header(std::size_t bytes) {
  if (bytes > std::numeric_limits<std::size_t>::max() - sizeof(Block)) throw std::bad_alloc();
  return bytes + sizeof(Block);
}

}  // namespace

std::size_t live_arrays() { return g_live_arrays.load(std::memory_order_relaxed); }
std::size_t live_blocks() { return g_live_blocks.load(std::memory_order_relaxed); }

void count_made() noexcept { g_live_arrays.fetch_add(1, std::memory_order_relaxed); }
void count_destroyed(std::size_t arrays) noexcept {
  g_live_arrays.fetch_sub(arrays, std::memory_order_relaxed);
}

void* new_block(std::size_t bytes, BlockUse use, Contents contents) {
  const std::size_t total = with_header(bytes);
  void* const memory = contents == Contents::kZeros ? std::calloc(1, total) : std::malloc(total);
  if (memory == nullptr) throw std::bad_alloc();
  g_live_blocks.fetch_add(1, std::memory_order_relaxed);
  return new (memory) Block{bytes, use} + 1;
}

void free_block(void* data) noexcept {
  if (data == nullptr) return;
  g_live_blocks.fetch_sub(1, std::memory_order_relaxed);
  std::free(block_of(data));
}

}  // namespace readkit::host

extern "C" {

void* txCalloc(std::size_t count, std::size_t size) {
  if (size != 0 && count > std::numeric_limits<std::size_t>::max() / size) throw std::bad_alloc();
  return readkit::host::new_block(count * size, readkit::host::BlockUse::kLoose,
                                  readkit::host::Contents::kZeros);
}

void* txRealloc(void* p, std::size_t size) {
  if (p == nullptr) {
    return readkit::host::new_block(size, readkit::host::BlockUse::kLoose,
                                    readkit::host::Contents::kUninitialized);
  }
  auto* const old = readkit::host::block_of(p);
  if (old->use != readkit::host::BlockUse::kLoose) {
    throw readkit::host::HostError(readkit::host::id::kBlockInUse, {std::string("txRealloc")});
  }
  void* const memory = std::realloc(old, readkit::host::with_header(size));
  if (memory == nullptr) throw std::bad_alloc();
  auto* const block = static_cast<readkit::host::Block*>(memory);
  block->bytes = size;
  return block + 1;
}

void txFree(void* p) {
  // The block of an array goes with the array; freeing it here would leave the array without.
  if (p == nullptr || readkit::host::block_of(p)->use != readkit::host::BlockUse::kLoose) return;
  readkit::host::free_block(p);
}

}  // extern "C"
