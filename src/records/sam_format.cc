#include "records/sam_format.h"

#include <algorithm>
#include <cstring>

#include "core/number.h"
#include "records/bases.h"
#include "records/field_text.h"
#include "records/tags.h"

namespace readkit {
namespace {

constexpr std::size_t kFixedNumbers = 5;  // FLAG, POS, MAPQ, PNEXT, TLEN
constexpr std::size_t kFields = 11;       // each followed by a TAB

const Reference* reference_of(int id, const BamHeader& header) {
  return id < 0 ? nullptr : &header.get_ref(id);
}

std::size_t name_size(const Reference* reference) {
  return reference == nullptr ? 1 : reference->name().size();
}

// Exactly `size` bytes: those of `text` up to its first NUL, then NULs.
char* write_padded(std::string_view text, char* out) {
  const void* const nul = std::memchr(text.data(), '\0', text.size());
  if (nul == nullptr) return std::copy(text.begin(), text.end(), out);
  const auto length = static_cast<std::size_t>(static_cast<const char*>(nul) - text.data());
  std::copy_n(text.data(), length, out);
  return std::fill_n(out + length, text.size() - length, '\0');
}

char* write_tab(char* out) {
  *out = '\t';
  return out + 1;
}

char* write_missing(char* out) {
  *out = Alignment::FieldMissingStr[0];
  return out + 1;
}

char* write_name(const Alignment& record, char* out) {
  const auto length = static_cast<std::size_t>(record.l_read_name());
  if (length == 0) return write_missing(out);
  return write_padded({record.read_name(), length - 1}, out);
}

char* write_reference(const Reference* reference, char* out) {
  return reference == nullptr ? write_missing(out) : write_padded(reference->name(), out);
}

char* write_mate_reference(const Alignment& record, const BamHeader& header, char* out) {
  const int id = record.next_ref_id();
  if (id >= 0 && id == record.ref_id()) {
    *out = '=';
    return out + 1;
  }
  return write_reference(reference_of(id, header), out);
}

char* write_sequence_and_qualities(const Alignment& record, char* out) {
  if (record.l_seq() < 1) {
    out = write_tab(write_missing(out));
    return write_tab(write_missing(out));
  }
  const auto length = static_cast<std::size_t>(record.l_seq());
  unpack_bases(record.seq_bytes(), length, out);
  out = write_tab(out + length);
  const bool present = write_qualities(record.qual_bytes(), length, out);
  return write_tab(present ? out + length : write_missing(out));
}

}  // namespace

std::size_t max_sam_line(const Alignment& record, const BamHeader& header, bool with_tags) {
  std::size_t most = kFields + kFixedNumbers * kMaxIntegerText;
  most += std::max<std::size_t>(static_cast<std::size_t>(record.l_read_name()), 1);
  most += name_size(reference_of(record.ref_id(), header));
  most += name_size(reference_of(record.next_ref_id(), header));
  most += std::max<std::size_t>(static_cast<std::size_t>(record.n_cigar_op()) * kMaxCigarOpText, 1);
  most += 2 * std::max<std::size_t>(static_cast<std::size_t>(std::max(record.l_seq(), 0)), 1);
  if (with_tags) most += max_tags_text(record.tag_bytes(), record.data_end());
  return most;
}

char* write_sam_line(const Alignment& record, const BamHeader& header, bool with_tags, char* out) {
  out = write_tab(write_name(record, out));
  out = write_tab(format_integer(out, static_cast<std::uint32_t>(record.flag())));
  out = write_tab(write_reference(reference_of(record.ref_id(), header), out));
  out = write_tab(format_integer(out, one_based(record.pos())));
  out = write_tab(format_integer(out, static_cast<std::uint32_t>(record.mapq())));
  const int ops = record.n_cigar_op();
  out = write_tab(ops == 0 ? write_missing(out) : write_cigar(record.cigar_bytes(), ops, out));
  out = write_tab(write_mate_reference(record, header, out));
  out = write_tab(format_integer(out, one_based(record.next_pos())));
  out = write_tab(format_integer(out, std::int32_t{record.tlen()}));
  out = write_sequence_and_qualities(record, out);
  return with_tags ? write_tags(record.tag_bytes(), record.data_end(), out) : out;
}

std::unique_ptr<char[]> Alignment::to_sam_chr(const BamHeader& header, unsigned long* length,
                                              bool with_tags) const {
  auto line = std::make_unique_for_overwrite<char[]>(max_sam_line(*this, header, with_tags));
  char* const end = write_sam_line(*this, header, with_tags, line.get());
  end[-1] = '\0';  // in place of the last TAB
  *length = static_cast<unsigned long>(end - line.get());
  return line;
}

std::string Alignment::to_sam(const BamHeader& header) const {
  unsigned long length = 0;
  const std::unique_ptr<char[]> line = to_sam_chr(header, &length, true);
  return {line.get(), length - 1};
}

}  // namespace readkit
