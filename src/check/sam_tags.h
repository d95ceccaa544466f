// What is checked of the optional fields of a SAM line.
#pragma once

#include <cstdint>
#include <string_view>

#include "check/findings.h"
#include "check/tag_names.h"

namespace readkit {

/// Checks the TAB-separated fields behind the eleventh TAB of a line: their form, their types and
/// values, and that no name comes twice. `line` is the line's number; `names` serves one line after
/// the other.
void check_sam_tags(std::string_view fields, std::uint64_t line, std::uint64_t record,
                    TagNames& names, Findings& findings);

}  // namespace readkit
