// Memory for arrays, most of which are short texts, made and destroyed in millions: they lie one
// behind the other in pieces of memory, each of which goes back to the system as a whole.
#pragma once

#include <cstddef>

namespace readkit::host {

/// The most bytes that an array may take from the pool.
inline constexpr std::size_t kMaxPooledBytes = 2048;

/// Memory for `bytes` bytes, aligned for any type and not initialised. Raises std::bad_alloc.
/// REQUIRES: `bytes` is at most `kMaxPooledBytes`.
void* take_from_pool(std::size_t bytes);
/// Gives back, on any thread, what `take_from_pool` gave.
void return_to_pool(void* memory) noexcept;

}  // namespace readkit::host
