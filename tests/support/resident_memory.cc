#include "support/resident_memory.h"

#include <fstream>
#include <stdexcept>
#include <string>

#include <malloc.h>

namespace readkit {
namespace {

std::size_t status_bytes(const std::string& word) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(word)) return std::stoull(line.substr(word.size())) * 1024;
  }
  throw std::runtime_error("the system does not tell how much memory is in use");
}

}  // namespace

std::size_t resident_memory() { return status_bytes("VmRSS:"); }

std::size_t resident_peak() { return status_bytes("VmHWM:"); }

void forget_resident_peak() {
  malloc_trim(0);
  std::ofstream file("/proc/self/clear_refs");
  file << "5" << std::flush;
  if (!file) throw std::runtime_error("the system does not forget how much memory was in use");
}

}  // namespace readkit
