// readkit manual: manual pages.
#include <algorithm>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/command_line/help.h"
#include "cli/commands/commands.h"
#include "cli/job/job.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

struct ManualOptions {
  std::optional<std::string> command;
  std::optional<std::string> folder;
};

void write_page(const std::string& path, const std::string& page) {
  std::ofstream file(path, std::ios::binary);
  file << page;
  file.close();
  if (!file) throw Failure(path, "cannot be written");
}

void write_all(const std::string& folder, const std::vector<Command>& commands) {
  write_page(folder + "/readkit.1", manual_page(commands));
  for (const Command& command : commands) {
    write_page(folder + "/readkit-" + command.name() + ".1", manual_page(command));
  }
}

std::string page_of(const ManualOptions& options, const std::vector<Command>& commands) {
  if (!options.command) return manual_page(commands);
  const auto found = std::find_if(
      commands.begin(), commands.end(),
      [&options](const Command& candidate) { return candidate.name() == *options.command; });
  if (found == commands.end()) throw UsageError("there is no command '" + *options.command + "'");
  return manual_page(*found);
}

int run_manual(const ManualOptions& options, Job& job) {
  const std::vector<Command> commands = all_commands();
  if (options.folder) {
    write_all(*options.folder, commands);
  } else {
    job.out().append(page_of(options, commands));
  }
  return kSuccess;
}

}  // namespace

Command manual_command() {
  const auto options = std::make_shared<ManualOptions>();
  Command command("manual", "Print a manual page, of the program or of a command");
  command.add("", text_value("COMMAND"), options->command,
              "The command; without one, the program's page");
  command.add("--all", folder_value(), options->folder,
              "Write all pages into this folder instead, as readkit.1 and readkit-COMMAND.1");
  command.example("readkit manual sort | man -l -", "Read the page of a command.");
  return command.run([options](Job& job) { return run_manual(*options, job); });
}

}  // namespace readkit::cli
