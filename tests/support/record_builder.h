// Alignment records, field by field, sound ones and broken ones.
//
//   RecordBuilder("r1").at(0, 99).cigar("5S10M").seq("ACGTACGTACGTACG").tag("NH", 'C', 3).record()
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "records/alignment.h"

namespace readkit {

/// Builds one record's bytes in BAM layout. Without further words: reference and position -1, no
/// mate, mapping quality 0, no flags, CIGAR, sequence or fields; the name ends with a NUL. The bin
/// is that of the interval that the CIGAR covers, unless it is set.
class RecordBuilder {
 public:
  explicit RecordBuilder(std::string name = "r1") : name_(std::move(name) + '\0') {}

  /// Reference index and 0-based position.
  RecordBuilder& at(int ref, int pos);
  RecordBuilder& mate(int ref, int pos);
  RecordBuilder& mapq(int mapq);
  RecordBuilder& flag(int flag);
  RecordBuilder& tlen(int tlen);
  RecordBuilder& bin(int bin);

  /// All ops as text, "*" for none; or one more op of any length and code.
  RecordBuilder& cigar(std::string_view text);
  RecordBuilder& cigar_op(std::uint32_t length, unsigned code);

  /// The letters ("*" for none); the qualities become absent (0xFF) in the same number.
  RecordBuilder& seq(std::string_view letters);
  /// Qualities as they stand in SAM text, plus 33; or as numbers.
  RecordBuilder& qual(std::string_view text);
  RecordBuilder& quals(const std::vector<int>& values);

  /// One more optional field of type 'A' (the character's code), 'c', 'C', 's', 'S', 'i' or 'I'.
  RecordBuilder& tag(std::string_view name, char type, std::int64_t value);
  /// Of type 'f'.
  RecordBuilder& tag_float(std::string_view name, float value);
  /// Of type 'Z' or 'H'.
  RecordBuilder& tag_text(std::string_view name, char type, std::string_view text);
  /// Of type 'B': of integers, and of floats (subtype 'f').
  RecordBuilder& tag_array(std::string_view name, char subtype,
                           const std::vector<std::int64_t>& values);
  RecordBuilder& tag_floats(std::string_view name, const std::vector<float>& values);
  /// Any bytes after the fields so far.
  RecordBuilder& tag_bytes(std::string_view bytes);

  // Lies: fields that contradict the bytes behind them.
  RecordBuilder& stored_name(std::string bytes);  ///< the name's bytes with no NUL added
  RecordBuilder& l_read_name(int length);
  RecordBuilder& n_cigar_op(int count);
  RecordBuilder& l_seq(int length);
  RecordBuilder& block_size(int size);  ///< the length word of `bytes`

  /// The data block, without its length word.
  std::string block() const;
  /// The record as it stands in a file: length word and block.
  std::string bytes() const;
  /// The record in memory.
  Alignment record() const;

 private:
  std::int64_t covered() const;

  std::string name_;
  int ref_ = -1;
  int pos_ = -1;
  int mate_ref_ = -1;
  int mate_pos_ = -1;
  int mapq_ = 0;
  int flag_ = 0;
  int tlen_ = 0;
  std::optional<int> bin_;
  std::vector<std::uint32_t> ops_;
  std::string letters_;
  std::string quals_;
  std::string tags_;
  std::optional<int> l_read_name_;
  std::optional<int> n_cigar_op_;
  std::optional<int> l_seq_;
  std::optional<int> block_size_;
};

/// A record in memory that holds any bytes as its block.
Alignment record_of(std::string_view block);

/// The bytes of one optional field.
std::string field_bytes(std::string_view name, char type, std::string_view value);

}  // namespace readkit
