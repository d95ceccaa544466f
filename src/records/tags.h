// Optional fields ("tags"): their sizes, their SAM text, and their encoding from SAM text. The
// encoding is that of section 4.2.4 of the SAM/BAM format document; see docs/formats/bam.md.
// A binary field is two letters, a type letter and a value; all functions work on bytes in place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace readkit {

/// The bytes of one value of a type, or of one element of a 'B' array. Raises InvalidTagType.
int tag_elem_size(char type);

/// The whole size of the binary field at `field`; -1 for an unknown type letter. A negative 'B'
/// count counts as 0. Raises InvalidTagType for an unknown 'B' subtype.
int _tag_size(const std::uint8_t* field);
/// The same for a field in a block that ends at `end`: -1 also for an unknown subtype and for a
/// field that does not fit. A text without a NUL ends at `end`. Raises nothing.
std::int64_t tag_size_within(const std::uint8_t* field, const std::uint8_t* end);

/// The value of a whole binary field of an integer type ('c', 'C', 's', 'S', 'i', 'I'); -1 for any
/// other type.
int integer_tag_value(const std::uint8_t* field);

/// Prints `count` values of one field as SAM text at `out`, separated by commas and ended by a TAB
/// ('Z' and 'H': the text and a TAB, whatever `count`). Returns the characters written, and through
/// `next` (when not null) the address just past the values. An element that does not fit into
/// `room` ends the printing before it. Raises InvalidTagType.
int tag_snprintf(char* out, std::size_t room, const std::uint8_t* value, char type, int count,
                 const std::uint8_t** next = nullptr);

/// The most bytes that the SAM text of the optional fields in [field, end) takes.
std::size_t max_tags_text(const std::uint8_t* field, const std::uint8_t* end);
/// Writes the SAM text of the optional fields in [field, end) at `out`, each followed by a TAB (but
/// for an empty 'B' array, which prints nothing after its colon); returns the end. Raises
/// InvalidTagType, and InvalidSAMFormat with an empty text for a field that runs past `end`.
char* write_tags(const std::uint8_t* field, const std::uint8_t* end, char* out);

/// An upper bound on the binary size of the SAM text field `line`[start, end), by type. Kept: the
/// bound is too small for some fields, so `parse_tags` makes room by real need.
int tag_max_size(const std::string& line, int start, int end);

/// Room that is always enough for the encoded fields of a SAM text of `length` characters.
inline constexpr std::size_t max_encoded_tags(std::size_t length) { return 4 * length + 16; }
/// Encodes the TAB-separated optional fields `fields` at `out`, which has room for
/// `max_encoded_tags`; returns the end. Raises as `parse_tags`.
std::uint8_t* encode_tags(std::string_view fields, std::uint8_t* out);

/// Encodes every optional field of a SAM line from `start`, the first character after the eleventh
/// TAB, to the line's end; `*length` receives the bytes used. Raises InvalidSAMFormat with an empty
/// text for a field that is too short, and std::invalid_argument for 'H' digits that are none and
/// for every 'B' array.
std::unique_ptr<std::uint8_t[]> parse_tags(const std::string& line, std::size_t start,
                                           std::size_t* length);
/// Encodes count and elements of a 'B' array; returns the bytes written. The count is 1 plus the
/// number of commas. Kept: every element is converted from the start of `text`, and the text of a
/// SAM field begins with a comma, so that it always raises std::invalid_argument.
int parse_barray(const std::string& text, char subtype, std::uint8_t* out);

/// The first TAB at or after `from`; -1 when there is none or `from` is not inside the string.
int _next_tab(const std::string& s, int from);
/// The same, but raises InvalidSAMFormat with an empty text when there is none.
int _assert_tab(const std::string& s, int from);
/// A new array of `size` bytes that begins with the first `used` bytes of `buffer`.
std::unique_ptr<std::uint8_t[]> _resize(std::unique_ptr<std::uint8_t[]> buffer, std::size_t used,
                                        std::size_t size);

}  // namespace readkit
