#include "cli/files/gunzip.h"

#include <algorithm>
#include <new>
#include <utility>
#include <vector>

#include <zlib.h>

#include "cli/terminal/failure.h"

namespace readkit::cli {
namespace {

constexpr int kGzipWindowBits = 15 + 16;
constexpr std::size_t kRoom = std::size_t{1} << 18;

}  // namespace

struct Gunzip::Stream {
  Stream() : room(kRoom) {
    if (inflateInit2(&z, kGzipWindowBits) != Z_OK) throw std::bad_alloc();
  }
  ~Stream() { inflateEnd(&z); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  z_stream z = {};
  std::vector<std::uint8_t> room;
};

Gunzip::Gunzip(std::string name, Sink sink)
    : name_(std::move(name)), sink_(std::move(sink)), stream_(std::make_unique<Stream>()) {}

Gunzip::~Gunzip() = default;

void Gunzip::add(std::span<const std::uint8_t> packed) {
  z_stream& z = stream_->z;
  std::vector<std::uint8_t>& room = stream_->room;
  // zlib does not change its input.
  z.next_in = const_cast<Bytef*>(packed.data());
  z.avail_in = static_cast<uInt>(packed.size());
  while (z.avail_in > 0 && !trailing_) {
    if (!inside_) {
      // Zeros behind the last member are padding, as of tapes; anything else begins a member.
      while (z.avail_in > 0 && z.total_in > 0 && *z.next_in == 0) {
        ++z.next_in;
        --z.avail_in;
      }
      if (z.avail_in == 0) return;
      inflateReset(&z);
      inside_ = true;
    }
    z.next_out = room.data();
    z.avail_out = static_cast<uInt>(room.size());
    const int outcome = inflate(&z, Z_NO_FLUSH);
    if (room.size() > z.avail_out) sink_({room.data(), room.size() - z.avail_out});
    if (outcome == Z_STREAM_END) {
      inside_ = false;
    } else if (outcome != Z_OK && outcome != Z_BUF_ERROR) {
      throw Failure(
          name_, "its gzip data is damaged", {},
          "copy the file again from where it came from; gzip -t tells whether it is whole");
    }
  }
  // What inflate still holds back of this input.
  while (inside_) {
    z.next_out = room.data();
    z.avail_out = static_cast<uInt>(room.size());
    const int outcome = inflate(&z, Z_NO_FLUSH);
    if (room.size() > z.avail_out) sink_({room.data(), room.size() - z.avail_out});
    if (outcome == Z_STREAM_END) inside_ = false;
    if (outcome != Z_OK || z.avail_out > 0) break;
  }
}

void Gunzip::finish() const {
  if (!inside_) return;
  throw Failure(name_, "ends early: its gzip data is cut short", {},
                "copy the file again from where it came from");
}

bool Gunzip::is_gzip(std::span<const std::uint8_t> bytes) {
  return bytes.size() >= 3 && bytes[0] == 0x1f && bytes[1] == 0x8b && bytes[2] == 8;
}

bool Gunzip::is_bgzf(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t kHeader = 18;
  return is_gzip(bytes) && bytes.size() >= kHeader && (bytes[3] & 4U) != 0 && bytes[12] == 'B' &&
         bytes[13] == 'C';
}

std::string Gunzip::start_of(std::span<const std::uint8_t> packed, std::size_t most) {
  struct Enough {};
  std::string start;
  Gunzip gunzip({}, [&](std::span<const std::uint8_t> bytes) {
    start.append(bytes.begin(), bytes.end());
    if (start.size() >= most) throw Enough();
  });
  try {
    gunzip.add(packed);
  } catch (const Enough&) {
    start.resize(most);
  } catch (const Failure&) {
    // What came before the damage tells the kind.
    start.resize(std::min(start.size(), most));
  }
  return start;
}

}  // namespace readkit::cli
