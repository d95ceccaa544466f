#include "support/child.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace readkit {
namespace {

constexpr int kNothing = 77;

std::string read_all(int from) {
  std::string text;
  char buffer[4096];
  for (ssize_t got = 0; (got = read(from, buffer, sizeof buffer)) > 0;) {
    text.append(buffer, static_cast<std::size_t>(got));
  }
  return text;
}

void write_all(int to, std::string_view text) {
  while (!text.empty()) {
    const ssize_t done = write(to, text.data(), text.size());
    if (done <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(done));
  }
}

std::string death(int status) {
  if (WIFSIGNALED(status)) return "died of signal " + std::to_string(WTERMSIG(status));
  return WEXITSTATUS(status) == 0 ? "" : "exited with " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

std::optional<std::string> in_child(const std::function<std::optional<std::string>()>& run) {
  int pipe_ends[2];
  if (pipe(pipe_ends) != 0) throw std::runtime_error("cannot make a pipe");
  const pid_t child = fork();
  if (child == 0) {
    const std::optional<std::string> text = run();
    if (!text) _exit(kNothing);
    write_all(pipe_ends[1], *text);
    _exit(0);
  }
  close(pipe_ends[1]);
  std::string text = read_all(pipe_ends[0]);
  close(pipe_ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFEXITED(status) && WEXITSTATUS(status) == kNothing) return std::nullopt;
  return text + death(status);
}

SharedNote::SharedNote()
    : memory_(static_cast<char*>(
          mmap(nullptr, kMost + 1, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
  if (memory_ == MAP_FAILED) throw std::runtime_error("cannot share memory");
}

SharedNote::~SharedNote() { munmap(memory_, kMost + 1); }

void SharedNote::write(std::string_view text) {
  const std::size_t length = std::min(text.size(), kMost);
  std::memcpy(memory_, text.data(), length);
  memory_[length] = '\0';
}

}  // namespace readkit
