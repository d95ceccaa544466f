// A text as a JSON string: UTF-8, with escapes for what UTF-8 or JSON cannot hold.
#pragma once

#include <string_view>

#include "cli/terminal/output.h"

namespace readkit::cli {

/// UTF-16 units; a surrogate that is not half of a pair becomes an escape, such as \udcff.
void write_json_string(Output& out, std::u16string_view units);

/// Bytes in UTF-8; one that is not part of valid UTF-8 becomes the escape of the unit 0xDC00 +
/// byte, which is what stands for it in host text.
void write_json_string(Output& out, std::string_view bytes);

}  // namespace readkit::cli
