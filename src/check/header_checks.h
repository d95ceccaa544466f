// What is checked of a header: the lines of its text, and the text against the dictionary of
// references.
#pragma once

#include <cstdint>
#include <string_view>

#include "check/findings.h"
#include "header/bam_header.h"

namespace readkit {

/// One "@SQ" line: its name, empty when it has none, and its length, 0 when it has none or one that
/// is no number from 1 to 2^31 - 1.
struct SequenceLine {
  std::string_view name;
  std::uint32_t length = 0;
};

/// Checks a line of header text without its line's end: "@", two letters, and, comments apart,
/// fields of two characters, a colon and a value; the name and length of an "@SQ" line. `offset` is
/// the finding's. Returns whether it is an "@SQ" line, and through `sequence` what that says.
bool check_header_line(std::string_view line, std::uint64_t offset, Findings& findings,
                       SequenceLine* sequence);

/// Whether a reference may have this name: printable characters without backslash, comma, quotes
/// and brackets, the first one neither "*" nor "=".
bool is_reference_name(std::string_view name);

/// Checks the text of a BAM header and its dictionary against each other; a text without any "@SQ"
/// line leaves the dictionary to itself. `offset` is that of all findings.
void check_header(const BamHeader& header, std::uint64_t offset, Findings& findings);

/// Whether the text's first line states coordinate order.
bool states_coordinate_order(std::string_view text);

}  // namespace readkit
