// The fast flavour: libdeflate's bytes, for a block that it fits into the room.
#include "core/deflate.h"

#include <memory>
#include <new>

#include <libdeflate.h>

namespace readkit {
namespace {

// The lowest level whose output is at most 1 % larger than zlib's at its default level, summed over
// real alignment files (docs/performance.md has the table).
constexpr int kLevel = 5;
constexpr int kTemporaryLevel = 1;
constexpr int kStored = 0;

struct FreeCompressor {
  void operator()(libdeflate_compressor* c) const { libdeflate_free_compressor(c); }
};
using Compressor = std::unique_ptr<libdeflate_compressor, FreeCompressor>;

template <int kCompressionLevel>
std::optional<std::size_t> deflate_at(std::span<const std::uint8_t> in,
                                      std::span<std::uint8_t> out) {
  thread_local const Compressor compressor(libdeflate_alloc_compressor(kCompressionLevel));
  if (compressor == nullptr) throw std::bad_alloc();
  const std::size_t size =
      libdeflate_deflate_compress(compressor.get(), in.data(), in.size(), out.data(), out.size());
  if (size == 0) return deflate_raw_zlib(in, out);
  return size;
}

}  // namespace

std::optional<std::size_t> deflate_raw(std::span<const std::uint8_t> in,
                                       std::span<std::uint8_t> out) {
  return deflate_at<kLevel>(in, out);
}

std::optional<std::size_t> deflate_raw_temporary(std::span<const std::uint8_t> in,
                                                 std::span<std::uint8_t> out) {
  return deflate_at<kTemporaryLevel>(in, out);
}

std::optional<std::size_t> deflate_raw_stored(std::span<const std::uint8_t> in,
                                              std::span<std::uint8_t> out) {
  return deflate_at<kStored>(in, out);
}

}  // namespace readkit
