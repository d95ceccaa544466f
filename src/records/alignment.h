// One alignment record, held as one byte block laid out exactly as a BAM record is on disk, less
// its leading length word (see record_format.h). Accessors read the block in place; writing a
// record to BAM is two raw writes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "core/bgzf.h"
#include "core/bytes.h"
#include "header/bam_header.h"
#include "records/record_format.h"
#include "records/reference_map.h"

namespace readkit {

/// An alignment record, a value that owns its block; empty (no data) after default construction
/// and after being moved from. Moving takes two words. Positions are 0-based, -1 for none.
///
/// Invariants: `data_` is null or has room for `capacity_` bytes, at least `kMinRoom`, so that the
/// fixed fields can always be read; the block is `block_size_` bytes, complete unless `next` has
/// returned false. REQUIRES, for every accessor but `block_size`: the record has data, and
/// `is_well_formed()` for what lies behind the fixed fields.
class Alignment {
 public:
  /// Op codes 0 to 8; 4-bit base codes 0 to 15; the text of an absent field.
  static const char cigar_key[];
  static const char seq_key[];
  static const char FieldMissingStr[];
  /// Letter to op code and to 4-bit base code; 0xFF for letters that are none.
  static const std::array<std::uint8_t, 256> cigar_rev_key;
  static const std::array<std::uint8_t, 256> seq_rev_key;

  Alignment() = default;
  /// Parses a SAM line without its line's end; `refs` gives the reference indexes. Raises as
  /// `parse`.
  Alignment(std::string_view line, const ReferenceMap& refs) { parse(line, refs); }
  Alignment(const Alignment& other);
  Alignment& operator=(const Alignment& other);
  Alignment(Alignment&& other) noexcept
      : block_size_(other.block_size_), capacity_(other.capacity_), data_(std::move(other.data_)) {
    other.capacity_ = 0;
  }
  Alignment& operator=(Alignment&& other) noexcept;
  ~Alignment() = default;

  /// Makes the block `size` bytes of unspecified content and returns it; the caller fills it.
  /// A negative size raises std::bad_alloc.
  std::uint8_t* resize(int size);

  /// Reads the next record. Returns false at the end of the stream, leaving the record unchanged
  /// when fewer than 4 bytes are left; a record cut short also returns false, with `block_size`
  /// set and the block incomplete. No field is checked. Raises the stream's errors, and
  /// std::bad_alloc for a negative length.
  bool next(BGZF& in);
  /// Writes the length word and the block, unflushed; true when the stream took both.
  bool write(BGZF& out) const;

  /// Makes this the record of a SAM line, reusing the memory; after an error the content is
  /// unspecified. Raises InvalidSAMFormat with an empty text for a malformed line,
  /// std::out_of_range("basic_string") for a CIGAR that ends in digits, and what `parse_tags`
  /// raises.
  void parse(std::string_view line, const ReferenceMap& refs);

  /// Whether name, CIGAR, sequence and qualities lie within the block.
  bool is_well_formed() const;

  std::int32_t block_size() const { return block_size_; }
  const std::uint8_t* data() const { return data_.get(); }
  /// Just past the block.
  const std::uint8_t* data_end() const { return data_.get() + block_size_; }

  int ref_id() const { return field<std::int32_t>(record_format::kRefId); }
  void set_ref_id(int id) { store<std::int32_t>(data_.get() + record_format::kRefId, id); }
  int pos() const { return field<std::int32_t>(record_format::kPos); }
  int l_read_name() const { return data_[record_format::kNameLength]; }
  int mapq() const { return data_[record_format::kMapq]; }
  int bin() const { return field<std::uint16_t>(record_format::kBin); }
  int n_cigar_op() const { return field<std::uint16_t>(record_format::kCigarCount); }
  int flag() const { return field<std::uint16_t>(record_format::kFlag); }
  int l_seq() const { return field<std::int32_t>(record_format::kSeqLength); }
  int next_ref_id() const { return field<std::int32_t>(record_format::kNextRefId); }
  void set_next_ref_id(int id) { store<std::int32_t>(data_.get() + record_format::kNextRefId, id); }
  int next_pos() const { return field<std::int32_t>(record_format::kNextPos); }
  int tlen() const { return field<std::int32_t>(record_format::kTlen); }

