// The lines of a FASTQ file, read into buffers that grow with the longest one. A line is what
// C's text functions make of it: it ends at its newline, and its text at a NUL.
#pragma once

#include "core/file.h"
#include "gateway/host_memory.h"

namespace readkit {

/// A line's buffer, in the host's memory.
struct buffer_t {
  static constexpr int kFirstCapacity = 1000;

  buffer_t() : text(make_host_block<char>(kFirstCapacity)) {}

  HostBlock<char> text;
  int capacity = kFirstCapacity;  ///< bytes
};

/// Makes room for `size` bytes, keeping the first ones. Raises std::bad_alloc.
void bufferExpand(buffer_t* buffer, int size);

/// The length of a text up to its '\n' or NUL, less a '\r' that stands right before the '\n'.
int sequenceLength(const char* text);

/// Reads the next line into the buffer, growing it; returns its length without the line's end, 0
/// for an empty line and when there is none left. Kept: a NUL ends the text of a line; one that
/// falls on the last byte of a full buffer ends the line itself, and the rest of it is taken for
/// the next (FastqLines.NulOnTheLastByteOfAFullBufferEndsTheLine). Raises InvalidData for a line of
/// 2^31 bytes or more, std::bad_alloc.
int readLine(buffer_t* buffer, File& file);

/// What `fillBuffersFASTQ` returns in place of a length.
inline constexpr int kNoRecord = -1;
inline constexpr int kUnequalLengths = -2;

/// Reads a record of four lines: the sequence and the qualities into their buffers, the header and
/// the separator, which may be anything, before them. Returns the length of the sequence,
/// `kUnequalLengths` when it is not 0 and the qualities have another, `kNoRecord` at the end of the
/// file. Kept: an empty header line ends the file, too (FastqRecords.EmptyHeaderLineEndsTheFile).
/// Raises as `readLine`.
int fillBuffersFASTQ(buffer_t* seq, buffer_t* qual, File& file);

}  // namespace readkit
