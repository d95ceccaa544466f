// The information scan: sortedness and counts, from two fields of every line.
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <system_error>

#include "core/bytes.h"
#include "core/digits.h"
#include "core/errors.h"
#include "sam/sam.h"

namespace readkit {
namespace {

bool is_blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
// The text of a line ends at a NUL, too.
bool ends_word(char c) { return is_blank(c) || c == '\0'; }

void skip_blanks(std::string_view& text) {
  while (!text.empty() && is_blank(text[0])) text.remove_prefix(1);
}

// Takes a blank-delimited word off `text`; empty when there is none.
std::string_view take_word(std::string_view& text) {
  skip_blanks(text);
  // Blanks are among the few characters that sort before '!'.
  std::size_t length = 0;
  while (text.size() - length >= kEight) {
    const std::size_t step = first_marked(mark_below(load<std::uint64_t>(&text[length]), '!'));
    length += step;
    if (step < kEight) break;
  }
  while (length < text.size() && !ends_word(text[length])) ++length;
  const std::string_view word = text.substr(0, length);
  text.remove_prefix(length);
  return word;
}

// Takes an optional sign and digits off `text`, behind blanks; nothing without digits. Saturates
// and wraps as an unsigned conversion of the run-time library does.
std::optional<std::uint32_t> take_number(std::string_view& text) {
  skip_blanks(text);
  bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  const LeadingDigits digits = leading_digits(text);
  if (digits.count == 0) return std::nullopt;
  auto value = static_cast<std::uint64_t>(digits.value);
  const char* end = text.data() + digits.count;
  if (digits.count == LeadingDigits::kMost) {
    const auto all = std::from_chars(text.data(), text.data() + text.size(), value);
    end = all.ptr;
    if (all.ec != std::errc()) {
      value = std::numeric_limits<std::uint64_t>::max();
      negative = false;
    }
  }
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return static_cast<std::uint32_t>(negative ? 0 - value : value);
}

struct Placement {
  std::string_view reference;
  std::uint32_t position = 0;  // 1-based
};

// The third and the fourth word of a line whose second is a number; nothing for other lines.
std::optional<Placement> placement_of(std::string_view line) {
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
  ReferenceMap indexes{{Alignment::FieldMissingStr, 0}};
  int current = 0;
  std::uint32_t last = 0;
  rewind();
  if (bad()) throw SAMRead(path_.text());
  if (fail()) return;
  std::string_view line;
  while (next_line(line)) {
    const auto placement = placement_of(line);
    if (!placement) continue;
    int index = indexes.find(placement->reference);
    if (index == ReferenceMap::kNone) {
      index = static_cast<int>(indexes.size());
      indexes.insert_or_assign(std::string(placement->reference), index);
      names.emplace_back(placement->reference);
      counts.push_back(0);
    }
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
