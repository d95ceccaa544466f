#include <memory>
#include <new>

#include <libdeflate.h>
#include <zlib.h>

#include "core/deflate.h"

namespace readkit {
namespace {

struct FreeDecompressor {
  void operator()(libdeflate_decompressor* d) const { libdeflate_free_decompressor(d); }
};
using Decompressor = std::unique_ptr<libdeflate_decompressor, FreeDecompressor>;

libdeflate_decompressor* decompressor() {
  thread_local const Decompressor instance(libdeflate_alloc_decompressor());
  if (instance == nullptr) throw std::bad_alloc();
  return instance.get();
}

}  // namespace

int bgzf_uncompress(std::uint8_t* out, std::size_t* out_size, const std::uint8_t* in,
                    std::size_t in_size) {
  z_stream stream{};
  stream.next_in = const_cast<std::uint8_t*>(in);  // zlib's interface; it does not write there
  stream.avail_in = static_cast<uInt>(in_size);
  stream.next_out = out;
  stream.avail_out = static_cast<uInt>(*out_size);
  if (inflateInit2(&stream, kRawWindowBits) != Z_OK) return -1;
  const int outcome = inflate(&stream, Z_FINISH);
  *out_size -= stream.avail_out;
  if (outcome != Z_STREAM_END) {
    inflateEnd(&stream);
    return -2;
  }
  return inflateEnd(&stream) == Z_OK ? 0 : -3;
}

std::optional<std::size_t> inflate_raw(std::span<const std::uint8_t> in,
                                       std::span<std::uint8_t> out, std::size_t stated_size) {
  std::size_t used = 0;
  std::size_t produced = 0;
  const libdeflate_result result = libdeflate_deflate_decompress_ex(
      decompressor(), in.data(), in.size(), out.data(), out.size(), &used, &produced);
  if (result == LIBDEFLATE_SUCCESS && produced == stated_size) return produced;
  // Anything else may be damage, on which zlib's judgement counts.
  produced = out.size();
  if (bgzf_uncompress(out.data(), &produced, in.data(), in.size()) != 0) return std::nullopt;
  return produced;
}

std::uint32_t crc32_of(std::span<const std::uint8_t> bytes) {
  return libdeflate_crc32(0, bytes.data(), bytes.size());
}

}  // namespace readkit
