// One block through the codec: inflating gives what zlib gives, and what either flavour deflates is
// inflated to the same bytes.
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/bgzf_format.h"
#include "core/deflate.h"
#include "fuzz/support/target.h"
#include "support/bgzf_builder.h"
#include "support/reference_decoder.h"

namespace readkit::fuzz {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Room of exactly this size, so that a byte behind it is noticed, with anything in it.
class Room {
 public:
  explicit Room(std::size_t size)
      : bytes_(std::make_unique_for_overwrite<std::uint8_t[]>(size)), size_(size) {}
  operator std::span<std::uint8_t>() const { return {bytes_.get(), size_}; }
  const std::uint8_t* begin() const { return bytes_.get(); }

 private:
  std::unique_ptr<std::uint8_t[]> bytes_;
  std::size_t size_;
};

void inflate(const Bytes& in, std::size_t room, std::size_t stated) {
  const ZlibVerdict verdict =
      zlib_inflate({reinterpret_cast<const char*>(in.data()), in.size()}, room);
  const Room out(room);
  const std::optional<std::size_t> size = inflate_raw(in, out, stated);
  // Some streams that zlib refuses are read where they have the size that the trailer states.
  require(size.has_value() == verdict.ends || (size.has_value() && *size == stated),
          "the verdict on a stream is not zlib's");
  if (!verdict.ends) return;
  require(*size == verdict.data.size() && std::equal(verdict.data.begin(), verdict.data.end(),
                                                     reinterpret_cast<const char*>(out.begin())),
          "a stream gives other bytes than zlib's");
}

void deflate(const Bytes& data, std::size_t room) {
  for (const auto deflate :
       {deflate_raw, deflate_raw_temporary, deflate_raw_stored, deflate_raw_zlib}) {
    const Room stream(room);
    const std::optional<std::size_t> size = deflate(data, stream);
    if (!size) continue;
    require(*size <= room, "a stream is longer than its room");
    for (const std::size_t stated : {data.size(), kSizeUnknown}) {
      const Room again(data.size() + 1);
      const std::optional<std::size_t> length = inflate_raw({stream.begin(), *size}, again, stated);
      require(length == data.size() && std::equal(data.begin(), data.end(), again.begin()),
              "a flavour's stream does not give back its data");
    }
  }
}

void run(Input input) {
  const bool inflates = input.byte() % 2 == 0;
  const auto room = input.take<std::uint16_t>() + std::size_t{1};
  const auto stated = input.take<std::uint16_t>();
  const std::string_view rest = input.rest();
  const Bytes bytes(rest.begin(), rest.end());
  if (inflates) {
    inflate(bytes, room, stated);
    inflate(bytes, kMaxBlockData, kSizeUnknown);
  } else {
    deflate(bytes, kMaxCompressedData);
    deflate(bytes, room % (bytes.size() + 16) + 1);
  }
}

std::vector<std::string> seeds() {
  const std::string text = "ACGTACGTACGTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTACGTACGTNNNNNNNNN";
  std::vector<std::string> seeds = {std::string(5, '\1') + text, std::string(5, '\1')};
  for (const int level : {0, 1, 9}) {
    for (const int strategy : {0, 2, 4}) {
      seeds.push_back(std::string("\0\xff\xff", 3) + little_endian(text.size(), 2) +
                      raw_deflate(text, level, strategy));
    }
  }
  return seeds;
}

const Registration registration({.name = "codec", .run = run, .seeds = seeds});

}  // namespace
}  // namespace readkit::fuzz
