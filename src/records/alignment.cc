#include "records/alignment.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

#include "records/bases.h"
#include "records/field_text.h"
#include "records/tags.h"

namespace readkit {

const char Alignment::cigar_key[] = "MIDNSHP=X";
const char Alignment::seq_key[] = "=ACMGRSVTWYHKDBN";
const char Alignment::FieldMissingStr[] = "*";

Alignment::Alignment(const Alignment& other) {
  if (other.data_ == nullptr) {
    block_size_ = other.block_size_;
    return;
  }
  const auto present = std::min(static_cast<std::uint32_t>(other.block_size_), other.capacity_);
  reserve(std::max(present, kMinRoom));
  block_size_ = other.block_size_;
  std::memcpy(data_.get(), other.data_.get(), present);
}

Alignment& Alignment::operator=(const Alignment& other) {
  if (this != &other) *this = Alignment(other);
  return *this;
}

Alignment& Alignment::operator=(Alignment&& other) noexcept {
  if (this == &other) return *this;
  block_size_ = other.block_size_;
  capacity_ = std::exchange(other.capacity_, 0);
  data_ = std::move(other.data_);
  return *this;
}

// Makes room for `room` bytes; the content is lost when the block moves.
void Alignment::reserve(std::uint32_t room) {
  if (room <= capacity_) return;
  data_ = std::make_unique_for_overwrite<std::uint8_t[]>(room);
  capacity_ = room;
}

std::uint8_t* Alignment::resize(int size) {
  if (size < 0) throw std::bad_alloc();
  reserve(std::max(static_cast<std::uint32_t>(size), kMinRoom));
  block_size_ = size;
  return data_.get();
}

bool Alignment::next(BGZF& in) {
  // The usual case: the whole record lies within the current block.
  if (const std::uint8_t* length = in.peek_in_block(4)) {
    const auto size = load<std::int32_t>(length);
    if (size >= 0) {
      const std::size_t whole = 4 + static_cast<std::size_t>(size);
      if (const std::uint8_t* record = in.peek_in_block(whole)) {
        std::memcpy(resize(size), record + 4, static_cast<std::size_t>(size));
        in.skip_in_block(whole);
        return true;
      }
    }
  }
  std::array<std::uint8_t, 4> length;
  if (in.read(length.data(), 1, length.size()) < length.size()) return false;
  const auto size = load<std::int32_t>(length.data());
  if (size < 0) throw std::bad_alloc();
  return read_block(in, size);
}

// Reads a block of `size` bytes in growing pieces, so that memory grows with what the file holds.
bool Alignment::read_block(BGZF& in, std::int32_t size) {
  constexpr std::uint32_t kFirstPiece = std::uint32_t{1} << 20;
  const auto wanted = static_cast<std::uint32_t>(size);
  reserve(std::max(std::min(wanted, kFirstPiece), kMinRoom));
  block_size_ = size;
  std::uint32_t done = 0;
  while (true) {
    const std::uint32_t piece = std::min(wanted, capacity_) - done;
    const auto got = static_cast<std::uint32_t>(in.read(data_.get() + done, 1, piece));
    done += got;
    if (done == wanted) return true;
    if (got < piece) return false;
    const std::uint32_t larger = std::min(wanted, 2 * capacity_);
    auto grown = std::make_unique_for_overwrite<std::uint8_t[]>(larger);
    std::memcpy(grown.get(), data_.get(), done);
    data_ = std::move(grown);
    capacity_ = larger;
  }
}

bool Alignment::write(BGZF& out) const {
  const auto size = static_cast<std::size_t>(block_size_);
  return out.write(&block_size_, 1, 4) == 4 && out.write(data_.get(), 1, size) == size;
}

bool Alignment::is_well_formed() const {
  if (block_size_ < static_cast<std::int32_t>(record_format::kName) || l_seq() < 0) return false;
  const std::int64_t bases = l_seq();
  const std::int64_t needed = static_cast<std::int64_t>(record_format::kName) + l_read_name() +
                              4 * std::int64_t{n_cigar_op()} + (bases + 1) / 2 + bases;
  return needed <= block_size_;
}

std::string_view Alignment::read_name_text() const {
  const std::string_view stored(read_name(), static_cast<std::size_t>(l_read_name()));
  const std::string_view text = stored.substr(0, stored.empty() ? 0 : stored.size() - 1);
  return text.substr(0, text.find('\0'));
}

int Alignment::cigar_endpos() const {
  const int count = n_cigar_op();
  std::int64_t end = pos();
  if (count == 0) ++end;
  const std::uint8_t* op = cigar_bytes();
  for (int i = 0; i < count; ++i, op += 4) {
    const auto word = load<std::uint32_t>(op);
    const std::uint32_t consumes = record_format::kReferenceOps >> (word & 0xF) & 1;
    end += consumes * static_cast<std::int64_t>(word >> 4);
  }
  constexpr std::int64_t kHighest = std::numeric_limits<std::int32_t>::max();
  return static_cast<int>(std::min(end, kHighest));
}

std::string Alignment::cigar_string() const {
  const int count = n_cigar_op();
  if (count == 0) return FieldMissingStr;
  std::string text(static_cast<std::size_t>(count) * kMaxCigarOpText, '\0');
  char* const end = write_cigar(cigar_bytes(), count, text.data());
  text.resize(static_cast<std::size_t>(end - text.data()));
  return text;
}

std::string Alignment::seq_string() const {
  std::string text;
  seq_string(text);
  return text;
}

std::string Alignment::qual_string() const {
  std::string text;
  qual_string(text);
  return text;
}

void Alignment::seq_string(std::string& text) const {
  if (l_seq() < 1) {
    text = FieldMissingStr;
    return;
  }
  text.resize(static_cast<std::size_t>(l_seq()));
  unpack_bases(seq_bytes(), text.size(), text.data());
}

void Alignment::qual_string(std::string& text) const {
  text.resize(static_cast<std::size_t>(std::max(l_seq(), 0)));
  const bool present = !text.empty() && write_qualities(qual_bytes(), text.size(), text.data());
  if (!present) text = FieldMissingStr;
}

std::string Alignment::ref_name(const BamHeader& header) const {
  return ref_id() < 0 ? FieldMissingStr : std::string(header.get_ref(ref_id()).name());
}

std::string Alignment::next_ref_name(const BamHeader& header) const {
  return next_ref_id() < 0 ? FieldMissingStr : std::string(header.get_ref(next_ref_id()).name());
}

int Alignment::nh_tag() const {
  const std::uint8_t* const end = data_end();
  for (const std::uint8_t* field = tag_bytes(); end - field >= 3;) {
    const std::int64_t size = tag_size_within(field, end);
    if (size < 0) return -1;
    if (field[0] == 'N' && field[1] == 'H') return integer_tag_value(field);
    field += size;
  }
  return -1;
}

void Alignment::update_ref_ids(const std::unordered_map<int, int>& map) {
  const auto own = map.find(ref_id());
  if (own == map.end()) throw std::out_of_range("unordered_map::at: key not found");
  set_ref_id(own->second);
  const auto mate = map.find(next_ref_id());
  set_next_ref_id(mate == map.end() ? -1 : mate->second);
}

}  // namespace readkit
