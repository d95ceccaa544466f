// Memory for whole-file reads. Some processors copy several times as slowly to an address that is
// not a multiple of 32, and what the run-time library allocates is seldom one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace readkit {

/// Uninitialised bytes from an address that is a multiple of `kAlignment` on; none after default
/// construction. Move-only.
class AlignedBuffer {
 public:
  static constexpr std::size_t kAlignment = 64;

  AlignedBuffer() = default;
  explicit AlignedBuffer(std::size_t size)
      : memory_(std::make_unique_for_overwrite<std::byte[]>(size + kAlignment - 1)) {
    const auto address = reinterpret_cast<std::uintptr_t>(memory_.get());
    start_ = (kAlignment - address % kAlignment) % kAlignment;
  }

  explicit operator bool() const { return memory_ != nullptr; }
  /// The first byte, as a character type. REQUIRES: there are bytes.
  template <typename Character>
  Character* data() const {
    static_assert(sizeof(Character) == 1);
    return reinterpret_cast<Character*>(memory_.get() + start_);
  }

 private:
  std::unique_ptr<std::byte[]> memory_;
  std::size_t start_ = 0;
};

}  // namespace readkit
