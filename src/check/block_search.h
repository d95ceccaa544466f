// Where a BGZF block may begin, for reading on behind damage.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace readkit {

/// The size of the block that begins with these 18 bytes; 0 when they begin none. Unlike a reader,
/// wants room for the trailer.
std::size_t stated_block_size(const std::uint8_t* header);

struct BlockPlace {
  std::size_t at = 0;
  bool is_found = false;
};

/// The first of `bytes` at which a block begins that another one follows, or the end of the file
/// when `is_rest`, that is, when no bytes of the file follow `bytes`. When there is none, `at` is
/// the first at which one may begin that more bytes would show.
BlockPlace find_block(std::span<const std::uint8_t> bytes, bool is_rest);

}  // namespace readkit
