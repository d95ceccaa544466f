// The command-line program: options in, exit status out. Commands have files of their own.
#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <sstream>
#include <string>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include "cli/call.h"
#include "cli/output.h"
#include "cli/usage_error.h"
#include "host/call.h"

namespace readkit::cli {
namespace {

constexpr char kCallFooter[] =
    R"(Arguments: "text" is a character row vector, 3.5 a double, true a logical,
null an empty double array, ["a", "b"] a cell column of texts. Anything else is
spelled out, column by column:
  {"class": "uint32", "dims": [3, 1], "data": [1, 2, 3]}
Classes: double, single, int8 to int64, uint8 to uint64, logical, char, cell,
string, struct ("fields": {...} instead of "data").

Output: {"outputs": [...]} in the spelled-out form, or, with exit status 1,
{"error": {"identifier": ..., "arguments": [...], "message": ...}}.
Wrong usage has exit status 2.

Examples:
  readkit call --list
  readkit call bamIndex --args '["reads.bam", "reads.bam.bai"]'
  readkit call bamInfo --nlhs 2 --args '["reads.bam"]'
  readkit call getStartsInReference --nlhs 3 \
    --args '["reads.bam", "reads.bam.bai", 0]'
  readkit call getFeatures --nlhs 2 --args-file arguments.json
)";

void add_call(CLI::App& app, CallOptions& options) {
  CLI::App* const call = app.add_subcommand("call", "Call a library function by its name");
  call->add_option("NAME", options.function, "The function");
  call->add_option("--nlhs", options.nlhs,
                   "How many outputs to ask for (default: 1, or 0 if the function has none)")
      ->check(CLI::Range(0, host::kMaxOutputs));
  call->add_option(
          "--library", options.library,
          "The library to load: fast, exact (compresses byte for byte like zlib), or a path")
      ->capture_default_str();
  CLI::Option* const args = call->add_option("--args", options.args, "The inputs: a JSON list");
  call->add_option("--args-file", options.args_file, "A file with the inputs; - is standard input")
      ->excludes(args);
  CLI::Option* const list =
      call->add_flag("--list", options.list, "Print the names of the functions");
  call->add_flag("--quiet", options.quiet, "Make the outputs and print none of them")
      ->excludes(list);
  call->footer(kCallFooter);
}

// What the option parser has to say: help and version on standard output, the rest is wrong usage.
int answer(const CLI::App& app, const CLI::ParseError& e) {
  std::ostringstream text;
  std::ostringstream complaint;
  if (app.exit(e, text, complaint) != 0) throw UsageError(e.what());
  Output out(STDOUT_FILENO);
  out.append(text.str());
  out.finish();
  return kSuccess;
}

int run(int argc, char** argv) {
  CLI::App app("Utilities for genomic sequence-alignment files (BAM, SAM, BAI)", "readkit");
  app.set_version_flag("--version", "readkit " READKIT_VERSION);
  app.require_subcommand(0, 1);
  CallOptions call;
  add_call(app, call);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    return answer(app, e);
  }
  if (app.get_subcommands().empty()) {
    throw UsageError("a command is required, for example: readkit call --list");
  }
  if (call.list != call.function.empty()) {
    throw UsageError(call.list ? "--list takes no function name" : "NAME or --list is required");
  }
  return run_call(call);
}

}  // namespace
}  // namespace readkit::cli

int main(int argc, char** argv) {
  // A reader that goes away is an error to report, not a reason to die without a word.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return readkit::cli::run(argc, argv);
  } catch (const readkit::cli::UsageError& e) {
    std::fprintf(stderr, "readkit: %s\nreadkit --help and readkit call --help tell more.\n",
                 e.what());
    return readkit::cli::kWrongUsage;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "readkit: %s\n", e.what());
    return readkit::cli::kFailure;
  }
}
