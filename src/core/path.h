// File names as the host gives them, and as the operating system wants them.
#pragma once

#include <string>

#include "core/ustring.h"

namespace readkit {

/// A file-system path: UTF-16 text that becomes a native name when a file is opened.
class Path {
 public:
  Path() = default;
  explicit Path(UString text) : text_(std::move(text)) {}

  /// The path as it was given; what errors carry as the file name.
  const UString& text() const { return text_; }

  /// The native name, UTF-8. Empty, and so a name that no file has, for an empty path and for text
  /// that no native name can spell: an unpaired surrogate, or a NUL inside the text.
  std::string native() const;

 private:
  UString text_;
};

}  // namespace readkit
