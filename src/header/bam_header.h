// What precedes the records of a BAM or SAM file: the header text and the reference dictionary, as
// sections 1.3 and 4.2 of the SAM/BAM format document describe them; see docs/formats/bam.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/bgzf.h"

namespace readkit {

/// One reference sequence of the dictionary.
struct Reference {
  /// The stored name: its text and one more byte, which stands in the terminator's place (a NUL in
  /// BAM; whatever ended the field in SAM text).
  std::string stored_name;
  std::uint32_t l_ref = 0;  ///< the sequence's length in bases

  std::int32_t l_name() const { return static_cast<std::int32_t>(stored_name.size()); }
  /// The name without its last byte.
  std::string_view name() const {
    return std::string_view(stored_name)
        .substr(0, stored_name.empty() ? 0 : stored_name.size() - 1);
  }
};

/// One "@SQ" line of `length` bytes. REQUIRES: line[length], the byte that ended the line, can be
/// read. Fields that the line lacks stay empty. Kept: the scan for a field's end starts at the
/// length of the field before it, so that a field shorter than an earlier one is measured to a
/// later TAB or the line's end.
Reference parse_sam_sequence(const char* line, std::size_t length);

/// Header text and reference dictionary, a value. Reference indexes are 0-based, in file order.
class BamHeader {
 public:
  BamHeader() = default;

  /// Reads the binary header at the stream's position; returns the virtual offset just after it,
  /// where the first record starts. Raises InvalidBAMFormat (magic), BAMRead (short file),
  /// std::bad_alloc (a negative text or name length) and std::length_error (a negative count).
  std::uint64_t read(BGZF& in);
  /// Writes the binary header in one piece, unflushed; true when the stream took all of it.
  bool write(BGZF& out) const;

  /// Reads the leading "@" lines of SAM text and leaves the stream at the line after them;
  /// returns the text's length.
  std::size_t read(std::istream& in);
  /// Writes the text without its trailing newlines and NULs, then one newline; true unless the
  /// stream is bad afterwards.
  bool write(std::ostream& out) const;

  const std::string& text() const { return text_; }
  int get_num_refs() const { return static_cast<int>(references_.size()); }
  const std::vector<Reference>& references() const { return references_; }

  /// The reference at `id`. Raises ReferenceIDNotFound with `id` in decimal.
  const Reference& get_ref(int id) const;
  /// The index of the first reference of exactly this name. Raises ReferenceIDNotFound with it.
  int get_ref_id(std::string_view name) const;

  /// Reads "name:begin-end", 1-based and inclusive, thousands separators allowed, into a 0-based
  /// half-open interval [*beg, *end); the name ends at the first colon, and begin may exceed end.
  /// Returns true. Raises InvalidRegion, ReferenceIDNotFound, and for the numbers what std::stoi
  /// raises.
  bool parse_region(const std::string& region, int* ref_id, int* beg, int* end) const;

  /// Keeps the references whose names are in `names`, in their order; returns the map from old to
  /// new indexes. The text stays as it is. Raises InvalidHeaderSubset when none would stay.
  std::unordered_map<int, int> subset(const std::set<std::string>& names);

  // For building a header by hand.
  void set_text(std::string text) { text_ = std::move(text); }
  void add_reference(std::string_view name, std::uint32_t length);

 private:
  std::string text_;
  std::vector<Reference> references_;
};

}  // namespace readkit
