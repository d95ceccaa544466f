// Short words for what the tests do with streams.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "core/bgzf.h"

namespace readkit {

/// Up to `size` bytes of the stream.
inline std::string take(BGZF& in, std::size_t size) {
  std::string bytes(size, '\0');
  bytes.resize(in.read(bytes.data(), 1, size));
  return bytes;
}

/// Puts bytes into the stream; returns how many it took.
inline std::size_t put(BGZF& out, std::string_view bytes) {
  return out.write(bytes.data(), 1, bytes.size());
}

}  // namespace readkit
