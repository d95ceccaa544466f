// One run of one command: what it was told for all commands, and what all of them need.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "cli/command_line/command.h"
#include "cli/json/json_writer.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/messages.h"
#include "cli/terminal/output.h"
#include "cli/terminal/progress.h"
#include "host/array.h"
#include "host/loader.h"

namespace readkit::cli {

class Input;

class Job {
 public:
  Job(const std::string& command, const CommonOptions& options);

  bool json() const { return options_.json; }
  bool quiet() const { return options_.quiet; }
  const Messages& messages() const { return messages_; }
  Progress& progress() { return progress_; }
  /// Standard output. Progress makes room for what is printed.
  Output& out() {
    progress_.end();
    return out_;
  }

  /// Begins the one JSON document of the command, an object with the members format
  /// ("readkit-COMMAND"), version and readkit; `end_document` ends it.
  JsonWriter& begin_document(Output& out);
  JsonWriter& begin_document() { return begin_document(out_); }
  void end_document();
  /// Whether a document was begun: then it is too late for another one.
  bool has_begun_document() const { return json_.has_value(); }

  /// Calls a function of the library, asking for `nlhs` outputs. Inputs are texts, numbers, truth
  /// values, or arrays. Raises Failure for the library's errors, and Interrupted.
  template <typename... Inputs>
  std::vector<host::Owned> call(const char* function, int nlhs, Inputs&&... inputs) {
    std::vector<host::Owned> made;
    made.reserve(sizeof...(inputs));
    (made.push_back(array_of(std::forward<Inputs>(inputs))), ...);
    return call_with(function, nlhs, made);
  }
  /// The same for inputs that are used again.
  std::vector<host::Owned> call_with(const char* function, int nlhs,
                                     const std::vector<host::Owned>& inputs);

  /// From here on messages call the file or folder at `path`, and what is in it, `name`.
  void show_as(const std::string& path, const std::string& name);
  /// The file whose reading is the work of the command, and that is blamed by errors that name
  /// none. It must live as long as calls are made.
  void set_main_input(const Input& input);

 private:
  static host::Owned array_of(const std::string& text) { return host::make_text(text); }
  static host::Owned array_of(const char* text) { return host::make_text(std::string_view(text)); }
  static host::Owned array_of(host::Owned&& array) { return std::move(array); }
  template <typename T>
  requires std::is_arithmetic_v<T>
  static host::Owned array_of(T number) {
    if constexpr (std::is_same_v<T, bool>) return host::make_scalar(number);
    return host::make_scalar(static_cast<double>(number));
  }
  std::string shown(const std::string& path) const;
  Failure located(const Failure& failure);

  std::string command_;
  CommonOptions options_;
  Messages messages_;
  Progress progress_;
  Output out_;
  std::optional<JsonWriter> json_;
  std::optional<host::Library> library_;
  std::vector<std::pair<std::string, std::string>> names_;
  std::string main_file_;
  const Input* main_input_ = nullptr;
};

}  // namespace readkit::cli
