// The command-line program: words in, exit status out. Commands have files of their own.
#include <csignal>
#include <exception>
#include <string>
#include <vector>

#include "cli/command_line/command_line.h"
#include "cli/commands/commands.h"
#include "cli/job/job.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/interrupt.h"
#include "cli/terminal/messages.h"
#include "cli/terminal/output.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

constexpr char kCall[] = "call";

// With --json the error is the document.
void print_error_document(Job& job, const Failure& failure) {
  JsonWriter& json = job.begin_document();
  json.key("error");
  json.begin_object();
  json.member("file", failure.file());
  json.member("message", failure.what());
  json.member("identifier", failure.identifier());
  json.member("advice", failure.advice());
  json.end_object();
  job.end_document();
  job.out().finish();
}

int run_command(const Command& command) {
  // A bare call of a function ends as any program does that minds no signals.
  const bool is_bare = command.name() == kCall;
  if (!is_bare) catch_interrupts();
  Job job(command.name(), command.common());
  try {
    const int status = command.runner()(job);
    job.out().finish();
    return status;
  } catch (const Failure& e) {
    job.progress().end();
    job.messages().error(e);
    if (job.json() && !job.has_begun_document()) print_error_document(job, e);
  } catch (const BrokenPipe&) {
    // Of head, for example, which has seen enough.
    if (is_bare) throw;
  } catch (const Interrupted&) {
    job.progress().end();
    job.messages().error("interrupted; nothing is left behind");
    return kInterrupted;
  }
  return kFailure;
}

int run(int argc, char** argv) {
  const std::vector<Command> commands = all_commands();
  const Command* command = nullptr;
  try {
    const Request request = parse_command_line(commands, argc, argv, command);
    if (request.command == nullptr) {
      Job job({}, {});
      job.out().append(request.text);
      job.out().finish();
      return kSuccess;
    }
    command = request.command;
    return run_command(*command);
  } catch (const UsageError& e) {
    const std::string name = command == nullptr ? "" : command->name();
    const std::string help = name.empty()    ? "readkit --help tells more."
                             : name == kCall ? "readkit --help and readkit call --help tell more."
                                             : "readkit " + name + " --help tells more.";
    Messages(name == kCall ? "" : name, false).error(std::string(e.what()) + '\n' + help);
    return kWrongUsage;
  } catch (const std::exception& e) {
    Messages(command == nullptr || command->name() == kCall ? "" : command->name(), false)
        .error(e.what());
    return kFailure;
  }
}

}  // namespace
}  // namespace readkit::cli

int main(int argc, char** argv) {
  // A reader that goes away is an error, not a reason to die: what is temporary must be removed.
  std::signal(SIGPIPE, SIG_IGN);
  return readkit::cli::run(argc, argv);
}
