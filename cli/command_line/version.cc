#include "cli/command_line/version.h"

#include <zlib.h>

namespace readkit::cli {

std::string version() { return READKIT_VERSION; }

std::string version_text() {
  return "readkit " + version() + "\nzlib " + zlibVersion() + "\nlibdeflate " +
         std::string(LIBDEFLATE_VERSION) +
         "\nCLI11 " CLI11_VERSION_TEXT "\nnlohmann-json " NLOHMANN_JSON_VERSION;
}

}  // namespace readkit::cli
