#include "support/memory.h"

#include <fstream>
#include <stdexcept>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

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
    // The peak of a new process is what its parent had at last.
    const std::size_t growth = memory_growth(step);
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
