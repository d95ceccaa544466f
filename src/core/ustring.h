// UTF-16 text, and how bytes of unknown encoding become such text and come back unharmed.
#pragma once

#include <string>
#include <string_view>

namespace readkit {

/// UTF-16 text in 16-bit code units: file names from the host and most error arguments.
using UString = std::u16string;

/// The text of `bytes`, read as UTF-8. A byte that is not part of valid UTF-8 becomes the unit
/// 0xDC00 + byte, so that `to_bytes` gives back exactly the same bytes.
UString to_ustring(std::string_view bytes);

/// `number` in decimal, the form in which errors carry indexes and positions.
UString to_ustring(long long number);

/// The UTF-8 bytes of `text`, the inverse of `to_ustring`: a unit 0xDC80 to 0xDCFF that is not the
/// second half of a surrogate pair becomes the byte it stands for. Any other unpaired surrogate
/// becomes U+FFFD.
std::string to_bytes(std::u16string_view text);

}  // namespace readkit
