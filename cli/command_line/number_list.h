// Lists of record numbers, as a user writes them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace readkit::cli {

/// The numbers of a list such as "1-5,9,12-", ascending, each once. `last` is the one that an open
/// range ends with; 0 when it is not known, and an open range is an error then. Raises UsageError
/// for what is no list of numbers from 1 on, and for one of more than 2^28.
std::vector<std::uint32_t> parse_number_list(const std::string& text, std::uint32_t last);

/// "a,b,c" taken apart. Raises UsageError for an empty name.
std::vector<std::string> parse_name_list(const std::string& text);

}  // namespace readkit::cli
