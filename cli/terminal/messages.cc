#include "cli/terminal/messages.h"

#include <cstdio>
#include <utility>

#include "cli/terminal/terminal.h"

namespace readkit::cli {
namespace {

constexpr char kRed[] = "\033[1;31m";
constexpr char kYellow[] = "\033[1;33m";
constexpr char kCyan[] = "\033[1;36m";
constexpr char kPlain[] = "\033[0m";

std::string about(const std::string& file, const std::string& text) {
  return file.empty() ? text : file + ": " + text;
}

}  // namespace

Messages::Messages(std::string command, bool quiet)
    : prefix_(command.empty() ? "readkit" : "readkit " + std::move(command)), quiet_(quiet) {}

void Messages::print(const char* label, const char* colour, const std::string& text,
                     const std::string& advice) const {
  const bool coloured = terminal().colours;
  // One call for one message, so that those of several programs do not mix.
  std::string line = prefix_ + ": ";
  if (*label != '\0') {
    line += coloured ? std::string(colour) + label + ':' + kPlain + ' ' : std::string(label) + ": ";
  }
  line += text + '\n';
  if (!advice.empty()) line += "  " + advice + '\n';
  std::fputs(line.c_str(), stderr);
}

void Messages::error(const Failure& failure) const {
  std::string text = about(failure.file(), failure.what());
  if (!failure.identifier().empty()) text += " (" + failure.identifier() + ')';
  print("", kRed, text, failure.advice());
}

void Messages::error(const std::string& text) const { print("", kRed, text, {}); }

void Messages::warn(const std::string& file, const std::string& text,
                    const std::string& advice) const {
  if (!quiet_) print("warning", kYellow, about(file, text), advice);
}

void Messages::note(const std::string& file, const std::string& text,
                    const std::string& advice) const {
  if (!quiet_) print("note", kCyan, about(file, text), advice);
}

}  // namespace readkit::cli
