// A file that a command reads, in the form in which the library takes it.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>

#include "cli/files/file_kind.h"
#include "cli/files/private_folder.h"

namespace readkit::cli {

class Job;

class Input {
 public:
  /// Opens the file `name`, "-" for standard input, and looks at what it is. What is no file that
  /// can be read again, and gzip-compressed text, is unpacked into a private folder. Raises Failure
  /// when it is of none of the kinds `wanted`; an empty list takes every kind.
  Input(Job& job, const std::string& name, std::initializer_list<Kind> wanted);

  /// As the user knows it: "standard input" for "-".
  const std::string& name() const { return name_; }
  /// For the library.
  const std::string& path() const { return path_; }
  Kind kind() const { return kind_; }
  /// Whether `path` is a copy in a private folder.
  bool is_spooled() const { return folder_.has_value(); }

 private:
  std::string name_;
  std::string path_;
  Kind kind_ = Kind::kOther;
  std::optional<PrivateFolder> folder_;
};

}  // namespace readkit::cli
