#include "support/memory.h"

#include <fstream>
#include <stdexcept>
#include <string>

namespace readkit {

std::size_t peak_memory() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmPeak:")) return std::stoull(line.substr(7)) * 1024;
  }
  throw std::runtime_error("the system does not tell how much memory is in use");
}

}  // namespace readkit
