#include "check/block_search.h"

#include <algorithm>

#include "core/bgzf_format.h"
#include "core/bytes.h"

namespace readkit {

std::size_t stated_block_size(const std::uint8_t* header) {
  const std::size_t size = std::size_t{readInt16(header + kBlockSizeOffset)} + 1;
  const bool has_room = size > kBlockHeaderSize + kBlockTrailerSize;
  return has_room && valid_bgzf_header(header) ? size : 0;
}

BlockPlace find_block(std::span<const std::uint8_t> bytes, bool is_rest) {
  auto at = bytes.begin();
  while (true) {
    at = std::find(at, bytes.end(), header_magic[0]);
    const auto left = static_cast<std::size_t>(bytes.end() - at);
    const BlockPlace place{bytes.size() - left, true};
    if (left < kBlockHeaderSize) return {is_rest ? bytes.size() : place.at, false};
    const std::size_t size = stated_block_size(&*at);
    if (size != 0) {
      const bool shows_next = left >= size + kBlockHeaderSize;
      if (!shows_next && !is_rest) return {place.at, false};
      // At the end a header of the next block may be cut short.
      if (shows_next ? stated_block_size(&*at + size) != 0 : left >= size) return place;
    }
    ++at;
  }
}

}  // namespace readkit
