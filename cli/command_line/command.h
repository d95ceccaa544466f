// One command of the program as data: its names, what it takes, what it does. Parsing, help, manual
// pages and shell completions are all made of this.
//
//   Command sort_command() {
//     auto options = std::make_shared<SortOptions>();
//     Command command("sort", "Sort a BAM or SAM file by coordinate");
//     command.add("", file_value(), options->input, "The file to sort");
//     command.add("-o,--output", file_value(), options->output, "...");
//     command.run([options](Job& job) { return sort(*options, job); });
//     return command;
//   }
//
// A runner keeps what its options are stored in, so that it lives as long as the command.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace readkit::cli {

class Job;

/// What a shell completes a value with.
enum class Completion : std::uint8_t { kNothing, kFile, kFolder };

/// What stands for a value in help, and which values there are.
struct Value {
  std::string name;  ///< For example "FILE"; empty for a flag, which takes none.
  Completion completion = Completion::kNothing;
  std::vector<std::string> choices = {};  ///< The only values; empty for any.
};
Value file_value(std::string name = "FILE");
Value folder_value(std::string name = "DIR");
Value text_value(std::string name);
Value choice_value(std::string name, std::vector<std::string> choices);

/// An option, a flag or a positional argument.
struct Parameter {
  std::string names;  ///< "-o,--output"; empty for a positional argument.
  Value value;
  std::string help;
  bool required = false;
  bool repeated = false;
  /// Stores the values that were given (none for a flag). Raises UsageError.
  std::function<void(const std::vector<std::string>&)> assign;

  bool is_positional() const { return names.empty(); }
  bool is_flag() const { return value.name.empty(); }
  /// "-o" and "--output" of "-o,--output".
  std::vector<std::string> spellings() const;
};

/// A command line and what it does.
struct Example {
  std::string command;
  std::string meaning;
};

/// The options that commands share.
struct CommonOptions {
  bool json = false;
  bool quiet = false;
  std::optional<bool> progress;  ///< Unless given: where standard error is a terminal.
  std::string library = "fast";
};

class Command {
 public:
  using Runner = std::function<int(Job&)>;

  /// `summary` is a line without a full stop.
  Command(std::string name, std::string summary);

  // ---- Describing it -------------------------------------------------------------------------

  /// What help says behind the usage line. Lines are broken where they do not fit.
  Command& describe(std::string text);
  /// What help says behind the options; lines stay as they are.
  Command& note(std::string text);
  Command& example(std::string line, std::string meaning);

  /// Adds an option with these names, or without names a positional argument, which is required
  /// unless its target is optional or a list. The target must live as long as the runner.
  Parameter& add(std::string names, Value value, std::string& target, std::string help);
  Parameter& add(std::string names, Value value, std::optional<std::string>& target,
                 std::string help);
  /// One that may come several times.
  Parameter& add(std::string names, Value value, std::vector<std::string>& target,
                 std::string help);
  /// A whole number from `least` to `most`.
  Parameter& add_number(std::string names, std::string value_name, std::int64_t least,
                        std::int64_t most, std::optional<std::int64_t>& target, std::string help);
  /// A flag that sets `target` to `value`.
  Parameter& add_flag(std::string names, bool& target, std::string help, bool value = true);
  Parameter& add_flag(std::string names, std::optional<bool>& target, std::string help,
                      bool value = true);
  /// --json, --quiet, --progress, --no-progress and --library.
  Command& add_common();

  /// What the command does; the result is the exit status.
  Command& run(Runner runner);

  // ---- Using it ------------------------------------------------------------------------------

  const std::string& name() const { return name_; }
  const std::string& summary() const { return summary_; }
  const std::string& description() const { return description_; }
  const std::string& notes() const { return notes_; }
  const std::vector<Example>& examples() const { return examples_; }
  const std::vector<Parameter>& parameters() const { return parameters_; }
  const CommonOptions& common() const { return *common_; }
  const Runner& runner() const { return runner_; }

 private:
  Parameter& append(std::string names, Value value, std::string help);

  std::string name_;
  std::string summary_;
  std::string description_;
  std::string notes_;
  std::vector<Example> examples_;
  std::vector<Parameter> parameters_;
  std::shared_ptr<CommonOptions> common_;
  Runner runner_;
};

}  // namespace readkit::cli
