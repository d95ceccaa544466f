#include "cli/libraries.h"

#include <filesystem>
#include <system_error>

#include <sys/auxv.h>

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
  if (choice != "fast" && choice != "exact") return choice;
  const char* const name = choice == "fast" ? "libreadkit-fast.so" : "libreadkit.so";
  const fs::path folder = program_folder();
  const fs::path in_lib = folder.parent_path() / "lib" / name;
  const fs::path beside = folder / name;
  std::error_code error;
  return !fs::exists(in_lib, error) && fs::exists(beside, error) ? beside : in_lib;
}

std::string shared_file_path(const std::string& name) {
  return program_folder().parent_path() / "share" / "readkit" / name;
}

}  // namespace readkit::cli
