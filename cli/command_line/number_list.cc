#include "cli/command_line/number_list.h"

#include <algorithm>
#include <charconv>
#include <system_error>

#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

constexpr std::uint64_t kMostNumbers = std::uint64_t{1} << 28;

[[noreturn]] void fail(const std::string& text) {
  throw UsageError("'" + text +
                   "' is no list of record numbers: write for example 1-100,250, "
                   "counted from 1");
}

std::uint32_t number(const std::string& text, const std::string& list) {
  std::uint32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value == 0) fail(list);
  return value;
}

}  // namespace

std::vector<std::string> parse_name_list(const std::string& text) {
  std::vector<std::string> names;
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t comma = std::min(text.find(',', at), text.size());
    if (comma == at) throw UsageError("'" + text + "': a name in the list is empty");
    names.push_back(text.substr(at, comma - at));
    at = comma + 1;
  }
  return names;
}

std::vector<std::uint32_t> parse_number_list(const std::string& text, std::uint32_t last) {
  std::vector<std::uint32_t> numbers;
  for (const std::string& part : parse_name_list(text)) {
    const std::size_t dash = part.find('-');
    const std::uint32_t from = number(part.substr(0, dash), text);
    std::uint32_t to = from;
    if (dash != std::string::npos) {
      const std::string end = part.substr(dash + 1);
      if (end.empty() && last == 0) {
        throw UsageError("'" + text +
                         "': how many records there are is not known here; write the "
                         "end of the range");
      }
      to = end.empty() ? std::max(last, from) : number(end, text);
    }
    if (to < from) fail(text);
    if (numbers.size() + (std::uint64_t{to} - from + 1) > kMostNumbers) {
      throw UsageError("'" + text + "' has more than " + std::to_string(kMostNumbers) +
                       " numbers; ask for fewer at a time");
    }
    for (std::uint64_t i = from; i <= to; ++i) numbers.push_back(static_cast<std::uint32_t>(i));
  }
  std::sort(numbers.begin(), numbers.end());
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
  return numbers;
}

}  // namespace readkit::cli
