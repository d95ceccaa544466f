#include "core/file.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <limits>
#include <system_error>

#include <sys/types.h>

namespace readkit {
namespace {

// A window grows with every refill that follows the one before it, so that a reader that jumps
// about asks for little and one that reads on asks for much.
constexpr std::size_t kFirstReadAhead = std::size_t{1} << 16;
constexpr std::size_t kMostReadAhead = std::size_t{1} << 19;
// Fewer bytes are sooner read than passed over.
constexpr std::size_t kWorthSeeking = std::size_t{1} << 12;
constexpr std::size_t kWriteBuffer = std::size_t{1} << 18;

bool is_for_reading(const char* mode) { return std::strchr(mode, 'r') != nullptr; }

}  // namespace

File::File(const Path& path, const char* mode)
    : handle_(std::fopen(path.native().c_str(), mode)), read_ahead_(kFirstReadAhead) {
  if (!is_open()) return;
  std::setvbuf(handle_.get(), nullptr, _IONBF, 0);
  if (is_for_reading(mode)) {
    window_ = AlignedBuffer(kMaxPeek + AlignedBuffer::kAlignment + kMostReadAhead);
    reads_ = Transfers(path.native(), false);
  } else {
    pending() = PendingOutput(kWriteBuffer, Transfers(path.native(), true));
  }
}

bool File::refill(std::size_t n) {
  if (!is_open() || !window_ || n > kMaxPeek) return false;
  // What is left moves to the front, so that what is read begins at an aligned place.
  constexpr std::size_t kAlignment = AlignedBuffer::kAlignment;
  const std::size_t left = available();
  const std::size_t place = (left + kAlignment - 1) / kAlignment * kAlignment;
  std::memmove(window() + place - left, window() + next_, left);
  begin_ = next_ = place - left;
  const std::size_t wanted = std::max(n, read_ahead_);
  is_refused_ = !reads_.allow(position_);
  const std::size_t got =
      is_refused_ ? 0 : std::fread(window() + place, 1, wanted - left, handle_.get());
  fill_ = place + got;
  position_ += got;
  read_ahead_ = std::min(2 * read_ahead_, kMostReadAhead);
  return n <= available();
}

bool File::pass(std::uint64_t n) {
  // Many bytes are not read but for the last one, which tells whether they are there.
  if (n > available() + kWorthSeeking && seek(tell() + n - 1)) n = 1;
  while (n > available()) {
    n -= available();
    next_ = fill_;
    if (!refill(1)) return false;
  }
  skip(static_cast<std::size_t>(n));
  return true;
}

std::size_t File::read(void* to, std::size_t n) {
  auto* out = static_cast<std::uint8_t*>(to);
  std::size_t done = 0;
  while (done < n) {
    if (available() == 0 && !refill(1)) break;
    const std::size_t piece = std::min(n - done, available());
    std::memcpy(out + done, window() + next_, piece);
    skip(piece);
    done += piece;
  }
  return done;
}

LineCopy File::read_line(char* to, std::size_t room) {
  LineCopy line;
  while (!line.ended && line.length + 1 < room) {
    if (available() == 0 && !refill(1)) break;
    const std::size_t most = std::min(room - 1 - line.length, available());
    const char* const from = reinterpret_cast<const char*>(window()) + next_;
    const LineCopy piece = copy_line(to + line.length, from, most);
    skip(piece.length);
    line.length += piece.length;
    line.ended = piece.ended;
    line.has_nul |= piece.has_nul;
  }
  to[line.length] = '\0';
  return line;
}

bool File::seek(std::uint64_t offset) {
  if (!is_open()) return false;
  const std::uint64_t window_start = position_ - (fill_ - begin_);
  if (offset >= window_start && offset <= position_) {
    next_ = begin_ + static_cast<std::size_t>(offset - window_start);
    return true;
  }
  if (offset > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max())) return false;
  if (fseeko(handle_.get(), static_cast<off_t>(offset), SEEK_SET) != 0) return false;
  position_ = offset;
  begin_ = next_ = fill_ = 0;
  read_ahead_ = kFirstReadAhead;
  return true;
}

bool File::write_through(const void* from, std::size_t n) {
  if (!pending().accepts()) return false;
  const auto* next = static_cast<const char*>(from);
  // Through the buffer, however much it is: the file then gets all bytes from aligned places.
  while (!pending().keep(next, n)) {
    const std::size_t piece = pending().room_left();
    pending().keep(next, piece);
    if (!pending().bring_out(handle_.get())) return false;
    next += piece;
    n -= piece;
  }
  return true;
}

bool File::flush() {
  return is_open() && pending().bring_out(handle_.get()) && std::fflush(handle_.get()) == 0;
}

bool File::close() {
  begin_ = next_ = fill_ = 0;
  if (!is_open()) return false;
  return pending().close(handle_.release());
}

bool remove_file(const Path& path) { return std::remove(path.native().c_str()) == 0; }

bool is_regular_file(const Path& path) {
  std::error_code unknown;  // for files that do not exist
  return std::filesystem::is_regular_file(path.native(), unknown);
}

bool is_same_file(const Path& a, const Path& b) {
  std::error_code unknown;  // for files that do not exist
  return std::filesystem::equivalent(a.native(), b.native(), unknown);
}

}  // namespace readkit
