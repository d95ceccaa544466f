// FASTQ and FASTA text of a record.
#pragma once

#include <cstddef>

#include "records/alignment.h"

namespace readkit {

/// The most characters that `write_fastq` and `write_fasta` write for this record.
std::size_t max_fastx(const Alignment& record);

/// Write the record at `out`, which has room for `max_fastx` characters; return the end. Sequence
/// and qualities are those of the record: reverse-strand reads stay reversed, and what is missing
/// is "*".
char* write_fastq(const Alignment& record, char* out);  ///< "@name\nsequence\n+\nqualities\n"
char* write_fasta(const Alignment& record, char* out);  ///< ">name\nsequence\n"

}  // namespace readkit