  /// The name: `l_read_name` bytes, usually NUL-terminated.
  const char* read_name() const {
    return reinterpret_cast<const char*>(data_.get() + record_format::kName);
  }
  /// The name as text: up to its first NUL, at most `l_read_name` - 1 bytes.
  std::string_view read_name_text() const;
  /// The first CIGAR op. Kept: the offset 32 + `l_read_name` is computed in 8 bits, so it wraps for
  /// names of 224 bytes or more, while the fields behind the CIGAR are found by their true offset.
  const std::uint8_t* cigar_bytes() const {
    return data_.get() +
           static_cast<std::uint8_t>(record_format::kName + data_[record_format::kNameLength]);
  }
  const std::uint8_t* seq_bytes() const {
    return data_.get() + record_format::kName + l_read_name() + 4 * n_cigar_op();
  }
  const std::uint8_t* qual_bytes() const { return seq_bytes() + (std::int64_t{l_seq()} + 1) / 2; }
  /// The optional fields: [tag_bytes(), data_end()).
  const std::uint8_t* tag_bytes() const { return qual_bytes() + l_seq(); }

  /// One past the last reference base that the CIGAR covers; `pos` + 1 without a CIGAR. Computed
  /// in 64 bits and clamped to 32.
  int cigar_endpos() const;
  /// "*" without ops; an op code without a letter prints as '?'.
  std::string cigar_string() const;
  /// "*" when `l_seq` is less than 1.
  std::string seq_string() const;
  /// Qualities plus 33, modulo 256; "*" when `l_seq` is less than 1 or all of them are 0xFF.
  std::string qual_string() const;
  /// The same into a string whose memory is used again.
  void seq_string(std::string& text) const;
  void qual_string(std::string& text) const;
  /// The name of the reference (of the mate's); "*" for a negative index. Raises
  /// ReferenceIDNotFound for an index beyond the dictionary.
  std::string ref_name(const BamHeader& header) const;
  std::string next_ref_name(const BamHeader& header) const;
  /// The NH field (number of reported alignments), or -1 when there is no usable one.
  int nh_tag() const;

  /// Renumbers the references: a `ref_id` that `map` lacks raises std::out_of_range, a
  /// `next_ref_id` that it lacks becomes -1.
  void update_ref_ids(const std::unordered_map<int, int>& map);

  /// Coordinate order: reference index, records without a reference last, then position; nothing
  /// else, so that different records may be neither less nor greater.
  bool operator<(const Alignment& other) const { return order_key() < other.order_key(); }
  bool operator<=(const Alignment& other) const { return order_key() <= other.order_key(); }
  /// A number that orders as the record does. As unsigned numbers, negative reference indexes come
  /// behind the others and ascend among themselves; positions compare as signed ones.
  std::uint64_t order_key() const {
    const std::uint32_t place = static_cast<std::uint32_t>(pos()) ^ 0x80000000U;
    return std::uint64_t{static_cast<std::uint32_t>(ref_id())} << 32 | place;
  }

  /// The SAM line without a newline, with (or without) the optional fields, ended by a NUL, in an
  /// array of its own; `*length` counts the NUL. Raises ReferenceIDNotFound, InvalidTagType, and
  /// InvalidSAMFormat with an empty text for an optional field that runs past the block.
  std::unique_ptr<char[]> to_sam_chr(const BamHeader& header, unsigned long* length,
                                     bool with_tags) const;
  /// The SAM line with its optional fields.
  std::string to_sam(const BamHeader& header) const;

  /// The number at index `from` of `text` by the rules of strtol and strtof; `*end` (when not null)
  /// receives the index of the first character not used.
  static long strtol_idx(const std::string& text, std::size_t from, std::size_t* end = nullptr,
                         int base = 10);
  static float strtof_idx(const std::string& text, std::size_t from, std::size_t* end = nullptr);

 private:
  static constexpr std::uint32_t kMinRoom = 36;

  template <typename T>
  T field(std::size_t offset) const {
    return load<T>(data_.get() + offset);
  }
  void reserve(std::uint32_t room);
  bool read_block(BGZF& in, std::int32_t size);

  std::int32_t block_size_ = 0;
  std::uint32_t capacity_ = 0;
  std::unique_ptr<std::uint8_t[]> data_;
};

}  // namespace readkit
