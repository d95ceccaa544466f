// BGZF blocks and files, sound ones and broken ones, made with zlib directly.
//
//   BgzfFile().block("first").block("second").marker().bytes()
//   BgzfBlock("data").set_crc(0).bytes()
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace readkit {

/// One raw deflate stream, by zlib; `strategy` is one of zlib's.
std::string raw_deflate(std::string_view data, int level = -1, int strategy = 0);

/// The CRC-32 of `data`, by zlib.
std::uint32_t zlib_crc32(std::string_view data);

/// `number` in `size` little-endian bytes.
std::string little_endian(std::uint64_t number, std::size_t size);
/// The int32 fields of headers, records and indexes.
inline std::string int32(std::int64_t number) {
  return little_endian(static_cast<std::uint64_t>(number), 4);
}

/// The end-of-file marker block.
std::string bgzf_marker();

/// One block of `data`, sound unless something is set.
class BgzfBlock {
 public:
  explicit BgzfBlock(std::string_view data);
  /// A block around given deflate bytes, with the trailer of `data`.
  static BgzfBlock around(std::string deflated, std::string_view data = {});

  /// Replaces one byte of the finished block.
  BgzfBlock& set_byte(std::size_t offset, unsigned value);
  /// The BSIZE field: the block's size minus 1.
  BgzfBlock& set_bsize(std::uint16_t bsize);
  BgzfBlock& set_crc(std::uint32_t crc);
  BgzfBlock& set_isize(std::uint32_t isize);

  const std::string& bytes() const { return bytes_; }
  std::size_t size() const { return bytes_.size(); }

 private:
  BgzfBlock() = default;
  void put(std::size_t offset, std::string_view bytes);

  std::string bytes_;
};

/// A file of blocks.
class BgzfFile {
 public:
  BgzfFile& block(std::string_view data) { return block(BgzfBlock(data)); }
  BgzfFile& block(const BgzfBlock& block);
  /// All of `data` in blocks of at most `block_size` bytes.
  BgzfFile& blocks(std::string_view data, std::size_t block_size);
  BgzfFile& marker();
  /// Bytes that are no block.
  BgzfFile& raw(std::string_view bytes);

  /// The file offset of the n-th piece given (markers and raw bytes included).
  std::uint64_t offset(std::size_t n) const { return offsets_.at(n); }
  const std::string& bytes() const { return bytes_; }
  std::size_t size() const { return bytes_.size(); }

 private:
  std::string bytes_;
  std::vector<std::uint64_t> offsets_;
};

/// A virtual offset.
constexpr std::uint64_t virtual_offset(std::uint64_t block, std::uint64_t inside) {
  return block << 16 | inside;
}

}  // namespace readkit
