// readkit completion: scripts for shells.
#include "cli/command_line/completion.h"

#include <memory>
#include <string>

#include "cli/commands/commands.h"
#include "cli/job/job.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {

Command completion_command() {
  const auto shell = std::make_shared<std::string>();
  Command command("completion", "Print a script that teaches a shell to complete readkit");
  command.add("", choice_value("SHELL", {"bash", "zsh", "fish"}), *shell, "The shell");
  command.example("readkit completion bash >~/.local/share/bash-completion/completions/readkit",
                  "For bash, with the package bash-completion.");
  command.example("source <(readkit completion zsh)", "For the running zsh, after compinit.");
  command.example("readkit completion fish >~/.config/fish/completions/readkit.fish", "For fish.");
  return command.run([shell](Job& job) {
    const std::vector<Command> commands = all_commands();
    job.out().append(*shell == "bash"  ? bash_completion(commands)
                     : *shell == "zsh" ? zsh_completion(commands)
                                       : fish_completion(commands));
    return kSuccess;
  });
}

}  // namespace readkit::cli
