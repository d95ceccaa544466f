#include "cli/command_line/command.h"

#include <algorithm>
#include <charconv>
#include <system_error>
#include <utility>

#include "cli/command_line/joined.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

void check_choice(const Parameter& parameter, const std::string& text) {
  const std::vector<std::string>& choices = parameter.value.choices;
  if (choices.empty() || std::find(choices.begin(), choices.end(), text) != choices.end()) return;
  throw UsageError(
      (parameter.is_positional() ? parameter.value.name : parameter.spellings().back()) + ": '" +
      text + "' is none of " + joined(choices));
}

// The function that stores texts, after a look at each.
template <typename Store>
std::function<void(const std::vector<std::string>&)> checked(const Parameter& parameter,
                                                             Store store) {
  return [parameter = Parameter(parameter), store](const std::vector<std::string>& texts) {
    for (const std::string& text : texts) check_choice(parameter, text);
    store(texts);
  };
}

}  // namespace

Value file_value(std::string name) { return {std::move(name), Completion::kFile}; }
Value folder_value(std::string name) { return {std::move(name), Completion::kFolder}; }
Value text_value(std::string name) { return {std::move(name)}; }
Value choice_value(std::string name, std::vector<std::string> choices) {
  return {std::move(name), Completion::kNothing, std::move(choices)};
}

std::vector<std::string> Parameter::spellings() const {
  std::vector<std::string> found;
  for (std::size_t at = 0; at < names.size();) {
    const std::size_t comma = std::min(names.find(',', at), names.size());
    found.push_back(names.substr(at, comma - at));
    at = comma + 1;
  }
  return found;
}

Command::Command(std::string name, std::string summary)
    : name_(std::move(name)),
      summary_(std::move(summary)),
      common_(std::make_shared<CommonOptions>()) {}

Command& Command::describe(std::string text) {
  description_ = std::move(text);
  return *this;
}

Command& Command::note(std::string text) {
  notes_ = std::move(text);
  return *this;
}

Command& Command::example(std::string line, std::string meaning) {
  examples_.push_back({std::move(line), std::move(meaning)});
  return *this;
}

Parameter& Command::append(std::string names, Value value, std::string help) {
  Parameter& parameter = parameters_.emplace_back();
  parameter.names = std::move(names);
  parameter.value = std::move(value);
  parameter.help = std::move(help);
  return parameter;
}

Parameter& Command::add(std::string names, Value value, std::string& target, std::string help) {
  Parameter& parameter = append(std::move(names), std::move(value), std::move(help));
  parameter.required = parameter.is_positional();
  parameter.assign = checked(parameter, [&target](const auto& texts) { target = texts.front(); });
  return parameter;
}

Parameter& Command::add(std::string names, Value value, std::optional<std::string>& target,
                        std::string help) {
  Parameter& parameter = append(std::move(names), std::move(value), std::move(help));
  parameter.assign = checked(parameter, [&target](const auto& texts) { target = texts.front(); });
  return parameter;
}

Parameter& Command::add(std::string names, Value value, std::vector<std::string>& target,
                        std::string help) {
  Parameter& parameter = append(std::move(names), std::move(value), std::move(help));
  parameter.repeated = true;
  parameter.assign = checked(parameter, [&target](const auto& texts) { target = texts; });
  return parameter;
}

Parameter& Command::add_number(std::string names, std::string value_name, std::int64_t least,
                               std::int64_t most, std::optional<std::int64_t>& target,
                               std::string help) {
  Parameter& parameter =
      append(std::move(names), text_value(std::move(value_name)), std::move(help));
  const std::string name = parameter.spellings().back();
  parameter.assign = [name, least, most, &target](const std::vector<std::string>& texts) {
    const std::string& text = texts.front();
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < least ||
        number > most) {
      throw UsageError(name + ": Value " + text + " not in range " + std::to_string(least) +
                       " to " + std::to_string(most));
    }
    target = number;
  };
  return parameter;
}

Parameter& Command::add_flag(std::string names, bool& target, std::string help, bool value) {
  Parameter& parameter = append(std::move(names), Value{}, std::move(help));
  parameter.assign = [&target, value](const auto& /*none*/) { target = value; };
  return parameter;
}

Parameter& Command::add_flag(std::string names, std::optional<bool>& target, std::string help,
                             bool value) {
  Parameter& parameter = append(std::move(names), Value{}, std::move(help));
  parameter.assign = [&target, value](const auto& /*none*/) { target = value; };
  return parameter;
}

Command& Command::add_common() {
  add_flag("--json", common_->json, "Print one JSON document instead of text");
  add_flag("-q,--quiet", common_->quiet, "Print no warnings, notes or progress");
  add_flag("--progress", common_->progress,
           "Show progress on standard error (done by itself on a terminal)");
  add_flag("--no-progress", common_->progress, "Show no progress", false);
  add("--library", text_value("LIB"), common_->library,
      "The library to load: fast, exact (compresses byte for byte like zlib), or a path; "
      "default: fast");
  return *this;
}

Command& Command::run(Runner runner) {
  runner_ = std::move(runner);
  return *this;
}

}  // namespace readkit::cli
