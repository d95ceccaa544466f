#include "cli/files/named_pipe.h"

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "cli/files/lines.h"
#include "cli/terminal/failure.h"

namespace readkit::cli {

NamedPipe::NamedPipe(const std::string& name, Sink sink)
    : folder_(PrivateFolder::temporary()), path_(folder_.file(name)), sink_(std::move(sink)) {
  constexpr mode_t kOwnerOnly = 0600;
  constexpr int kPipeRoom = 1 << 20;
  if (mkfifo(path_.c_str(), kOwnerOnly) == 0) {
    // Without waiting for the other end, which is opened next.
    reader_ = open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    writer_ = open(path_.c_str(), O_WRONLY | O_CLOEXEC);
  }
  if (reader_ < 0 || writer_ < 0 || fcntl(reader_, F_SETFL, 0) != 0) {
    throw Failure(path_, "cannot be made: " + std::generic_category().message(errno), {},
                  "set TMPDIR to a folder where pipes can be made");
  }
  fcntl(reader_, F_SETPIPE_SZ, kPipeRoom);  // as much as there may be
}

NamedPipe::~NamedPipe() {
  if (writer_ >= 0) close(writer_);
  if (thread_.joinable()) thread_.join();
  if (reader_ >= 0) close(reader_);
}

void NamedPipe::run(const std::function<void()>& work) {
  thread_ = std::thread([this] { pump(); });
  std::exception_ptr failure;
  try {
    work();
  } catch (...) {
    failure = std::current_exception();
  }
  close(std::exchange(writer_, -1));
  thread_.join();
  if (error_) std::rethrow_exception(error_);
  if (failure) std::rethrow_exception(failure);
}

// Takes everything to the end. When the sink fails, the reading end is closed, so that whoever
// writes gets an error and does not wait.
void NamedPipe::pump() {
  std::array<char, std::size_t{1} << 16> piece;
  try {
    for (;;) {
      const ssize_t n = read(reader_, piece.data(), piece.size());
      if (n == 0) break;
      if (n > 0) sink_({piece.data(), static_cast<std::size_t>(n)});
      if (n < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), path_);
    }
  } catch (...) {
    error_ = std::current_exception();
    close(std::exchange(reader_, -1));
  }
}

void take_lines(const std::function<void(std::string_view)>& take,
                const std::function<void(const std::string&)>& work) {
  Lines lines(take);
  NamedPipe pipe("lines.sam", [&lines](std::string_view piece) { lines.add(piece); });
  pipe.run([&] { work(pipe.path()); });
  lines.finish();
}

}  // namespace readkit::cli
