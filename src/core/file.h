// The owner of an operating-system file, read and written through memory of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "core/aligned_buffer.h"
#include "core/line_copy.h"
#include "core/monitor.h"
#include "core/path.h"
#include "core/pending_output.h"

namespace readkit {

/// One open file, or none. Offsets are bytes from the file's start. Failures are results, never
/// exceptions: a closed file reads nothing and accepts nothing.
class File {
 public:
  File() = default;
  /// Opens `path` with a mode of the run-time library's fopen ("rb", "wb", "ab"...); look at
  /// `is_open` for the outcome.
  File(const Path& path, const char* mode);

  bool is_open() const { return handle_ != nullptr; }

  /// The next `n` bytes, in memory that stays valid until the next call, without taking them;
  /// null when fewer are left (`available` tells how many). `n` is at most `kMaxPeek`.
  const std::uint8_t* peek(std::size_t n) {
    return n <= fill_ - next_ || refill(n) ? window() + next_ : nullptr;
  }
  /// How many bytes the window holds beyond the read position.
  std::size_t available() const { return fill_ - next_; }
  /// Takes `n` bytes that `peek` has shown.
  void skip(std::size_t n) { next_ += n; }
  /// Takes `n` bytes without looking at them; false when fewer are left, and then none are.
  bool pass(std::uint64_t n);
  /// Reads up to `n` bytes; returns how many, fewer only at the end or on a read error.
  std::size_t read(void* to, std::size_t n);
  /// Reads up to a '\n', which is read too, or until `room` - 1 bytes have come, and puts a NUL
  /// behind them; none come at the end or on a read error. What lies behind that NUL may change.
  /// REQUIRES: `room` above 0.
  LineCopy read_line(char* to, std::size_t room);
  /// Whether the operating system, or a monitor, has refused a read.
  bool read_failed() const { return is_open() && (is_refused_ || std::ferror(handle_.get()) != 0); }
  /// Positions the next read; false when the file cannot be positioned there.
  bool seek(std::uint64_t offset);

  /// Accepts `n` bytes; false when they, or bytes before them, could not all be taken.
  bool write(const void* from, std::size_t n) {
    if (!pending().keep(from, n) && !write_through(from, n)) return false;
    position_ += n;
    return true;
  }

  /// Hands what has been written to the operating system; false when that fails.
  bool flush();

  /// The offset of the next byte to read, or the number of bytes written.
  std::uint64_t tell() const { return position_ - (fill_ - next_); }

  /// Closes the file; false when none is open or when bytes could not be brought out.
  bool close();

  static constexpr std::size_t kMaxPeek = std::size_t{1} << 17;

 private:
  bool refill(std::size_t n);
  bool write_through(const void* from, std::size_t n);
  PendingOutput& pending() { return handle_.get_deleter(); }
  std::uint8_t* window() const { return window_.data<std::uint8_t>(); }

  std::unique_ptr<std::FILE, PendingOutput> handle_;
  Transfers reads_;
  bool is_refused_ = false;
  // Reading: window()[begin_, fill_) are bytes of the file, those from next_ on come next;
  // position_ is the offset of window()[fill_]. Writing: position_ counts the bytes.
  AlignedBuffer window_;
  std::size_t begin_ = 0;
  std::size_t next_ = 0;
  std::size_t fill_ = 0;
  std::size_t read_ahead_ = 0;
  std::uint64_t position_ = 0;
};

/// Removes a file; false when it could not be removed.
bool remove_file(const Path& path);

/// Whether a name leads to a file that can be read again at any place: to no pipe or device.
bool is_regular_file(const Path& path);

/// Whether two names lead to one file that exists, by links as well.
bool is_same_file(const Path& a, const Path& b);

}  // namespace readkit
