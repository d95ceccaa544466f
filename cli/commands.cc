#include "cli/commands.h"

#include <utility>

namespace readkit::cli {

std::vector<Command> all_commands() {
  std::vector<Command> commands;
  for (Command (*const make)() : {info_command, header_command, refs_command, sort_command,
                                  shuffle_command, index_command, quality_command, call_command}) {
    commands.push_back(make());
  }
  return commands;
}

}  // namespace readkit::cli
