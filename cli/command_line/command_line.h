// From the words of a command line to the command that they ask for.
#pragma once

#include <string>
#include <vector>

#include "cli/command_line/command.h"

namespace readkit::cli {

/// What a command line asks for: a command whose parameters have been stored, or a text to print.
struct Request {
  const Command* command = nullptr;
  std::string text;  ///< Help or version, for standard output; without a command.
};

/// Raises UsageError, after setting `blamed` to the command that was named, if any.
Request parse_command_line(const std::vector<Command>& commands, int argc, const char* const* argv,
                           const Command*& blamed);

}  // namespace readkit::cli
