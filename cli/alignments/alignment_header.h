// The header of a BAM or SAM file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/job/input.h"

namespace readkit::cli {

class Job;

struct Reference {
  std::string name;
  std::uint64_t length = 0;
};

struct AlignmentHeader {
  std::string text;
  /// Of a BAM file those of its dictionary, of a SAM file those of the text's @SQ lines.
  std::vector<Reference> references;
};

/// REQUIRES: `input` is BAM or SAM.
AlignmentHeader read_header(Job& job, const Input& input);

/// The values of the field `tag` ("SO") in the lines of the type `type` ("@HD"), one for each line
/// that has it.
std::vector<std::string> header_fields(std::string_view text, std::string_view type,
                                       std::string_view tag);
/// The number of lines of a type.
std::size_t count_header_lines(std::string_view text, std::string_view type);

}  // namespace readkit::cli
