// Copying a line of text in the pass that looks for its end.
#pragma once

#include <cstddef>

namespace readkit {

struct LineCopy {
  std::size_t length = 0;  ///< characters copied
  bool ended = false;      ///< whether the last of them is a '\n'
  bool has_nul = false;    ///< whether a NUL is among them
};

/// Copies characters up to the first '\n', which is copied too, or `n` of them. Bytes behind the
/// copy, up to `to + n`, may change. The two places do not overlap.
LineCopy copy_line(char* to, const char* from, std::size_t n);

}  // namespace readkit
