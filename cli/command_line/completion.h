// Scripts that teach a shell to complete the program's commands, options and values.
#pragma once

#include <string>
#include <vector>

#include "cli/command_line/command.h"

namespace readkit::cli {

std::string bash_completion(const std::vector<Command>& commands);
std::string zsh_completion(const std::vector<Command>& commands);
std::string fish_completion(const std::vector<Command>& commands);

}  // namespace readkit::cli
