#include "cli/terminal/terminal.h"

#include <cstdlib>
#include <string_view>

#include <unistd.h>

namespace readkit::cli {
namespace {

std::string_view variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

}  // namespace

const Terminal& terminal() {
  static const Terminal standard = [] {
    Terminal found;
    found.output = isatty(STDOUT_FILENO) != 0;
    found.errors = isatty(STDERR_FILENO) != 0;
    found.colours = found.errors && variable("NO_COLOR").empty() && variable("TERM") != "dumb";
    return found;
  }();
  return standard;
}

}  // namespace readkit::cli
