#include "support/bgzf_builder.h"

#include <stdexcept>

#include <zlib.h>

namespace readkit {
namespace {

constexpr std::size_t kBsizeOffset = 16;
constexpr std::size_t kHeaderSize = 18;
constexpr std::size_t kTrailerSize = 8;

}  // namespace

std::string raw_deflate(std::string_view data, int level, int strategy) {
  z_stream stream{};
  if (deflateInit2(&stream, level, Z_DEFLATED, -15, 8, strategy) != Z_OK) {
    throw std::runtime_error("deflateInit2 failed");
  }
  std::string input(data);
  std::string output(deflateBound(&stream, static_cast<uLong>(data.size())) + 16, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(input.data());
  stream.avail_in = static_cast<uInt>(input.size());
  stream.next_out = reinterpret_cast<Bytef*>(output.data());
  stream.avail_out = static_cast<uInt>(output.size());
  const int outcome = deflate(&stream, Z_FINISH);
  output.resize(stream.total_out);
  deflateEnd(&stream);
  if (outcome != Z_STREAM_END) throw std::runtime_error("deflate failed");
  return output;
}

std::uint32_t zlib_crc32(std::string_view data) {
  return static_cast<std::uint32_t>(
      crc32(0, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size())));
}

std::string little_endian(std::uint64_t number, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) {
    bytes.push_back(static_cast<char>(number >> (8 * i) & 0xff));
  }
  return bytes;
}

std::string bgzf_marker() {
  return {
      "\x1f\x8b\x08\x04\x00\x00\x00\x00\x00\xff\x06\x00\x42\x43\x02\x00"
      "\x1b\x00\x03\x00\x00\x00\x00\x00\x00\x00\x00\x00",
      28};
}

BgzfBlock::BgzfBlock(std::string_view data) { *this = around(raw_deflate(data), data); }

BgzfBlock BgzfBlock::around(std::string deflated, std::string_view data) {
  BgzfBlock block;
  block.bytes_ = std::string("\x1f\x8b\x08\x04\0\0\0\0\0\xff\x06\0BC\x02\0", kBsizeOffset) +
                 little_endian(deflated.size() + kHeaderSize + kTrailerSize - 1, 2) + deflated +
                 little_endian(zlib_crc32(data), 4) + little_endian(data.size(), 4);
  return block;
}

void BgzfBlock::put(std::size_t offset, std::string_view bytes) {
  bytes_.replace(offset, bytes.size(), bytes);
}

BgzfBlock& BgzfBlock::set_byte(std::size_t offset, unsigned value) {
  bytes_.at(offset) = static_cast<char>(value);
  return *this;
}

BgzfBlock& BgzfBlock::set_bsize(std::uint16_t bsize) {
  put(kBsizeOffset, little_endian(bsize, 2));
  return *this;
}

BgzfBlock& BgzfBlock::set_crc(std::uint32_t crc) {
  put(bytes_.size() - kTrailerSize, little_endian(crc, 4));
  return *this;
}

BgzfBlock& BgzfBlock::set_isize(std::uint32_t isize) {
  put(bytes_.size() - kTrailerSize / 2, little_endian(isize, 4));
  return *this;
}

BgzfFile& BgzfFile::raw(std::string_view bytes) {
  offsets_.push_back(bytes_.size());
  bytes_ += bytes;
  return *this;
}

BgzfFile& BgzfFile::block(const BgzfBlock& block) { return raw(block.bytes()); }

BgzfFile& BgzfFile::blocks(std::string_view data, std::size_t block_size) {
  for (std::size_t at = 0; at < data.size(); at += block_size) {
    block(data.substr(at, block_size));
  }
  return *this;
}

BgzfFile& BgzfFile::marker() { return raw(bgzf_marker()); }

}  // namespace readkit
