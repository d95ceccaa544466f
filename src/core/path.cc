#include "core/path.h"

#include <iterator>

#include <utf8.h>

namespace readkit {

std::string Path::native() const {
  std::string name;
  if (text_.find(u'\0') != UString::npos) return name;
  try {
    utf8::utf16to8(text_.begin(), text_.end(), std::back_inserter(name));
  } catch (const utf8::exception&) {
    name.clear();
  }
  return name;
}

}  // namespace readkit
