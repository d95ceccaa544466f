#include "support/folder_watch.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>

#include <sys/inotify.h>
#include <unistd.h>

namespace readkit {

FolderWatch::FolderWatch(const TempDir& folder) : queue_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  constexpr std::uint32_t kEvents = IN_CLOSE_WRITE | IN_CLOSE_NOWRITE | IN_DELETE;
  if (inotify_add_watch(queue_, folder.folder().c_str(), kEvents) < 0) {
    throw std::runtime_error("the system does not let a folder be watched");
  }
}

FolderWatch::~FolderWatch() { close(queue_); }

std::vector<std::string> FolderWatch::events() {
  std::vector<std::string> events;
  char buffer[1 << 14];
  for (ssize_t got = 0; (got = read(queue_, buffer, sizeof buffer)) > 0;) {
    for (ssize_t at = 0; at < got;) {
      inotify_event event;
      std::memcpy(&event, buffer + at, sizeof event);
      const char* const name = buffer + at + sizeof event;
      at += static_cast<ssize_t>(sizeof event + event.len);
      if (event.len == 0) continue;  // the folder itself
      const char* const verb = (event.mask & IN_DELETE) != 0        ? "remove "
                               : (event.mask & IN_CLOSE_WRITE) != 0 ? "write "
                                                                    : "close ";
      events.push_back(std::string(verb) + name);
    }
  }
  return events;
}

std::vector<std::string> without_readers(std::vector<std::string> events) {
  std::erase_if(events, [](const std::string& event) { return event.starts_with("close "); });
  return events;
}

}  // namespace readkit
