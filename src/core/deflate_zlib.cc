#include <zlib.h>

#include "core/deflate.h"

namespace readkit {
namespace {

constexpr int kMemoryLevel = 8;

// One zlib stream, set up once and reset for every block: the bytes are those of a new stream.
class Deflater {
 public:
  Deflater() {
    ready_ = deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kRawWindowBits, kMemoryLevel,
                          Z_DEFAULT_STRATEGY) == Z_OK;
  }
  ~Deflater() {
    if (ready_) deflateEnd(&stream_);
  }
  Deflater(const Deflater&) = delete;
  Deflater& operator=(const Deflater&) = delete;

  std::optional<std::size_t> run(std::span<const std::uint8_t> in, std::span<std::uint8_t> out) {
    if (!ready_ || deflateReset(&stream_) != Z_OK) return std::nullopt;
    stream_.next_in = const_cast<std::uint8_t*>(in.data());  // zlib does not write there
    stream_.avail_in = static_cast<uInt>(in.size());
    stream_.next_out = out.data();
    stream_.avail_out = static_cast<uInt>(out.size());
    if (deflate(&stream_, Z_FINISH) != Z_STREAM_END) return std::nullopt;
    return out.size() - stream_.avail_out;
  }

 private:
  z_stream stream_{};
  bool ready_ = false;
};

}  // namespace

std::optional<std::size_t> deflate_raw_zlib(std::span<const std::uint8_t> in,
                                            std::span<std::uint8_t> out) {
  thread_local Deflater deflater;
  return deflater.run(in, out);
}

}  // namespace readkit
