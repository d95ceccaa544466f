#include "cli/call/libraries.h"

#include <filesystem>
#include <system_error>

#include <sys/auxv.h>

#include "host/loader.h"

namespace readkit::cli {
namespace {

namespace fs = std::filesystem;

// Where the running program really is, symbolic links resolved.
fs::path program_folder() {
  std::error_code error;
  fs::path program = fs::canonical("/proc/self/exe", error);
  if (error) {
    // Without /proc: the name that the program was started by, which the kernel keeps.
    const unsigned long address = getauxval(AT_EXECFN);
    const auto* const name = reinterpret_cast<const char*>(address);
    program = name == nullptr ? fs::path() : fs::canonical(name, error);
  }
  return program.parent_path();
}

}  // namespace

std::string library_path(const std::string& choice) {
  return choice == "fast" || choice == "exact" ? host::flavour_path(choice) : choice;
}

std::string shared_file_path(const std::string& name) {
  return program_folder().parent_path() / "share" / "readkit" / name;
}

}  // namespace readkit::cli
