// The header as SAM text.
#include <algorithm>
#include <istream>
#include <ostream>

#include "core/number.h"
#include "header/bam_header.h"

namespace readkit {
namespace {

bool starts_with(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

std::uint32_t leading_digits(std::string_view text) {
  const bool has_digit = !text.empty() && text[0] >= '0' && text[0] <= '9';
  return has_digit ? static_cast<std::uint32_t>(parse_long(text)) : 0;
}

// `size` bytes from `text`; behind its first NUL, NULs.
std::string copy_padded(std::string_view text, std::size_t size) {
  std::string copy(text.substr(0, std::min(text.find('\0'), size)));
  copy.resize(size, '\0');
  return copy;
}

}  // namespace

Reference parse_sam_sequence(const char* line, std::size_t length) {
  constexpr std::size_t kFirstField = 4;  // just after "@SQ" and its TAB
  Reference reference;
  // Kept: not reset from field to field. One would expect each field to be measured on its own;
  // instead a field shorter than the one before it runs on to a later TAB or the line's end.
  std::size_t field_length = 0;
  for (std::size_t start = kFirstField; start < length; start += field_length + 1) {
    field_length = std::min(field_length, length - start);
    while (start + field_length < length && line[start + field_length] != '\t') ++field_length;
    const std::string_view field(line + start, field_length);
    if (starts_with(field, "SN:")) {
      // With the byte that ended the field, which stands in the terminator's place.
      const std::string_view name(line + start + 3, field_length - 2);
      reference.stored_name = copy_padded(name, name.size());
    } else if (starts_with(field, "LN:")) {
      reference.l_ref = leading_digits(field.substr(3));
    }
  }
  return reference;
}

std::size_t BamHeader::read(std::istream& in) {
  text_.clear();
  references_.clear();
  std::string line;
  while (true) {
    const std::istream::pos_type line_start = in.tellg();
    std::getline(in, line);
    if (line.empty() || line[0] != '@') {
      in.clear(in.rdstate() & ~(std::ios::failbit | std::ios::eofbit));
      in.seekg(line_start);
      break;
    }
    text_ += line;
    text_ += '\n';
    if (in.eof()) break;
  }
  for (std::size_t start = 0; start < text_.size();) {
    const std::size_t end = text_.find('\n', start);
    if (text_.compare(start, 3, "@SQ") == 0) {
      references_.push_back(parse_sam_sequence(text_.data() + start, end - start));
    }
    start = end + 1;
  }
  return text_.size();
}

bool BamHeader::write(std::ostream& out) const {
  const std::size_t last = text_.find_last_not_of(std::string_view("\n\0", 2));
  out.write(text_.data(), static_cast<std::streamsize>(last + 1));  // npos + 1 is 0
  out.put('\n');
  return !out.bad();
}

}  // namespace readkit
