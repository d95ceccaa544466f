// Short words for what the tests do with the codec.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/deflate.h"
#include "support/random_data.h"

namespace readkit {

inline std::vector<std::uint8_t> bytes_of(const std::string& text) {
  return {text.begin(), text.end()};
}

inline std::string text_of(std::span<const std::uint8_t> bytes) {
  return {bytes.begin(), bytes.end()};
}

/// What `inflate_raw` gives with `room` bytes to fill and a size that a trailer states.
inline std::optional<std::string> inflated(const std::string& deflated, std::size_t room = 0x10000,
                                           std::size_t stated_size = kSizeUnknown) {
  const std::vector<std::uint8_t> in = bytes_of(deflated);
  std::vector<std::uint8_t> out(room);
  const auto size = inflate_raw(in, out, stated_size);
  if (!size) return std::nullopt;
  return text_of(std::span(out).first(*size));
}

/// `deflate_raw` or `deflate_raw_zlib`.
using Deflate = std::optional<std::size_t> (*)(std::span<const std::uint8_t>,
                                               std::span<std::uint8_t>);

/// What one of them gives, by default with the room that a block has.
inline std::optional<std::string> deflated(Deflate deflate, const std::string& data,
                                           std::size_t room = 65510) {
  const std::vector<std::uint8_t> in = bytes_of(data);
  std::vector<std::uint8_t> out(room);
  const auto size = deflate(in, out);
  if (!size) return std::nullopt;
  return text_of(std::span(out).first(*size));
}

/// Data of all sizes up to a full block: of one letter, of letters with repeats, of random bytes.
inline std::vector<std::string> deflate_samples() {
  Random random(10);
  std::vector<std::string> samples = {"", "a", std::string(65280, 'A'), std::string(65280, '\0')};
  constexpr std::size_t kSizes[] = {2, 10, 100, 1000, 20000, 65279, 65280};
  for (const std::size_t size : kSizes) {
    samples.push_back(random_bytes(random, size));
    samples.push_back(random_text(random, size));
    samples.push_back(random_text(random, size, "the quick brown fox\t\n0123456789"));
  }
  return samples;
}

}  // namespace readkit
