// The information scan: sortedness and counts, from two fields of every line.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>

#include "core/errors.h"
#include "sam/sam.h"

namespace readkit {
namespace {

bool is_blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }

std::string_view skip_blanks(std::string_view text) {
  const auto* const first = std::find_if_not(text.begin(), text.end(), is_blank);
  return text.substr(static_cast<std::size_t>(first - text.begin()));
}

// Takes a blank-delimited word off `text`; empty when there is none.
std::string_view take_word(std::string_view& text) {
  text = skip_blanks(text);
  const auto* const last = std::find_if(text.begin(), text.end(), is_blank);
  const std::string_view word = text.substr(0, static_cast<std::size_t>(last - text.begin()));
  text.remove_prefix(word.size());
  return word;
}

// Takes an optional sign and digits off `text`, behind blanks; nothing without digits. Saturates
// and wraps as an unsigned conversion of the run-time library does.
std::optional<std::uint32_t> take_number(std::string_view& text) {
  text = skip_blanks(text);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  if (text.empty() || !is_digit(text[0])) return std::nullopt;
  constexpr std::uint64_t kHighest = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t value = 0;
  bool saturated = false;
  while (!text.empty() && is_digit(text[0])) {
    const auto digit = static_cast<std::uint64_t>(text[0] - '0');
    saturated = saturated || value > (kHighest - digit) / 10;
    value = value * 10 + digit;
    text.remove_prefix(1);
  }
  if (saturated) return static_cast<std::uint32_t>(kHighest);
  return static_cast<std::uint32_t>(negative ? 0 - value : value);
}

struct Placement {
  std::string_view reference;
  std::uint32_t position = 0;  // 1-based
};

// The third and the fourth word of a line whose second is a number; nothing for other lines.
std::optional<Placement> placement_of(std::string_view line) {
  line = line.substr(0, line.find('\0'));
  if (take_word(line).empty() || !take_number(line)) return std::nullopt;
  Placement placement;
  placement.reference = take_word(line);
  if (placement.reference.empty()) return std::nullopt;
  const auto position = take_number(line);
  if (!position) return std::nullopt;
  placement.position = *position;
  return placement;
}

}  // namespace

void SAM::kxsaminfo(bool& sorted, std::vector<std::uint32_t>& counts,
                    std::vector<std::string>& names, int requested) {
  sorted = true;
  counts.push_back(0);
  names.emplace_back(Alignment::FieldMissingStr);
  ReferenceMap indexes;
  indexes.max_load_factor(1.0F);
  indexes.emplace(Alignment::FieldMissingStr, 0);
  int current = 0;
  std::uint32_t last = 0;
  rewind();
  if (fail()) return;
  std::string_view line;
  while (next_line(line)) {
    const auto placement = placement_of(line);
    if (!placement) continue;
    auto found = indexes.find(placement->reference);
    if (found == indexes.end()) {
      const int next = static_cast<int>(indexes.size());
      found = indexes.emplace(placement->reference, next).first;
      names.emplace_back(placement->reference);
      counts.push_back(0);
    }
    const int index = found->second;
    ++counts[static_cast<std::size_t>(index)];
    // Without a reference, index 0, positions are not checked.
    const bool goes_back = index == current && index != 0 && placement->position < last;
    if (index < current || goes_back) {
      sorted = false;
    } else {
      current = index;
      last = placement->position;
    }
    if (requested <= 1 && !sorted) break;
  }
  if (bad()) throw SAMRead(path_.text());
}

}  // namespace readkit
