// A slow computation of what a SAM file holds, one plain step after the other, to compare the
// library with.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace readkit {

/// The errors that a record line can end with, as `ModelSamLine::error` names them.
inline constexpr char kInvalidLine[] = "InvalidSAMFormat";
inline constexpr char kCigarEndsInDigits[] = "std::out_of_range(basic_string)";
inline constexpr char kNoNumber[] = "std::invalid_argument(stol)";
inline constexpr char kNoFloat[] = "std::invalid_argument(stof)";

/// A record line and what becomes of it.
struct ModelSamLine {
  std::string text;    ///< without the line's end
  std::string record;  ///< the record's bytes without the length word; empty after an error
  std::string error;   ///< empty when there is none
};

struct ModelSam {
  std::string header;  ///< the text of the header
  std::vector<std::pair<std::string, std::uint32_t>> refs;
  std::map<std::string, int> indexes;  ///< of the references, the later one of a repeated name
  std::vector<ModelSamLine> lines;     ///< all record lines, also behind an error
};

ModelSam model_sam(std::string_view file);
/// One record line.
ModelSamLine model_sam_line(const std::string& text, const std::map<std::string, int>& indexes);

/// What the information scan tells: sortedness, and the names with their counts.
struct ModelSamInfo {
  bool sorted = true;
  std::vector<std::string> names = {"*"};
  std::vector<std::uint32_t> counts = {0};
};
ModelSamInfo model_sam_info(std::string_view file, int requested);

/// `text` cut at every newline; a last piece without one counts when it is not empty.
std::vector<std::string> model_lines(std::string_view text);

}  // namespace readkit
