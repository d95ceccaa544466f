#include "cli/files/byte_source.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "cli/terminal/failure.h"
#include "cli/terminal/interrupt.h"

namespace readkit::cli {
namespace {

[[noreturn]] void fail_reading(const std::string& name, const char* verb, int reason) {
  throw Failure(name == "-" ? "standard input" : name,
                std::string("cannot be ") + verb + ": " + std::generic_category().message(reason));
}

}  // namespace

ByteSource::ByteSource(const std::string& name)
    : name_(name),
      fd_(name == "-" ? STDIN_FILENO : open(name.c_str(), O_RDONLY | O_CLOEXEC)),
      buffer_(std::size_t{1} << 18) {
  if (fd_ < 0) fail_reading(name_, "opened", errno);
  struct stat status = {};
  if (fstat(fd_, &status) == 0 && S_ISREG(status.st_mode)) {
    regular_ = true;
    size_ = static_cast<std::uint64_t>(status.st_size);
  } else if (S_ISDIR(status.st_mode)) {
    if (fd_ != STDIN_FILENO) close(fd_);
    fail_reading(name_, "read", EISDIR);
  }
}

ByteSource::~ByteSource() {
  if (fd_ != STDIN_FILENO) close(fd_);
}

// Reads once into the buffer, from the byte `from` on.
std::size_t ByteSource::fill(std::size_t from) {
  for (;;) {
    check_interrupts();
    const ssize_t n = ::read(fd_, &buffer_[from], buffer_.size() - from);
    if (n >= 0) return static_cast<std::size_t>(n);
    if (errno != EINTR) fail_reading(name_, "read", errno);
  }
}

std::span<const std::uint8_t> ByteSource::peek() {
  while (ahead_ < kAhead) {
    const std::size_t n = fill(ahead_);
    if (n == 0) break;
    ahead_ += n;
  }
  return {buffer_.data(), ahead_};
}

std::span<const std::uint8_t> ByteSource::read() {
  const std::size_t n = ahead_ > 0 ? ahead_ : fill(0);
  ahead_ = 0;
  position_ += n;
  return {buffer_.data(), n};
}

}  // namespace readkit::cli
