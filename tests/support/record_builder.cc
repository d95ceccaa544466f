#include "support/record_builder.h"

#include <cctype>
#include <cstring>
#include <stdexcept>

#include "support/bgzf_builder.h"
#include "support/reference_decoder.h"

namespace readkit {
namespace {

std::size_t integer_size(char type) {
  switch (type) {
    case 'A':
    case 'c':
    case 'C':
      return 1;
    case 's':
    case 'S':
      return 2;
    case 'i':
    case 'I':
      return 4;
    default:
      throw std::logic_error("not an integer type");
  }
}

std::string float_bytes(float value) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

}  // namespace

RecordBuilder& RecordBuilder::at(int ref, int pos) {
  ref_ = ref;
  pos_ = pos;
  return *this;
}

RecordBuilder& RecordBuilder::mate(int ref, int pos) {
  mate_ref_ = ref;
  mate_pos_ = pos;
  return *this;
}

RecordBuilder& RecordBuilder::mapq(int mapq) {
  mapq_ = mapq;
  return *this;
}

RecordBuilder& RecordBuilder::flag(int flag) {
  flag_ = flag;
  return *this;
}

RecordBuilder& RecordBuilder::tlen(int tlen) {
  tlen_ = tlen;
  return *this;
}

RecordBuilder& RecordBuilder::bin(int bin) {
  bin_ = bin;
  return *this;
}

RecordBuilder& RecordBuilder::cigar(std::string_view text) {
  ops_.clear();
  if (text == "*") return *this;
  std::uint32_t length = 0;
  for (const char letter : text) {
    if (std::isdigit(static_cast<unsigned char>(letter)) != 0) {
      length = length * 10 + static_cast<std::uint32_t>(letter - '0');
      continue;
    }
    const std::size_t code = std::string_view("MIDNSHP=X").find(letter);
    if (code == std::string_view::npos) throw std::logic_error("not a CIGAR letter");
    cigar_op(length, static_cast<unsigned>(code));
    length = 0;
  }
  return *this;
}

RecordBuilder& RecordBuilder::cigar_op(std::uint32_t length, unsigned code) {
  ops_.push_back(length << 4 | code);
  return *this;
}

RecordBuilder& RecordBuilder::seq(std::string_view letters) {
  letters_ = letters == "*" ? "" : letters;
  quals_.assign(letters_.size(), '\xff');
  return *this;
}

RecordBuilder& RecordBuilder::qual(std::string_view text) {
  quals_.clear();
  for (const char letter : text) quals_.push_back(static_cast<char>(letter - 33));
  return *this;
}

RecordBuilder& RecordBuilder::quals(const std::vector<int>& values) {
  quals_.clear();
  for (const int value : values) quals_.push_back(static_cast<char>(value));
  return *this;
}

RecordBuilder& RecordBuilder::tag(std::string_view name, char type, std::int64_t value) {
  return tag_bytes(field_bytes(
      name, type, little_endian(static_cast<std::uint64_t>(value), integer_size(type))));
}

RecordBuilder& RecordBuilder::tag_float(std::string_view name, float value) {
  return tag_bytes(field_bytes(name, 'f', float_bytes(value)));
}

RecordBuilder& RecordBuilder::tag_text(std::string_view name, char type, std::string_view text) {
  return tag_bytes(field_bytes(name, type, std::string(text) + '\0'));
}

RecordBuilder& RecordBuilder::tag_array(std::string_view name, char subtype,
                                        const std::vector<std::int64_t>& values) {
  std::string value = subtype + int32(static_cast<std::int64_t>(values.size()));
  for (const std::int64_t element : values) {
    value += little_endian(static_cast<std::uint64_t>(element), integer_size(subtype));
  }
  return tag_bytes(field_bytes(name, 'B', value));
}

RecordBuilder& RecordBuilder::tag_floats(std::string_view name, const std::vector<float>& values) {
  std::string value = 'f' + int32(static_cast<std::int64_t>(values.size()));
  for (const float element : values) value += float_bytes(element);
  return tag_bytes(field_bytes(name, 'B', value));
}

RecordBuilder& RecordBuilder::tag_bytes(std::string_view bytes) {
  tags_ += bytes;
  return *this;
}

RecordBuilder& RecordBuilder::stored_name(std::string bytes) {
  name_ = std::move(bytes);
  return *this;
}

RecordBuilder& RecordBuilder::l_read_name(int length) {
  l_read_name_ = length;
  return *this;
}

RecordBuilder& RecordBuilder::n_cigar_op(int count) {
  n_cigar_op_ = count;
  return *this;
}

RecordBuilder& RecordBuilder::l_seq(int length) {
  l_seq_ = length;
  return *this;
}

RecordBuilder& RecordBuilder::block_size(int size) {
  block_size_ = size;
  return *this;
}

std::int64_t RecordBuilder::covered() const {
  std::int64_t length = 0;
  for (const std::uint32_t op : ops_) {
    const char letter = "MIDNSHP=X???????"[op & 15];
    if (std::strchr("MDN=X", letter) != nullptr) length += op >> 4;
  }
  return ops_.empty() ? 1 : length;
}

std::string RecordBuilder::block() const {
  std::string block = int32(ref_) + int32(pos_);
  block += static_cast<char>(l_read_name_.value_or(static_cast<int>(name_.size())));
  block += static_cast<char>(mapq_);
  const int bin = bin_.value_or(slow_bin(pos_, pos_ + covered()));
  block += little_endian(static_cast<std::uint64_t>(bin), 2);
  block += little_endian(
      static_cast<std::uint64_t>(n_cigar_op_.value_or(static_cast<int>(ops_.size()))), 2);
  block += little_endian(static_cast<std::uint64_t>(flag_), 2);
  block += int32(l_seq_.value_or(static_cast<int>(letters_.size())));
  block += int32(mate_ref_) + int32(mate_pos_) + int32(tlen_);
  block += name_;
  for (const std::uint32_t op : ops_) block += little_endian(op, 4);
  for (std::size_t i = 0; i < letters_.size(); i += 2) {
    const auto code = [&](std::size_t at) -> std::size_t {
      if (at >= letters_.size()) return 0;
      const std::size_t found = std::string_view("=ACMGRSVTWYHKDBN").find(letters_[at]);
      if (found == std::string_view::npos) throw std::logic_error("not a base letter");
      return found;
    };
    block += static_cast<char>(code(i) << 4 | code(i + 1));
  }
  return block + quals_ + tags_;
}

std::string RecordBuilder::bytes() const {
  const std::string data = block();
  return int32(block_size_.value_or(static_cast<int>(data.size()))) + data;
}

Alignment RecordBuilder::record() const { return record_of(block()); }

Alignment record_of(std::string_view block) {
  Alignment record;
  std::uint8_t* data = record.resize(static_cast<int>(block.size()));
  std::memcpy(data, block.data(), block.size());
  return record;
}

std::string field_bytes(std::string_view name, char type, std::string_view value) {
  return std::string(name) + type + std::string(value);
}

}  // namespace readkit
