// What has been written to a file and has not reached it yet.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>

#include "core/aligned_buffer.h"
#include "core/monitor.h"

namespace readkit {

/// Holds bytes until there are many, hands them to a file that has no buffer of its own, and closes
/// that: the deleter of the file's owner. One for reading has no room and holds nothing.
class PendingOutput {
 public:
  PendingOutput() = default;
  explicit PendingOutput(std::size_t room, Transfers writes = {})
      : bytes_(room), room_(room), writes_(std::move(writes)) {}

  /// Whether it takes bytes at all: not without room, after a failure, once closed or moved from.
  bool accepts() const { return room_ > 0 && bytes_; }
  /// How many more bytes `keep` takes.
  std::size_t room_left() const { return room_ - size_; }
  /// Copies `n` bytes; false, and nothing is copied, when there is no room for all of them.
  bool keep(const void* from, std::size_t n) {
    if (n > room_left() || !accepts()) return false;
    if (n > 0) std::memcpy(bytes_.data<char>() + size_, from, n);  // no bytes may be nowhere
    size_ += n;
    return true;
  }
  /// Hands the bytes to the file and forgets them; whether it took them and those before. After a
  /// failure, nothing is taken any more.
  bool bring_out(std::FILE* file);
  /// Brings out the bytes and closes the file; whether all bytes ever written have reached it.
  bool close(std::FILE* file);

  void operator()(std::FILE* file) { close(file); }

 private:
  AlignedBuffer bytes_;
  std::size_t room_ = 0;
  std::size_t size_ = 0;
  bool failed_ = false;
  Transfers writes_;
  std::uint64_t position_ = 0;  // of the next byte to bring out, counted from the first one
};

}  // namespace readkit
