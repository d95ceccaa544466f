#include "check/text_lines.h"

#include <cstddef>
#include <cstring>

namespace readkit {

bool TextLines::next(std::string_view& line) {
  pieces_.clear();
  is_ended_ = false;
  line = {};
  while (!is_ended_ && file_.peek(1) != nullptr) {
    const std::size_t room = file_.available();
    const char* const window = reinterpret_cast<const char*>(file_.peek(room));
    const void* const newline = std::memchr(window, '\n', room);
    is_ended_ = newline != nullptr;
    const std::size_t size =
        is_ended_ ? static_cast<std::size_t>(static_cast<const char*>(newline) - window) : room;
    if (is_ended_ && pieces_.empty()) {
      line = {window, size};
    } else {
      pieces_.append(window, size);
      line = pieces_;
    }
    file_.skip(size + (is_ended_ ? 1 : 0));
  }
  if (!is_ended_ && line.empty()) return false;
  ++number_;
  if (line.ends_with('\r')) line.remove_suffix(1);
  return true;
}

}  // namespace readkit
