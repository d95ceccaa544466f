// The bytes of a file or a pipe, one after the other, with a look ahead.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace readkit::cli {

class ByteSource {
 public:
  /// "-" is standard input. Raises Failure when the file cannot be opened.
  explicit ByteSource(const std::string& name);
  ~ByteSource();
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  /// What comes next, without taking it: kAhead bytes, or all that is left if that is less.
  std::span<const std::uint8_t> peek();
  /// Takes some bytes: none only at the end. Valid until the next call. Raises Failure, and
  /// Interrupted.
  std::span<const std::uint8_t> read();

  /// Bytes taken from the file so far.
  std::uint64_t position() const { return position_; }
  /// Whether it is a file that can be read again; false for pipes and devices.
  bool is_regular() const { return regular_; }
  /// Of a regular file; 0 for others.
  std::uint64_t size() const { return size_; }

  static constexpr std::size_t kAhead = std::size_t{1} << 14;

 private:
  std::size_t fill(std::size_t from);

  std::string name_;
  int fd_ = -1;
  bool regular_ = false;
  std::uint64_t size_ = 0;
  std::uint64_t position_ = 0;
  std::vector<std::uint8_t> buffer_;
  std::size_t ahead_ = 0;  // bytes of buffer_ that were peeked at and not taken
};

}  // namespace readkit::cli
