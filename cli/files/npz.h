// NumPy archives: a zip file of arrays of one dimension, not compressed.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/terminal/output.h"

namespace readkit::cli {

/// Numbers (unsigned, 32 bits) or texts (bytes, as long as the longest, padded with NULs).
class NpzColumn {
 public:
  explicit NpzColumn(bool is_text) : is_text_(is_text) {}

  void add(std::uint32_t number) { numbers_.push_back(number); }
  void add(const std::string& text) { texts_.push_back(text); }

  /// The array as an .npy file.
  std::string file() const;

 private:
  bool is_text_;
  std::vector<std::uint32_t> numbers_;
  std::vector<std::string> texts_;
};

class NpzWriter {
 public:
  /// `out` must outlive the writer.
  explicit NpzWriter(Output& out) : out_(out) {}

  /// Adds an array. Raises Failure for one of 4 GiB or more, which the archive cannot hold.
  void add(const std::string& name, const NpzColumn& column);
  /// REQUIRES: is called once, at the end.
  void finish();

 private:
  void write(const std::string& bytes);

  Output& out_;
  std::uint64_t written_ = 0;
  std::string directory_;
  std::uint16_t count_ = 0;
};

}  // namespace readkit::cli
