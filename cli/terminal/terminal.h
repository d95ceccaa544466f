// What the program's standard streams are connected to.
#pragma once

namespace readkit::cli {

struct Terminal {
  bool output = false;   ///< Standard output is a terminal.
  bool errors = false;   ///< Standard error is one.
  bool colours = false;  ///< Standard error shows colours, and NO_COLOR does not ask for none.
};

/// Looked at once.
const Terminal& terminal();

}  // namespace readkit::cli
