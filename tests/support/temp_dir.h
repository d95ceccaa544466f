// A private folder for the files of one test.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/path.h"

namespace readkit {

/// A new folder of its own, removed with all it holds at the end of the object's life. Files in it
/// are named by their bare names; file contents are strings of bytes.
class TempDir {
 public:
  TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir();

  /// The file's name as the library takes it, as the system takes it, and as errors carry it.
  Path path(std::string_view name) const;
  std::string native(std::string_view name) const;
  UString text(std::string_view name) const { return path(name).text(); }
  /// The folder itself.
  const std::string& folder() const { return folder_; }

  /// Writes a file anew; returns its path.
  Path write(std::string_view name, std::string_view bytes) const;
  /// Overwrites part of a file in place.
  void overwrite(std::string_view name, std::size_t offset, std::string_view bytes) const;
  /// Cuts a file to its first `size` bytes.
  void truncate(std::string_view name, std::size_t size) const;
  /// The content of a file; a missing file is a test failure.
  std::string read(std::string_view name) const;

  bool exists(std::string_view name) const;
  /// The names of all files, sorted.
  std::vector<std::string> names() const;

 private:
  std::string folder_;
};

/// A file name in the library's form.
Path to_path(std::string_view native);

/// The content of any file; a missing file is a test failure.
std::string read_file(const std::string& native);
void write_file(const std::string& native, std::string_view bytes);

}  // namespace readkit
