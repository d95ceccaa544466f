// The exact flavour: zlib's bytes, always.
#include "core/deflate.h"

namespace readkit {

std::optional<std::size_t> deflate_raw(std::span<const std::uint8_t> in,
                                       std::span<std::uint8_t> out) {
  return deflate_raw_zlib(in, out);
}

std::optional<std::size_t> deflate_raw_temporary(std::span<const std::uint8_t> in,
                                                 std::span<std::uint8_t> out) {
  return deflate_raw_zlib(in, out);
}

std::optional<std::size_t> deflate_raw_stored(std::span<const std::uint8_t> in,
                                              std::span<std::uint8_t> out) {
  return deflate_raw_zlib(in, out);
}

}  // namespace readkit
