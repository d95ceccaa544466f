#include "cli/json/json_writer.h"

#include <array>
#include <charconv>
#include <cmath>

#include "cli/json/json_string.h"

namespace readkit::cli {

void JsonWriter::new_line() {
  out_.append('\n');
  for (std::size_t i = 0; i < levels_.size(); ++i) out_.append("  ");
}

void JsonWriter::before_value(bool container) {
  if (after_key_) {
    after_key_ = false;
    return;
  }
  if (levels_.empty()) return;
  Level& level = levels_.back();
  if (!level.empty) out_.append(container ? "," : ", ");
  level.empty = false;
  if (container) {
    level.on_lines = true;
    new_line();
  }
}

void JsonWriter::key(std::string_view name) {
  Level& level = levels_.back();
  if (!level.empty) out_.append(',');
  level.empty = false;
  level.on_lines = true;
  new_line();
  write_json_string(out_, name);
  out_.append(": ");
  after_key_ = true;
}

void JsonWriter::begin(char bracket) {
  before_value(true);
  out_.append(bracket);
  levels_.emplace_back();
}

void JsonWriter::end(char bracket) {
  const bool on_lines = levels_.back().on_lines;
  levels_.pop_back();
  if (on_lines) new_line();
  out_.append(bracket);
  if (levels_.empty()) out_.append('\n');
}

void JsonWriter::raw(std::string_view text) {
  before_value(false);
  out_.append(text);
}

void JsonWriter::value(std::string_view text) {
  before_value(false);
  write_json_string(out_, text);
}

void JsonWriter::value(double number) {
  // JSON has no word for these.
  if (!std::isfinite(number)) return null();
  std::array<char, 32> digits;
  const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  raw(std::string_view(digits.data(), static_cast<std::size_t>(end - digits.data())));
}

}  // namespace readkit::cli
