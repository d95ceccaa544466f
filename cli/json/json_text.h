// JSON text with escapes of lone surrogates, made readable for a parser that refuses them.
//
// File names and record fields are bytes, and a byte that is not UTF-8 reaches the host as a UTF-16
// unit of its own, 0xDC00 + byte, which JSON can only spell as an escape: "\udcff". Strict parsers
// refuse it, because no UTF-8 text holds it. So before parsing each such escape is replaced by two
// private characters, and in the texts that come out of the parser they are turned back:
//
//   \udXXX (not half of a pair)   ->  U+E000, U+E100 + (unit - 0xD800)
//   U+E000 itself, in any form    ->  U+E000, U+E000
//
// U+E000 never stands alone in the replaced text, so no other text can be mistaken for a shielded
// one. The two characters take the six bytes of the escape: the parser's positions stay right.
#pragma once

#include <string>
#include <string_view>

namespace readkit::cli {

class ShieldedJson {
 public:
  explicit ShieldedJson(std::string json);

  /// The text to parse. Bytes that are no JSON are passed on for the parser to refuse.
  const std::string& text() const { return text_; }

  /// The UTF-16 units of a string that the parser found in `text`. REQUIRES: `parsed` is UTF-8.
  std::u16string units_of(std::string_view parsed) const;

 private:
  std::string text_;
  bool shielded_ = false;
};

}  // namespace readkit::cli
