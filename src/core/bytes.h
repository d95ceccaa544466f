// Little-endian integers in byte buffers, at any alignment.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace readkit {

static_assert(std::endian::native == std::endian::little,
              "the file formats are little-endian and are read in place");

/// The value of type T stored at `p`.
template <typename T>
T load(const void* p) {
  static_assert(std::is_trivially_copyable_v<T>);
  T value;
  std::memcpy(&value, p, sizeof value);
  return value;
}

/// Stores `value` at `p`.
template <typename T>
void store(void* p, T value) {
  static_assert(std::is_trivially_copyable_v<T>);
  std::memcpy(p, &value, sizeof value);
}

inline std::uint16_t readInt16(const void* p) { return load<std::uint16_t>(p); }
inline void storeInt16(void* p, std::uint16_t value) { store(p, value); }
inline void storeInt32(void* p, std::uint32_t value) { store(p, value); }

}  // namespace readkit
