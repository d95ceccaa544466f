// The command `readkit call`: one call of one library function.
#pragma once

#include <optional>
#include <string>

namespace readkit::cli {

struct CallOptions {
  std::string function;
  std::string library = "fast";
  /// The inputs as JSON text, or the file that holds it ("-" is standard input); neither: no input.
  std::optional<std::string> args;
  std::optional<std::string> args_file;
  /// How many outputs to ask for; by default one, or none from a function that has none to give.
  std::optional<int> nlhs;
  /// Print the names of the functions and call none.
  bool list = false;
  /// Make the outputs that are asked for and drop them unprinted; errors are printed all the same.
  bool quiet = false;
};

/// Prints the outputs (none when `quiet`), or the error with which the call ended, and returns the
/// exit status. Raises UsageError, before anything is called, and OutputError.
int run_call(const CallOptions& options);

}  // namespace readkit::cli
