// Blocks of the host's memory, which an array of the host can take over without a copy.
#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>

#include "gateway/tx_array.h"

namespace readkit {

struct HostFree {
  void operator()(void* block) const { txFree(block); }
};
/// A block that the library owns; `release` it where the host takes it over.
template <typename T>
using HostBlock = std::unique_ptr<T[], HostFree>;

/// A block of `count` zeros. Raises std::bad_alloc.
template <typename T>
HostBlock<T> make_host_block(std::size_t count) {
  static_assert(std::is_trivial_v<T>);
  return HostBlock<T>(static_cast<T*>(txCalloc(count, sizeof(T))));
}

/// Gives the block room for `count` elements, at least one, and keeps the first ones; what is new
/// is not initialised. Raises std::bad_alloc, and leaves the block as it was.
template <typename T>
void resize_host_block(HostBlock<T>& block, std::size_t count) {
  static_assert(std::is_trivial_v<T>);
  if (count > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw std::bad_alloc();
  T* const moved = static_cast<T*>(txRealloc(block.get(), count * sizeof(T)));
  // The old address went to the host with the call.
  static_cast<void>(block.release());
  block.reset(moved);
}

}  // namespace readkit
