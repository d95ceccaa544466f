// One pass over a SAM line, field by field, into the record's block.
#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "core/bytes.h"
#include "core/digits.h"
#include "core/errors.h"
#include "core/number.h"
#include "records/alignment.h"
#include "records/bases.h"
#include "records/bins.h"
#include "records/reference_map.h"
#include "records/tags.h"

namespace readkit {
namespace {

constexpr std::uint8_t kNoCigarOp = 0xFF;
constexpr std::size_t kLongestName = 254;
constexpr int kMaxOps = std::numeric_limits<std::uint16_t>::max();

constexpr std::array<std::uint8_t, 256> reversed(std::string_view key) {
  std::array<std::uint8_t, 256> codes{};
  codes.fill(kNoCigarOp);
  for (std::size_t i = 0; i < key.size(); ++i) {
    codes[static_cast<unsigned char>(key[i])] = static_cast<std::uint8_t>(i);
  }
  return codes;
}

std::uint8_t code_of(const std::array<std::uint8_t, 256>& codes, char letter) {
  return codes[static_cast<unsigned char>(letter)];
}

[[noreturn]] void raise_invalid() { throw InvalidSAMFormat(UString()); }

// Hands out the fields of a line, one after the other. Each must be ended by a TAB.
class Fields {
 public:
  explicit Fields(std::string_view line) : rest_(line) {}

  std::string_view next() {
    const std::size_t tab = rest_.find('\t');
    if (tab == std::string_view::npos) raise_invalid();
    return take(tab);
  }
  /// The value of the next field; what does not fit into the record's field is cut off later.
  std::int64_t next_number() {
    // The usual one: digits alone.
    const LeadingDigits digits = leading_digits(rest_);
    if (digits.count > 0 && digits.count < rest_.size() && rest_[digits.count] == '\t') {
      take(digits.count);
      return digits.value;
    }
    return parse_long(next());
  }
  /// A 1-based position as the 0-based one before it.
  std::int32_t next_position() {
    return static_cast<std::int32_t>(static_cast<std::uint64_t>(next_number()) - 1);
  }
  std::string_view rest() const { return rest_; }

 private:
  std::string_view take(std::size_t length) {
    const std::string_view field = rest_.substr(0, length);
    rest_.remove_prefix(length + 1);
    return field;
  }

  std::string_view rest_;
};

std::int32_t clamp_to_int32(std::int64_t n) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(n, Limits::min(), Limits::max()));
}

struct Cigar {
  int count = 0;
  std::int64_t span = 0;  // on the reference, of the lengths as they are written
};

// Encodes the ops of a CIGAR field at `out`, which has room for one op per character.
Cigar encode_cigar(std::string_view field, std::uint8_t* out) {
  Cigar cigar;
  if (field == Alignment::FieldMissingStr) return cigar;
  while (!field.empty()) {
    std::size_t digits = 0;
    const long length = parse_long(field, &digits);
    if (digits == field.size()) throw std::out_of_range("basic_string");
    const std::uint8_t code = code_of(Alignment::cigar_rev_key, field[digits]);
    if (code == kNoCigarOp || cigar.count == kMaxOps) raise_invalid();
    const auto word = static_cast<std::uint32_t>(static_cast<std::uint64_t>(length) << 4 | code);
    store(out, word);
    out += sizeof word;
    ++cigar.count;
    if ((record_format::kReferenceOps >> code & 1) != 0) cigar.span += clamp_to_int32(length);
    field.remove_prefix(digits + 1);
  }
  return cigar;
}

// Encodes `count` qualities from the start of `text`, which may run on past the field; bytes that
// the line does not have are 0xFF.
void encode_qualities(std::string_view text, std::size_t count, std::uint8_t* out) {
  const std::size_t present = std::min(text.size(), count);
  for (std::size_t i = 0; i < present; ++i) {
    out[i] = static_cast<std::uint8_t>(text[i] - record_format::kQualityOffset);
  }
  std::fill(out + present, out + count, record_format::kMissingQuality);
}

}  // namespace

constexpr std::array<std::uint8_t, 256> Alignment::cigar_rev_key = reversed("MIDNSHP=X");
constexpr std::array<std::uint8_t, 256> Alignment::seq_rev_key = reversed(kBaseLetters);

void Alignment::parse(std::string_view line, const ReferenceMap& refs) {
  namespace format = record_format;
  // Every field of the block is at most four bytes per character of its text, and the fixed ones.
  const std::size_t room = format::kName + max_encoded_tags(line.size());
  if (room > std::numeric_limits<std::int32_t>::max()) raise_invalid();
  reserve(static_cast<std::uint32_t>(room));
  std::uint8_t* const block = data_.get();

  Fields fields(line);
  const std::string_view name = fields.next();
  if (name.size() > kLongestName) raise_invalid();
  store(block + format::kFlag, static_cast<std::uint16_t>(fields.next_number()));
  const int ref_id = refs.find(fields.next());
  store<std::int32_t>(block + format::kRefId, ref_id);
  const std::int32_t pos = fields.next_position();
  store(block + format::kPos, pos);
  block[format::kMapq] = static_cast<std::uint8_t>(fields.next_number());

  std::uint8_t* out = std::copy(name.begin(), name.end(), block + format::kName);
  *out++ = 0;
  block[format::kNameLength] = static_cast<std::uint8_t>(name.size() + 1);
  const Cigar cigar = encode_cigar(fields.next(), out);
  out += 4 * static_cast<std::size_t>(cigar.count);
  store(block + format::kCigarCount, static_cast<std::uint16_t>(cigar.count));
  const int bin = reg2bin(pos, clamp_to_int32(pos + cigar.span));
  store(block + format::kBin, static_cast<std::uint16_t>(bin));

  const std::string_view mate = fields.next();
  int mate_id = refs.find(mate);
  if (mate_id == ReferenceMap::kNone && mate == "=") mate_id = ref_id;
  store<std::int32_t>(block + format::kNextRefId, mate_id);
  store(block + format::kNextPos, fields.next_position());
  store(block + format::kTlen, static_cast<std::int32_t>(fields.next_number()));

  // Kept: one would expect the whole sequence; its length is taken modulo 256.
  const std::string_view sequence = fields.next();
  const std::size_t bases = static_cast<std::uint8_t>(sequence.size());
  store(block + format::kSeqLength, static_cast<std::int32_t>(bases));
  if (!pack_bases(sequence.substr(0, bases), out)) raise_invalid();
  out += (bases + 1) / 2;

  const std::string_view rest = fields.rest();
  const std::size_t tab = rest.find('\t');
  // Kept: a "*" that ends the line is not the mark of missing qualities but quality text.
  const bool missing = tab != std::string_view::npos && rest.substr(0, tab) == FieldMissingStr;
  encode_qualities(missing ? std::string_view() : rest, bases, out);
  out += bases;
  if (tab != std::string_view::npos) out = encode_tags(rest.substr(tab + 1), out);
  block_size_ = static_cast<std::int32_t>(out - block);
}

long Alignment::strtol_idx(const std::string& text, std::size_t from, std::size_t* end, int base) {
  const std::size_t start = std::min(from, text.size());
  std::size_t used = 0;
  const long value = parse_long(std::string_view(text).substr(start), &used, base);
  if (end != nullptr) *end = start + used;
  return value;
}

float Alignment::strtof_idx(const std::string& text, std::size_t from, std::size_t* end) {
  const std::size_t start = std::min(from, text.size());
  std::size_t used = 0;
  const float value = parse_float(std::string_view(text).substr(start), &used);
  if (end != nullptr) *end = start + used;
  return value;
}

}  // namespace readkit
