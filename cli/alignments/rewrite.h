// What sorting and shuffling share: a file in, the same records in another order out.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "cli/command_line/command.h"
#include "cli/job/input.h"

namespace readkit::cli {

struct RewriteOptions {
  std::string input;
  std::string output = "-";
  bool force = false;
  std::optional<std::int64_t> seed;
};

void add_rewrite_options(Command& command, RewriteOptions& options);

/// Calls `function`, which takes the input, the output without its ending, and the seed where there
/// is one. Returns the exit status.
int rewrite(Job& job, const Input& input, const RewriteOptions& options, const char* function);

}  // namespace readkit::cli
