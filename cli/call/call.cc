#include "cli/call/call.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "cli/call/arguments.h"
#include "cli/call/libraries.h"
#include "cli/call/results.h"
#include "cli/command_line/nearest_names.h"
#include "cli/terminal/output.h"
#include "cli/terminal/usage_error.h"
#include "host/call.h"
#include "host/error.h"
#include "host/loader.h"

namespace readkit::cli {
namespace {

constexpr std::string_view kTooManyOutputs = "seqlab:readkit:TooManyOutputs";

// A file descriptor that is closed in the end, unless it is standard input.
class InputFile {
 public:
  explicit InputFile(const std::string& name)
      : name_(name), fd_(name == "-" ? STDIN_FILENO : open(name.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (fd_ < 0) fail("open");
  }
  ~InputFile() {
    if (fd_ != STDIN_FILENO) close(fd_);
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  std::string read_all() {
    std::string text;
    std::vector<char> piece(std::size_t{1} << 16U);
    for (;;) {
      const ssize_t n = read(fd_, piece.data(), piece.size());
      if (n == 0) return text;
      if (n > 0) text.append(piece.data(), static_cast<std::size_t>(n));
      if (n < 0 && errno != EINTR) fail("read");
    }
  }

 private:
  [[noreturn]] void fail(const char* verb) const {
    throw UsageError(std::string("cannot ") + verb + " the arguments file " + name_ + ": " +
                     std::generic_category().message(errno));
  }

  std::string name_;
  int fd_;
};

std::vector<host::Owned> inputs_of(const CallOptions& options) {
  if (options.args) return arguments_from_json(*options.args);
  if (options.args_file) return arguments_from_json(InputFile(*options.args_file).read_all());
  return {};
}

// The registered name without its namespaces.
std::string bare(const std::string& name) { return name.substr(name.rfind('.') + 1); }

[[noreturn]] void fail_unknown(const std::string& name, const host::Library& library) {
  std::string message = "there is no function '" + name + "'";
  std::vector<std::string> known = library.function_names();
  std::transform(known.begin(), known.end(), known.begin(), bare);
  for (const std::string& nearest : nearest_names(name, known, 1)) {
    message += "; did you mean " + nearest + "?";
  }
  message += "\nThe functions are:";
  for (const std::string& known_name : known) message += "\n  " + known_name;
  throw UsageError(message);
}

std::vector<host::Owned> call_for(const CallOptions& options, const host::Function& function,
                                  const std::vector<host::Owned>& inputs) {
  if (options.nlhs) return host::call(function, *options.nlhs, inputs);
  try {
    return host::call(function, 1, inputs);
  } catch (const host::HostError& e) {
    // Counts are checked before any work is done, so nothing happens twice.
    if (e.identifier() != kTooManyOutputs) throw;
    return host::call(function, 0, inputs);
  }
}

// What a run has to print: names, outputs, or the error with which the call ended.
struct Outcome {
  std::vector<std::string> names;
  std::vector<host::Owned> outputs;
  std::optional<host::HostError> error;
};

void list_or_call(const CallOptions& options, Outcome& outcome) {
  if (options.list) {
    outcome.names = host::Library(library_path(options.library)).function_names();
    return;
  }
  const std::vector<host::Owned> inputs = inputs_of(options);
  const host::Library library(library_path(options.library));
  if (!library.has(options.function)) fail_unknown(options.function, library);
  outcome.outputs = call_for(options, library.function(options.function), inputs);
  // The call always has a slot for one output; nobody who asked for none misses it.
  if (outcome.outputs.size() == 1 && !outcome.outputs[0] && options.nlhs.value_or(0) == 0) {
    outcome.outputs.clear();
  }
}

Outcome outcome_of(const CallOptions& options) {
  Outcome outcome;
  try {
    try {
      list_or_call(options, outcome);
    } catch (const UsageError&) {
      throw;
    } catch (...) {
      host::raise_as_host_error();
    }
  } catch (const host::HostError& e) {
    outcome.error = e;
  }
  return outcome;
}

}  // namespace

int run_call(const CallOptions& options) {
  // Never destroyed: the process ends with the call, and its memory goes back to the system faster
  // than millions of arrays one by one.
  static const Outcome& outcome = *new Outcome(outcome_of(options));
  Output out(STDOUT_FILENO);
  if (outcome.error) {
    std::fprintf(stderr, "readkit: %s (%s)\n", outcome.error->what(),
                 outcome.error->identifier().c_str());
    write_error(out, *outcome.error);
  } else if (options.list) {
    for (const std::string& name : outcome.names) {
      out.append(bare(name));
      out.append('\n');
    }
  } else if (!options.quiet) {
    write_outputs(out, outcome.outputs);
  }
  out.finish();
  return outcome.error ? kFailure : kSuccess;
}

}  // namespace readkit::cli
