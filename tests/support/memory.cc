#include "support/memory.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

#include "support/resident_memory.h"

namespace readkit {

std::size_t peak_memory() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmPeak:")) return std::stoull(line.substr(7)) * 1024;
  }
  throw std::runtime_error("the system does not tell how much memory is in use");
}

std::size_t memory_growth_alone(const std::function<void()>& step) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("there is no pipe");
  const pid_t child = fork();
  if (child == 0) {
    // What lies free in the parent and is used again is no more address space, but memory in use.
    std::size_t in_use = 0;
    const std::size_t asked_for = memory_growth([&] { in_use = resident_growth([&] { step(); }); });
    const std::size_t growth = std::max(asked_for, in_use);
    const bool told = write(ends[1], &growth, sizeof growth) == sizeof growth;
    _exit(told ? 0 : 1);
  }
  close(ends[1]);
  std::size_t growth = 0;
  const bool heard = read(ends[0], &growth, sizeof growth) == sizeof growth;
  close(ends[0]);
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || status != 0 || !heard) {
    throw std::runtime_error("the process whose memory was to be measured did not end well");
  }
  return growth;
}

}  // namespace readkit
