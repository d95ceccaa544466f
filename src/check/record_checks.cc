#include "check/record_checks.h"

#include <algorithm>
#include <string_view>

#include "check/characters.h"
#include "records/bins.h"
#include "records/tags.h"

namespace readkit {
namespace {

constexpr unsigned kLastOp = 8;
constexpr std::uint8_t kHighestQuality = 93;
constexpr std::size_t kNameSize = 2;  // of an optional field

// Where the ops really are, which Alignment::cigar_bytes does not tell for long names.
const std::uint8_t* ops_of(const Alignment& record) {
  return record.data() + record_format::kName + record.l_read_name();
}

struct CigarSpans {
  std::int64_t reference = 0;
  std::int64_t sequence = 0;
  bool is_known = true;  // every op code
};

CigarSpans spans_of(const Alignment& record) {
  CigarSpans spans;
  const std::uint8_t* op = ops_of(record);
  for (int i = 0; i < record.n_cigar_op(); ++i, op += 4) {
    const auto word = load<std::uint32_t>(op);
    const unsigned code = word & 0xF;
    const std::int64_t length = word >> 4;
    spans.reference += (record_format::kReferenceOps >> code & 1) != 0 ? length : 0;
    spans.sequence += (record_format::kSequenceOps >> code & 1) != 0 ? length : 0;
    spans.is_known = spans.is_known && code <= kLastOp;
  }
  return spans;
}

std::int64_t end_of(const Alignment& record, std::int64_t span) {
  return record.pos() + std::max<std::int64_t>(span, 1);
}

// What is wrong with the value of a whole field; empty for nothing.
std::string_view complaint_about(const std::uint8_t* field, std::int64_t size) {
  const std::uint8_t type = field[kNameSize];
  const std::uint8_t* const value = field + kNameSize + 1;
  const std::uint8_t* const last = field + size - 1;
  if (type == 'Z' || type == 'H') {
    if (last < value || *last != 0) return "no NUL ends its text";
    const bool is_bytes = (last - value) % 2 == 0 && std::all_of(value, last, is_hex_digit);
    if (type == 'H' && !is_bytes) return "its text is not of pairs of hexadecimal digits";
  }
  if (type == 'A' && !is_printable(*value)) return "its character cannot be printed";
  if (type == 'B' && load<std::int32_t>(value + 1) < 0) return "its array has a negative length";
  if (type == 'B' &&
      std::string_view("cCsSiIf").find(static_cast<char>(*value)) == std::string_view::npos) {
    return "its array is of an unknown type";
  }
  return {};
}

}  // namespace

std::int64_t covered_end(const Alignment& record) {
  return end_of(record, spans_of(record).reference);
}

RecordChecks::RecordChecks(const std::vector<Reference>* references, Findings& findings)
    : references_(references), findings_(findings) {}

void RecordChecks::check(const Alignment& record, std::uint64_t offset, std::uint64_t ordinal) {
  offset_ = offset;
  ordinal_ = ordinal;
  names_.start();
  check_name(record);
  check_reference(FindingKind::kReference, FindingKind::kPosition, record.ref_id(), record.pos());
  check_reference(FindingKind::kMateReference, FindingKind::kMatePosition, record.next_ref_id(),
                  record.next_pos());
  check_cigar(record);
  check_qualities(record);
  check_tags(record);
}

void RecordChecks::check_name(const Alignment& record) {
  const auto* const name = reinterpret_cast<const std::uint8_t*>(record.read_name());
  const int length = record.l_read_name() - 1;
  if (length < 1 || name[length] != 0) {
    add(FindingKind::kReadName, "the name is empty or has no NUL at its end");
  } else if (!std::all_of(name, name + length, is_of_name)) {
    add(FindingKind::kReadName, "the name has an @ or characters that cannot be printed");
  }
}

void RecordChecks::check_reference(FindingKind index_kind, FindingKind position_kind, int index,
                                   int pos) {
  const bool is_beyond = references_ != nullptr && index >= 0 &&
                         static_cast<std::size_t>(index) >= references_->size();
  if (index < -1 || is_beyond) {
    add(index_kind, "there is no reference ", index);
    return;
  }
  const bool has_length = references_ != nullptr && index >= 0;
  const std::int64_t length =
      has_length ? (*references_)[static_cast<std::size_t>(index)].l_ref : kMaxReferenceLength << 2;
  if (pos < -1 || pos >= length) {
    add(position_kind, "position ", std::int64_t{pos} + 1, " lies outside of reference ", index,
        " of length ", length);
  }
}

void RecordChecks::check_cigar(const Alignment& record) {
  const CigarSpans spans = spans_of(record);
  if (!spans.is_known) add(FindingKind::kCigarOp, "the CIGAR has an op of no known kind");
  const int bases = record.l_seq();
  if (spans.is_known && record.n_cigar_op() > 0 && bases > 0 && spans.sequence != bases) {
    add(FindingKind::kCigarLength, "the CIGAR covers ", spans.sequence, " bases of a sequence of ",
        bases);
  }
  const std::int64_t end = end_of(record, spans.reference);
  const int ref = record.ref_id();
  const bool is_mapped = (record.flag() & record_format::kUnmapped) == 0;
  if (is_mapped && references_ != nullptr && ref >= 0 && record.pos() >= 0 &&
      static_cast<std::size_t>(ref) < references_->size()) {
    const std::int64_t length = (*references_)[static_cast<std::size_t>(ref)].l_ref;
    if (record.pos() < length && end > length) {
      add(FindingKind::kPosition, "the alignment ends at ", end, ", behind the end of reference ",
          ref, " of length ", length);
    }
  }
  check_bin(record, end);
}

void RecordChecks::check_bin(const Alignment& record, std::int64_t end) {
  if (record.pos() < -1 || end > kMaxReferenceLength) return;  // no bin has room for these
  const int bin = reg2bin(record.pos(), static_cast<int>(end));
  if (record.bin() == bin) return;
  // A record that is not mapped covers one base, whatever CIGAR it has.
  const bool is_mapped = (record.flag() & record_format::kUnmapped) == 0;
  if (!is_mapped && record.bin() == reg2bin(record.pos(), record.pos() + 1)) return;
  add(FindingKind::kBin, "the bin is ", record.bin(), ", the positions give ", bin);
}

void RecordChecks::check_qualities(const Alignment& record) {
  const std::uint8_t* const first = record.qual_bytes();
  const std::uint8_t* const last = first + record.l_seq();
  std::uint8_t highest = 0;
  for (const std::uint8_t* q = first; q < last; ++q) highest = std::max(highest, *q);
  if (highest <= kHighestQuality) return;
  const auto is_missing = [](std::uint8_t q) { return q == record_format::kMissingQuality; };
  if (std::all_of(first, last, is_missing)) return;
  add(FindingKind::kQuality, "a quality is ", unsigned{highest}, ", beyond ",
      unsigned{kHighestQuality});
}

void RecordChecks::check_tags(const Alignment& record) {
  const std::uint8_t* const end = record.data_end();
  const std::uint8_t* field = record.tag_bytes();
  while (field < end) {
    const std::int64_t size = end - field > 3 ? tag_size_within(field, end) : -1;
    if (size < 0) {
      add(FindingKind::kTag, "optional fields: ", end - field,
          " bytes at their end are no field of a known type");
      return;
    }
    const std::string_view name(reinterpret_cast<const char*>(field), kNameSize);
    if (!is_letter(field[0]) || !(is_letter(field[1]) || is_digit(field[1]))) {
      add(FindingKind::kTag, "the name of an optional field is not a letter and a letter or digit");
    } else if (!names_.add(field[0], field[1])) {
      add(FindingKind::kTagRepeated, "optional field ", name, " comes again");
    }
    const std::string_view complaint = complaint_about(field, size);
    if (!complaint.empty()) add(FindingKind::kTag, "optional field ", name, ": ", complaint);
    field += size;
  }
}

}  // namespace readkit
