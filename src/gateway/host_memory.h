// Blocks of the host's memory, which an array of the host can take over without a copy.
#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

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

/// Values of which nobody knows how many there will be, collected in a block. Growing large ones
/// moves pages, not values. Move-only.
template <typename T>
class HostValues {
 public:
  std::size_t size() const { return size_; }
  std::span<const T> values() const { return {block_.get(), size_}; }

  void push_back(T value) {
    if (size_ == capacity_) grow(1);
    block_[size_++] = value;
  }
  void append(std::span<const T> values) {
    if (values.size() > capacity_ - size_) grow(values.size());
    std::copy(values.begin(), values.end(), block_.get() + size_);
    size_ += values.size();
  }

  /// The block, with no more room than for the values, of which there must be one; none stays here.
  HostBlock<T> release() {
    resize_host_block(block_, size_);
    size_ = 0;
    capacity_ = 0;
    return std::move(block_);
  }

 private:
  void grow(std::size_t more) {
    constexpr std::size_t kFirst = 1024;
    const std::size_t wanted = std::max({2 * capacity_, size_ + more, kFirst});
    resize_host_block(block_, wanted);
    capacity_ = wanted;
  }

  HostBlock<T> block_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace readkit
