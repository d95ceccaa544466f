// A signal may end a call of the operating system before it has done anything. Such calls are made
// again: a host's timer is no reason for an error.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdio>

namespace readkit {

/// What `open` returns, a pointer, null when it fails for another reason than a signal.
template <typename Open>
auto open_through_signals(const Open& open) {
  auto* opened = open();
  while (opened == nullptr && errno == EINTR) opened = open();
  return opened;
}

/// Reads or writes `n` bytes of a file without a buffer by calls of `transfer`, which gets the
/// number of bytes that are done and returns that of those that it did more. Returns how many were
/// done, fewer than `n` at the end or after an error.
template <typename Transfer>
std::size_t transfer_through_signals(std::FILE* file, std::size_t n, const Transfer& transfer) {
  const bool had_failed = std::ferror(file) != 0;  // what must not be forgotten
  std::size_t done = 0;
  while (true) {
    errno = 0;
    done += transfer(done);
    if (done >= n || errno != EINTR || had_failed) return done;
    std::clearerr(file);
  }
}

}  // namespace readkit
