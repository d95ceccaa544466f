// The lines of a text file, read once from start to end.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/file.h"

namespace readkit {

/// Hands out lines without their '\n', and without a '\r' before it. The file is the caller's and
/// must outlive this object.
class TextLines {
 public:
  explicit TextLines(File& file) : file_(file) {}

  /// The next line, valid until the next call; false when there is none.
  bool next(std::string_view& line);
  /// The number of the current line, from 1 on.
  std::uint64_t number() const { return number_; }
  /// Whether the current line has a '\n'.
  bool is_ended() const { return is_ended_; }

 private:
  File& file_;
  std::string pieces_;  // of a line that crosses the end of the file's window
  std::uint64_t number_ = 0;
  bool is_ended_ = true;
};

}  // namespace readkit
