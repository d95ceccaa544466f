// The commands of the program, one function and one file in commands/ for each.
#pragma once

#include <vector>

#include "cli/command_line/command.h"

namespace readkit::cli {

Command call_command();
Command check_command();
Command completion_command();
Command convert_command();
Command count_command();
Command fields_command();
Command header_command();
Command index_command();
Command info_command();
Command manual_command();
Command quality_command();
Command refs_command();
Command shuffle_command();
Command sort_command();
Command view_command();

/// All of them, in the order in which help lists them.
std::vector<Command> all_commands();

}  // namespace readkit::cli
