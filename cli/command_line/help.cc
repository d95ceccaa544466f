#include "cli/command_line/help.h"

#include <algorithm>
#include <cstddef>

#include "cli/command_line/joined.h"
#include "cli/command_line/version.h"

namespace readkit::cli {
namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kHelpColumn = 26;

// `text` broken into lines that end before kWidth, each but the first behind `indent` blanks;
// `column` is where the first one begins.
std::string wrapped(std::string_view text, std::size_t indent, std::size_t column) {
  std::string result;
  std::size_t used = column;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find_first_of(" \n", at), text.size());
    const std::string_view word = text.substr(at, end - at);
    if (used > indent && used + 1 + word.size() > kWidth) {
      result += '\n' + std::string(indent, ' ');
      used = indent;
    } else if (used > indent) {
      result += ' ';
      ++used;
    }
    result += word;
    used += word.size();
    if (end < text.size() && text[end] == '\n') {
      result += '\n' + std::string(indent, ' ');
      used = indent;
    }
    at = end + 1;
  }
  return result;
}

// "-o, --output FILE", or "REGION..." for a positional argument.
std::string title(const Parameter& parameter) {
  std::string result = joined(parameter.spellings());
  if (parameter.is_flag()) return result;
  if (!result.empty()) result += ' ';
  result += parameter.value.name;
  if (parameter.is_positional() && parameter.repeated) result += "...";
  return result;
}

std::string help_of(const Parameter& parameter) {
  if (parameter.value.choices.empty()) return parameter.help;
  return parameter.help + ": " + joined(parameter.value.choices);
}

std::string entry(const std::string& name, const std::string& help) {
  std::string line = "  " + name;
  if (line.size() + 2 > kHelpColumn) {
    line += '\n' + std::string(kHelpColumn, ' ');
  } else {
    line.resize(kHelpColumn, ' ');
  }
  return line + wrapped(help, kHelpColumn, kHelpColumn) + '\n';
}

std::string usage(const Command& command) {
  std::string line = "readkit " + command.name() + " [OPTIONS]";
  for (const Parameter& parameter : command.parameters()) {
    if (!parameter.is_positional()) continue;
    line += parameter.required ? ' ' + title(parameter) : " [" + title(parameter) + ']';
  }
  return line;
}

const Parameter& help_parameter() {
  static const Parameter help = [] {
    Parameter parameter;
    parameter.names = "--help";
    parameter.help = "Print this help";
    return parameter;
  }();
  return help;
}

// A character that roff would take for its own is spelled out.
std::string roff(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else if (c == '\'') {
      result += R"(\(aq)";
    } else if ((c == '.' && (result.empty() || result.back() == '\n'))) {
      result += "\\&.";
    } else {
      result += c;
    }
  }
  return result;
}

std::string roff_title(const std::string& page) {
  return ".TH " + page + R"( 1 "" "readkit )" + version() + R"(" "User Commands")" + "\n.nh\n";
}

std::string roff_entry(const std::string& name, const std::string& help) {
  return ".TP\n\\fB" + roff(name) + "\\fR\n" + roff(help) + "\n";
}

std::string roff_literal(const std::string& text) {
  return ".nf\n.RS 4\n" + roff(text) + (text.ends_with('\n') ? "" : "\n") + ".RE\n.fi\n";
}

constexpr char kExitStatus[] =
    "0 success, 1 failure (for check: findings), 2 wrong usage, 130 interrupted.";

constexpr char kEnvironment[] =
    "TMPDIR: the folder for what standard input and compressed files are unpacked into. "
    "NO_COLOR: print no colours.";

std::string upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
  return text;
}

}  // namespace

std::string help_text(const std::vector<Command>& commands) {
  std::string text = std::string(kProgramSummary) + "\n\nUsage: readkit COMMAND [OPTIONS] ...\n";
  text += "\nCommands:\n";
  for (const Command& command : commands) text += entry(command.name(), command.summary());
  text += "\nOptions:\n" + entry("-h, --help", "Print this help") +
          entry("--version", "Print the version of the program and of its libraries");
  text +=
      "\nreadkit COMMAND --help tells more of each.\nExit status:" + wrapped(kExitStatus, 0, 12) +
      '\n';
  return text;
}

std::string help_text(const Command& command) {
  std::string text = command.summary() + "\n\nUsage: " + usage(command) + '\n';
  if (!command.description().empty()) {
    text += '\n' + wrapped(command.description(), 0, 0) + '\n';
  }
  std::string arguments;
  std::string options;
  for (const Parameter& parameter : command.parameters()) {
    (parameter.is_positional() ? arguments : options) +=
        entry(title(parameter), help_of(parameter));
  }
  if (!arguments.empty()) text += "\nOperands:\n" + arguments;
  text += "\nOptions:\n" + options + entry(title(help_parameter()), help_parameter().help);
  if (!command.notes().empty()) text += '\n' + command.notes();
  if (!command.examples().empty()) text += "\nExamples:\n";
  for (const Example& example : command.examples()) {
    text += "  " + example.command + '\n';
    if (!example.meaning.empty()) text += "      " + wrapped(example.meaning, 6, 6) + '\n';
  }
  return text;
}

std::string manual_page(const std::vector<Command>& commands) {
  std::string text = roff_title("READKIT") + ".SH NAME\nreadkit \\- " + roff(kProgramSummary) +
                     "\n.SH SYNOPSIS\n\\fBreadkit\\fR COMMAND [OPTIONS] ...\n.SH COMMANDS\n";
  for (const Command& command : commands) {
    text += roff_entry("readkit-" + command.name() + "(1)", command.summary());
  }
  text += ".SH OPTIONS\n" + roff_entry("-h, --help", "Print help") +
          roff_entry("--version", "Print the version of the program and of its libraries");
  text += std::string(".SH EXIT STATUS\n") + roff(kExitStatus) + "\n.SH ENVIRONMENT\n" +
          roff(kEnvironment) + '\n';
  return text;
}

std::string manual_page(const Command& command) {
  std::string text = roff_title(upper("readkit-" + command.name())) + ".SH NAME\nreadkit-" +
                     command.name() + " \\- " + roff(command.summary()) + "\n.SH SYNOPSIS\n" +
                     roff(usage(command)) + '\n';
  if (!command.description().empty()) {
    text += ".SH DESCRIPTION\n" + roff(command.description()) + '\n';
  }
  std::string arguments;
  std::string options;
  for (const Parameter& parameter : command.parameters()) {
    (parameter.is_positional() ? arguments : options) +=
        roff_entry(title(parameter), help_of(parameter));
  }
  if (!arguments.empty()) text += ".SH OPERANDS\n" + arguments;
  text += ".SH OPTIONS\n" + options + roff_entry("--help", "Print help");
  if (!command.notes().empty()) text += ".SH NOTES\n" + roff_literal(command.notes());
  if (!command.examples().empty()) text += ".SH EXAMPLES\n";
  for (const Example& example : command.examples()) {
    text += ".PP\n" + roff(example.meaning) + '\n' + roff_literal(example.command);
  }
  text += std::string(".SH EXIT STATUS\n") + roff(kExitStatus) + "\n.SH ENVIRONMENT\n" +
          roff(kEnvironment) + "\n.SH SEE ALSO\nreadkit(1)\n";
  return text;
}

}  // namespace readkit::cli
