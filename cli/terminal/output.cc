#include "cli/terminal/output.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <system_error>

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "cli/terminal/interrupt.h"

namespace readkit::cli {

Output::Output(int fd) : fd_(fd), buffer_(kBufferSize, '\0') {
  struct stat status = {};
  is_pipe_ = are_interrupts_caught() && fstat(fd, &status) == 0 && S_ISFIFO(status.st_mode);
}

void Output::append(std::string_view text) {
  while (!text.empty()) {
    const std::string_view piece = text.substr(0, kMaxRoom);
    advance(std::copy(piece.begin(), piece.end(), room(piece.size())));
    text.remove_prefix(piece.size());
  }
}

// How many bytes can be written now without waiting; waits until some can. A pipe that nobody reads
// must not keep an interrupt from being heard.
std::size_t Output::wait_for_room(std::size_t wanted) const {
  constexpr int kPatience = 100;  // milliseconds
  if (!is_pipe_) return wanted;
  pollfd descriptor = {fd_, POLLOUT, 0};
  while (poll(&descriptor, 1, kPatience) == 0) check_interrupts();
  check_interrupts();
  return std::min<std::size_t>(wanted, PIPE_BUF);
}

void Output::write_out() {
  for (std::size_t done = 0; done < used_;) {
    const ssize_t n = write(fd_, &buffer_[done], wait_for_room(used_ - done));
    if (n < 0 && errno == EINTR) {
      check_interrupts();
      continue;
    }
    if (n <= 0) {
      const int reason = n < 0 ? errno : EIO;
      used_ = 0;
      const std::string what =
          "cannot write the output: " + std::generic_category().message(reason);
      if (reason == EPIPE) throw BrokenPipe(what);
      throw OutputError(what);
    }
    done += static_cast<std::size_t>(n);
  }
  used_ = 0;
}

}  // namespace readkit::cli
