// The SAM line of a record, written into a buffer that the caller keeps.
#pragma once

#include <cstddef>

#include "header/bam_header.h"
#include "records/alignment.h"

namespace readkit {

/// The most bytes that `write_sam_line` writes for this record.
std::size_t max_sam_line(const Alignment& record, const BamHeader& header, bool with_tags);

/// Writes the SAM line of `record` at `out`, which has room for `max_sam_line` bytes, every field
/// followed by a TAB; returns the end, just past the last TAB (the caller puts the line's end in
/// its place). Raises as `Alignment::to_sam_chr`.
char* write_sam_line(const Alignment& record, const BamHeader& header, bool with_tags, char* out);

}  // namespace readkit
