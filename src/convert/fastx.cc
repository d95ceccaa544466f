#include "convert/fastx.h"

#include <algorithm>
#include <string_view>

#include "records/bases.h"
#include "records/field_text.h"

namespace readkit {
namespace {

char* write_text(std::string_view text, char* out) {
  return std::copy(text.begin(), text.end(), out);
}

std::size_t bases_of(const Alignment& record) {
  return static_cast<std::size_t>(std::max(record.l_seq(), 0));
}

// The name and the sequence with their lines' ends.
char* write_read(char mark, const Alignment& record, char* out) {
  *out++ = mark;
  out = write_text(record.read_name_text(), out);
  *out++ = '\n';
  const std::size_t bases = bases_of(record);
  if (bases == 0) {
    out = write_text(Alignment::FieldMissingStr, out);
  } else {
    unpack_bases(record.seq_bytes(), bases, out);
    out += bases;
  }
  *out++ = '\n';
  return out;
}

}  // namespace

std::size_t max_fastx(const Alignment& record) {
  constexpr std::size_t kMarksAndLineEnds = 8;
  return kMarksAndLineEnds + static_cast<std::size_t>(record.l_read_name()) +
         2 * std::max<std::size_t>(bases_of(record), 1);
}

char* write_fastq(const Alignment& record, char* out) {
  out = write_text("+\n", write_read('@', record, out));
  const std::size_t bases = bases_of(record);
  const bool present = bases > 0 && write_qualities(record.qual_bytes(), bases, out);
  out = present ? out + bases : write_text(Alignment::FieldMissingStr, out);
  *out++ = '\n';
  return out;
}

char* write_fasta(const Alignment& record, char* out) { return write_read('>', record, out); }

}  // namespace readkit
