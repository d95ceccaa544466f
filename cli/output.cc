#include "cli/output.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <unistd.h>

#include "cli/interrupt.h"

namespace readkit::cli {

Output::Output(int fd) : fd_(fd), buffer_(kBufferSize, '\0') {}

void Output::append(std::string_view text) {
  while (!text.empty()) {
    const std::string_view piece = text.substr(0, kMaxRoom);
    advance(std::copy(piece.begin(), piece.end(), room(piece.size())));
    text.remove_prefix(piece.size());
  }
}

void Output::write_out() {
  for (std::size_t done = 0; done < used_;) {
    const ssize_t n = write(fd_, &buffer_[done], used_ - done);
    if (n < 0 && errno == EINTR) {
      check_interrupts();
      continue;
    }
    if (n <= 0) {
      const int reason = n < 0 ? errno : EIO;
      used_ = 0;
      throw OutputError("cannot write the output: " + std::generic_category().message(reason));
    }
    done += static_cast<std::size_t>(n);
  }
  used_ = 0;
}

}  // namespace readkit::cli
