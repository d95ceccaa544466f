// Whether an open file is this process's alone.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include <fcntl.h>

namespace readkit {

/// Whether this file is open, and no program that the process starts will find it so.
inline bool closes_on_exec(const std::string& native) {
  bool found = false;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;  // the folder itself, by now
    if (std::filesystem::read_symlink(entry, gone) != native) continue;
    const int descriptor = std::stoi(entry.path().filename());
    if ((fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0) return false;
    found = true;
  }
  return found;
}

}  // namespace readkit
