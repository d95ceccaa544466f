// Standard output, buffered in large pieces and never silently cut.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace readkit::cli {

/// Standard output could not be written.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Standard output is a pipe, and who read it has gone.
class BrokenPipe : public OutputError {
 public:
  using OutputError::OutputError;
};

class Output {
 public:
  /// Writes to the file descriptor `fd`, which stays the caller's. What is still buffered when an
  /// Output dies without `finish` is lost.
  explicit Output(int fd);

  void append(std::string_view text);
  void append(char c) {
    *room(1) = c;
    ++used_;
  }
  /// Room for at least `size` bytes (kMaxRoom at most) that the caller may fill in part: `advance`
  /// tells how far.
  char* room(std::size_t size) {
    if (kBufferSize - used_ < size) write_out();
    return &buffer_[used_];
  }
  void advance(const char* end) { used_ = static_cast<std::size_t>(end - buffer_.data()); }

  /// Writes what is buffered. Raises OutputError and Interrupted, as the others do.
  void finish() { write_out(); }

  static constexpr std::size_t kMaxRoom = std::size_t{1} << 15;

 private:
  void write_out();
  std::size_t wait_for_room(std::size_t wanted) const;

  static constexpr std::size_t kBufferSize = std::size_t{1} << 18;
  int fd_;
  bool is_pipe_ = false;
  std::string buffer_;
  std::size_t used_ = 0;
};

}  // namespace readkit::cli
