#include "fuzz/support/scratch.h"

#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

namespace readkit::fuzz {

const TempDir& scratch() {
  static const TempDir folder;
  return folder;
}

std::string file_with(std::string_view name, std::string_view bytes) {
  std::string native = scratch().native(name);
  constexpr int kMode = 0600;
  const int fd = open(native.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kMode);
  const bool written =
      fd >= 0 && write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
  if (fd < 0 || close(fd) != 0 || !written) throw std::runtime_error("cannot write " + native);
  return native;
}

std::string fresh_file(std::string_view name) {
  std::string native = scratch().native(name);
  unlink(native.c_str());
  return native;
}

}  // namespace readkit::fuzz
