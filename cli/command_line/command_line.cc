#include "cli/command_line/command_line.h"

#include <algorithm>
#include <map>
#include <memory>
#include <string_view>

#include <CLI/CLI.hpp>

#include "cli/command_line/help.h"
#include "cli/command_line/nearest_names.h"
#include "cli/command_line/version.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

void add_parameter(CLI::App& app, const Parameter& parameter) {
  if (parameter.is_flag()) {
    app.add_flag_callback(parameter.names, [&parameter] { parameter.assign({}); });
    return;
  }
  const auto store = [&parameter](const CLI::results_t& values) {
    parameter.assign(values);
    return true;
  };
  const std::string& name = parameter.is_positional() ? parameter.value.name : parameter.names;
  CLI::Option* const option = app.add_option(name, store);
  option->type_name(parameter.value.name)->required(parameter.required);
  if (parameter.repeated) {
    // Otherwise an option would swallow the positional arguments behind it.
    option->expected(parameter.is_positional() ? -1 : 1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    if (parameter.is_positional() && !parameter.required) option->expected(0, 1 << 20);
  }
}

// -h is help, unless the command means something else by it, as its peers do.
const char* help_flags(const Command& command) {
  for (const Parameter& parameter : command.parameters()) {
    for (const std::string& name : parameter.spellings()) {
      if (name == "-h") return "--help";
    }
  }
  return "-h,--help";
}

// Options that users of other tools type out of habit, and what to tell them.
struct Habit {
  const char* command;  // null for every command
  std::string_view option;
  const char* answer;
};
constexpr Habit kHabits[] = {
    {nullptr, "-@", "-@ is not there: one thread does the work"},
    {nullptr, "--threads", "--threads is not there: one thread does the work"},
    {"sort", "-n", "-n is not there: records are sorted by coordinate only"},
    {"sort", "-m", "-m is not there: the memory is chosen by what is free"},
    {"view", "-b", "-b is not there: view prints text, and readkit convert writes BAM"},
    {"view", "-f", "-f is not there: records are not filtered by flags"},
    {"view", "-F", "-F is not there: records are not filtered by flags"},
};

void answer_habits(const Command* command, int argc, const char* const* argv) {
  for (const Habit& habit : kHabits) {
    const bool applies =
        command != nullptr && (habit.command == nullptr || command->name() == habit.command);
    const auto typed = [&habit](const char* word) {
      return std::string_view(word).starts_with(habit.option);
    };
    if (applies && std::any_of(argv, argv + argc, typed)) throw UsageError(habit.answer);
  }
}

[[noreturn]] void fail_unknown(const std::vector<Command>& commands, const std::string& name) {
  std::vector<std::string> known;
  known.reserve(commands.size());
  for (const Command& command : commands) known.push_back(command.name());
  std::string message = "there is no command '" + name + "'";
  for (const std::string& nearest : nearest_names(name, known, 1)) {
    message += "; did you mean " + nearest + "?";
  }
  throw UsageError(message);
}

// "help" and "help COMMAND", which people type, are "--help" and "COMMAND --help".
std::vector<std::string> words_of(int argc, const char* const* argv) {
  std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
  if (!words.empty() && words.front() == "help") {
    words.erase(words.begin());
    words.emplace_back("--help");
  }
  // The parser takes them from the last to the first.
  std::reverse(words.begin(), words.end());
  return words;
}

}  // namespace

Request parse_command_line(const std::vector<Command>& commands, int argc, const char* const* argv,
                           const Command*& blamed) {
  CLI::App app(kProgramSummary, "readkit");
  app.set_help_flag("-h,--help");
  app.set_version_flag("--version", version_text());
  app.require_subcommand(0, 1);
  std::map<const CLI::App*, const Command*> command_of;
  for (const Command& command : commands) {
    CLI::App* const sub = app.add_subcommand(command.name());
    command_of[sub] = &command;
    sub->set_help_flag(help_flags(command));
    for (const Parameter& parameter : command.parameters()) add_parameter(*sub, parameter);
  }
  const auto named = [&]() -> const Command* {
    const std::vector<CLI::App*> subs = app.get_subcommands();
    return subs.empty() ? nullptr : command_of.at(subs.front());
  };
  try {
    app.parse(words_of(argc, argv));
  } catch (const CLI::CallForHelp&) {
    return {nullptr, named() == nullptr ? help_text(commands) : help_text(*named())};
  } catch (const CLI::CallForVersion&) {
    return {nullptr, version_text() + "\n"};
  } catch (const CLI::ParseError& e) {
    blamed = named();
    if (blamed == nullptr && argc > 1 && *argv[1] != '-') fail_unknown(commands, argv[1]);
    answer_habits(blamed, argc, argv);
    throw UsageError(e.what());
  } catch (const UsageError&) {
    blamed = named();
    throw;
  }
  if (named() == nullptr) {
    throw UsageError("a command is required, for example: readkit info reads.bam");
  }
  return {named(), {}};
}

}  // namespace readkit::cli
