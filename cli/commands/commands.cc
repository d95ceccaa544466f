#include "cli/commands/commands.h"

#include <utility>

namespace readkit::cli {

std::vector<Command> all_commands() {
  std::vector<Command> commands;
  for (Command (*const make)() :
       {info_command, header_command, refs_command, sort_command, shuffle_command, index_command,
        view_command, fields_command, count_command, convert_command, quality_command,
        check_command, call_command, completion_command, manual_command}) {
    commands.push_back(make());
  }
  return commands;
}

}  // namespace readkit::cli
