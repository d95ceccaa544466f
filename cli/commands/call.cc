// readkit call: any function of the library, with inputs and outputs as JSON.
#include "cli/call/call.h"

#include <memory>
#include <optional>
#include <string>

#include "cli/commands/commands.h"
#include "cli/terminal/usage_error.h"
#include "host/call.h"

namespace readkit::cli {
namespace {

constexpr char kNotes[] =
    R"(Arguments: "text" is a character row vector, 3.5 a double, true a logical,
null an empty double array, ["a", "b"] a cell column of texts. Anything else is
spelled out, column by column:
  {"class": "uint32", "dims": [3, 1], "data": [1, 2, 3]}
Classes: double, single, int8 to int64, uint8 to uint64, logical, char, cell,
string, struct ("fields": {...} instead of "data").

Output: {"outputs": [...]} in the spelled-out form, or, with exit status 1,
{"error": {"identifier": ..., "arguments": [...], "message": ...}}.
Wrong usage has exit status 2.
)";

struct CallCommandOptions {
  CallOptions call;
  std::optional<std::string> function;
  std::optional<std::int64_t> nlhs;
};

int run_call_command(CallCommandOptions& options) {
  CallOptions& call = options.call;
  if (options.function) call.function = *options.function;
  if (options.nlhs) call.nlhs = static_cast<int>(*options.nlhs);
  if (call.args && call.args_file) throw UsageError("--args excludes --args-file");
  if (call.list && call.quiet) throw UsageError("--list excludes --quiet");
  if (call.list != call.function.empty()) {
    throw UsageError(call.list ? "--list takes no function name" : "NAME or --list is required");
  }
  return run_call(call);
}

}  // namespace

Command call_command() {
  const auto options = std::make_shared<CallCommandOptions>();
  Command command("call", "Call a library function by its name");
  command.add("", text_value("NAME"), options->function, "The function");
  command.add_number("--nlhs", "N", 0, host::kMaxOutputs, options->nlhs,
                     "How many outputs to ask for (default: 1, or 0 if the function has none)");
  command.add("--library", text_value("LIB"), options->call.library,
              "The library to load: fast, exact (compresses byte for byte like zlib), or a path; "
              "default: fast");
  command.add("--args", text_value("JSON"), options->call.args, "The inputs: a JSON list");
  command.add("--args-file", file_value(), options->call.args_file,
              "A file with the inputs; - is standard input");
  command.add_flag("--list", options->call.list, "Print the names of the functions");
  command.add_flag("--quiet", options->call.quiet, "Make the outputs and print none of them");
  command.note(kNotes);
  command.example("readkit call --list", "");
  command.example(R"(readkit call bamIndex --args '["reads.bam", "reads.bam.bai"]')", "");
  command.example(R"(readkit call bamInfo --nlhs 2 --args '["reads.bam"]')", "");
  command.example(
      "readkit call getStartsInReference --nlhs 3 \\\n"
      R"(    --args '["reads.bam", "reads.bam.bai", 0]')",
      "");
  command.example("readkit call getFeatures --nlhs 2 --args-file arguments.json", "");
  return command.run([options](Job& /*job*/) { return run_call_command(*options); });
}

}  // namespace readkit::cli
