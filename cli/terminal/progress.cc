#include "cli/terminal/progress.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string_view>
#include <utility>

#include <sys/ioctl.h>
#include <unistd.h>

#include "cli/terminal/terminal.h"

namespace readkit::cli {
namespace {

using std::chrono::milliseconds;

// Work that is done sooner shows nothing; then a few lines a second on a terminal, and one now and
// then where lines stay.
constexpr milliseconds kPatience{500};
constexpr milliseconds kOnTerminal{200};
constexpr milliseconds kElsewhere{2000};

std::string megabytes(double bytes) {
  std::array<char, 32> text;
  const int n = std::snprintf(text.data(), text.size(), "%.1f MB", bytes / 1e6);
  return {text.data(), static_cast<std::size_t>(n)};
}

// "1:02" or "1:00:02".
std::string duration(double seconds) {
  constexpr long kMost = 359999;
  constexpr long kHour = 3600;
  constexpr long kMinute = 60;
  const long all = std::min(kMost, std::lround(std::min(seconds, double{kMost})));
  std::array<char, 32> text;
  const int n = all >= kHour ? std::snprintf(text.data(), text.size(), "%ld:%02ld:%02ld",
                                             all / kHour, all / kMinute % kMinute, all % kMinute)
                             : std::snprintf(text.data(), text.size(), "%ld:%02ld", all / kMinute,
                                             all % kMinute);
  return {text.data(), static_cast<std::size_t>(n)};
}

std::size_t terminal_width() {
  constexpr std::size_t kUsual = 80;
  winsize size = {};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1 ? size.ws_col : kUsual;
}

std::uint64_t sum(const std::map<std::string, std::uint64_t, std::less<>>& positions) {
  std::uint64_t total = 0;
  for (const auto& [path, position] : positions) total += position;
  return total;
}

}  // namespace

Progress::Progress(std::string command, bool quiet, std::optional<bool> wanted)
    : command_(std::move(command)),
      shown_(!quiet && wanted.value_or(terminal().errors)),
      on_terminal_(terminal().errors),
      next_(start_ + (wanted.value_or(false) ? milliseconds(0) : kPatience)) {}

void Progress::begin(const std::string& path, const std::string& name, std::uint64_t size) {
  input_path_ = path;
  input_ = {name, 0, size};
}

void Progress::moved(const char* path, std::uint64_t position, bool is_write) {
  const std::string_view key(path);
  if (key.empty()) {
    // Work in memory.
    if (shown_) show();
    return;
  }
  last_was_write_ = is_write;
  if (!is_write && key == input_path_) {
    input_.position = position;
  } else {
    // A file that was not written before is an index, which is soon read.
    if (!is_write && written_.find(key) == written_.end()) return;
    auto& positions = is_write ? written_ : read_again_;
    const auto found = positions.find(key);
    if (found == positions.end()) {
      positions.emplace(key, position);
    } else {
      found->second = position;
    }
  }
  if (shown_) show();
}

void Progress::reading(const std::string& name, std::uint64_t position, std::uint64_t size) {
  input_ = {name, position, size};
  if (shown_) show();
}

Progress::Stage Progress::stage() const {
  // Temporary files are read again only when all of the input has been read.
  if (!read_again_.empty()) {
    std::uint64_t all = 0;
    for (const auto& [path, position] : read_again_) {
      const auto found = written_.find(path);
      if (found != written_.end()) all += found->second;
    }
    return {"merging", sum(read_again_), all, true};
  }
  // The last block of the input is shown at its start; a block has 64 KiB at most.
  constexpr std::uint64_t kReadAhead = std::uint64_t{1} << 20;
  const bool is_read = input_.size > 0 && input_.position + kReadAhead >= input_.size;
  if (stages_ > 1 && is_read && written_.size() == 1) {
    return {"writing", sum(written_), std::max(input_.size, sum(written_)), true};
  }
  const bool is_run = stages_ > 1 && last_was_write_;
  return {is_run ? "writing a run" : "reading", input_.position, input_.size, false};
}

void Progress::show() {
  const Clock::time_point now = Clock::now();
  if (now < next_) return;
  next_ = now + (on_terminal_ ? kOnTerminal : kElsewhere);
  std::string text = line(now);
  if (on_terminal_) {
    text = '\r' + text.substr(0, terminal_width() - 1) + "\033[K";
    visible_ = true;
  } else {
    text += '\n';
  }
  std::fputs(text.c_str(), stderr);
}

std::string Progress::line(Clock::time_point now) const {
  const double seconds = std::max(std::chrono::duration<double>(now - start_).count(), 1e-3);
  const Stage current = stage();
  const double moved = static_cast<double>(current.done + (current.is_second ? input_.size : 0));
  std::string text = "readkit " + command_ + ": " + input_.name + ": " + current.name;
  if (current.all == 0)
    return text + ", " + megabytes(moved) + ", " + megabytes(moved / seconds) + "/s";
  double part = std::min(static_cast<double>(current.done) / static_cast<double>(current.all), 1.0);
  if (stages_ > 1) part = (part + (current.is_second ? 1 : 0)) / 2;
  text += ", " + std::to_string(static_cast<int>(100 * part)) + " %, " +
          megabytes(moved / seconds) + "/s";
  constexpr double kLeastPart = 0.005;  // before that any guess is a bad one
  if (part > kLeastPart) text += ", " + duration(seconds * (1 - part) / part) + " left";
  return text;
}

void Progress::end() {
  if (!visible_) return;
  visible_ = false;
  std::fputs("\r\033[K", stderr);
}

}  // namespace readkit::cli
