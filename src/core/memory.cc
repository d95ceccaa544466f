#include "core/memory.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "core/file.h"
#include "core/number.h"
#include "core/path.h"
#include "core/ustring.h"

namespace readkit {
namespace {

constexpr std::uint64_t kUnlimited = std::numeric_limits<std::uint64_t>::max();

// The content of a system's report, empty when it is not there. Their sizes are not known before.
std::string report(const std::string& name) {
  constexpr std::size_t kMostBytes = std::size_t{1} << 16;
  std::string text(kMostBytes, '\0');
  File file(Path(to_ustring(name)), "rb");
  text.resize(file.read(text.data(), text.size()));
  return text;
}

// Takes a line off `text`, without its end.
std::string_view take_line(std::string_view& text) {
  const std::string_view line = text.substr(0, text.find('\n'));
  text.remove_prefix(std::min(line.size() + 1, text.size()));
  return line;
}

bool starts_with_digit(std::string_view text) {
  return !text.empty() && text[0] >= '0' && text[0] <= '9';
}

// The number that a report is; `otherwise` for "max" and for a report that is not there.
std::uint64_t number_in(const std::string& name, std::uint64_t otherwise) {
  const std::string text = report(name);
  return starts_with_digit(text) ? static_cast<std::uint64_t>(parse_long(text)) : otherwise;
}

// The number behind the word that begins a line of a report; 0 when there is none.
std::uint64_t number_of(std::string_view word, const std::string& name) {
  const std::string text = report(name);
  for (std::string_view rest = text; !rest.empty();) {
    const std::string_view line = take_line(rest);
    if (line.starts_with(word)) {
      return static_cast<std::uint64_t>(parse_long(line.substr(word.size())));
    }
  }
  return 0;
}

// What the two versions of control groups call things.
struct GroupNames {
  std::string_view controllers;  // in the list of the groups of a process
  const char* mount;
  const char* limit;
  const char* used;
  std::string_view reclaimable;  // in memory.stat
};
constexpr GroupNames kVersions[] = {
    {"memory", "/sys/fs/cgroup/memory", "/memory.limit_in_bytes", "/memory.usage_in_bytes",
     "total_inactive_file "},
    {"", "/sys/fs/cgroup", "/memory.max", "/memory.current", "inactive_file "}};

std::uint64_t left_in_group(const std::string& folder, const GroupNames& names) {
  const std::uint64_t limit = number_in(folder + names.limit, kUnlimited);
  if (limit == kUnlimited) return kUnlimited;
  const std::uint64_t used = number_in(folder + names.used, 0);
  const std::uint64_t files = number_of(names.reclaimable, folder + "/memory.stat");
  const std::uint64_t kept = used - std::min(used, files);
  return limit - std::min(limit, kept);
}

// The least that a group or one around it leaves. Inside a container the list may name a group by
// its place outside; what is mounted then is the group itself, where the way up ends.
std::uint64_t left_in_groups(const std::string& mount, std::string_view group,
                             const GroupNames& names) {
  std::uint64_t left = left_in_group(mount, names);
  while (!group.empty()) {
    left = std::min(left, left_in_group(mount + std::string(group), names));
    group = group.substr(0, std::min(group.rfind('/'), group.size() - 1));
  }
  return left;
}

std::uint64_t group_memory(const std::string& root) {
  std::uint64_t left = kUnlimited;
  const std::string groups = report(root + "/proc/self/cgroup");  // lines of id:controllers:group
  for (std::string_view rest = groups; !rest.empty();) {
    const std::string_view line = take_line(rest);
    const std::size_t first = line.find(':');
    const std::size_t second = line.find(':', first + 1);
    if (first == std::string_view::npos || second == std::string_view::npos) continue;
    const std::string_view controllers = line.substr(first + 1, second - first - 1);
    for (const GroupNames& names : kVersions) {
      if (controllers != names.controllers) continue;
      left = std::min(left, left_in_groups(root + names.mount, line.substr(second + 1), names));
    }
  }
  return left;
}

}  // namespace

std::uint64_t available_memory(const std::string& root) {
  constexpr std::uint64_t kKibibyte = 1024;
  return std::min(number_of("MemAvailable:", root + "/proc/meminfo") * kKibibyte,
                  group_memory(root));
}

}  // namespace readkit
