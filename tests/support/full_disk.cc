#include "support/full_disk.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <stdexcept>

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include "support/child.h"
#include "support/expect_kind.h"

namespace readkit {
namespace {

// May run as a process that is about to end: nothing of it lasts.
bool mount_disk(const std::string& folder, std::size_t bytes) {
  if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
  if (mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) != 0) return false;
  const std::string size = "size=" + std::to_string(bytes);
  return mount("tmpfs", folder.c_str(), "tmpfs", 0, size.c_str()) == 0;
}

// Limits at which files end, or lack their last bytes or their end marker, and where buffers are
// brought out.
std::set<std::size_t> limits_around(const std::vector<WrittenFile>& files) {
  constexpr std::size_t kMarker = 28;
  constexpr std::size_t kStep = std::size_t{1} << 17;
  std::set<std::size_t> limits = {0, 1, kMarker};
  std::size_t largest = 0;
  for (const auto& [name, size] : files) {
    largest = std::max(largest, size);
    limits.insert({size / 2, size - kMarker - 1, size - kMarker, size - 1, size, size + 1});
  }
  for (std::size_t limit = kStep; limit < largest; limit += kStep) {
    limits.insert({limit - 1, limit, limit + 1});
  }
  return limits;
}

}  // namespace

FileSizeLimit::FileSizeLimit(std::size_t bytes) {
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGXFSZ, &ignore, &saved_action_);
  getrlimit(RLIMIT_FSIZE, &saved_limit_);
  const rlimit limit = {bytes, saved_limit_.rlim_max};
  if (setrlimit(RLIMIT_FSIZE, &limit) != 0) throw std::runtime_error("cannot limit file sizes");
}

FileSizeLimit::~FileSizeLimit() {
  setrlimit(RLIMIT_FSIZE, &saved_limit_);
  sigaction(SIGXFSZ, &saved_action_, nullptr);
}

void link_to_full_device(const TempDir& folder, std::string_view name) {
  std::filesystem::create_symlink("/dev/full", folder.native(name));
}

std::string outcome_of(const std::function<void()>& run) {
  try {
    run();
    return "ok";
  } catch (const std::exception&) {
    return describe_current_exception();
  }
}

std::string file_write(const TempDir& folder, std::string_view name) {
  return describe(expected_id("FileWrite"), expected_arguments(folder.text(name)));
}

std::vector<WrittenFile> written_files(const TempDir& folder, const std::vector<std::string>& names,
                                       const std::function<void()>& run) {
  // A second name keeps a file that is removed by its first one.
  const auto kept = [&](const std::string& name) { return folder.native(name + ".kept"); };
  for (const std::string& name : names) {
    std::filesystem::remove(folder.native(name));
    write_file(kept(name), "");
    std::filesystem::create_hard_link(kept(name), folder.native(name));
  }
  run();
  std::vector<WrittenFile> files;
  for (const std::string& name : names) {
    files.push_back({name, std::filesystem::file_size(kept(name))});
    std::filesystem::remove(kept(name));
  }
  return files;
}

void expect_file_write_at_every_limit(const TempDir& folder, const std::vector<WrittenFile>& files,
                                      const std::function<void()>& run) {
  const std::string whole = folder.read(files.back().name);
  ASSERT_EQ(whole.size(), files.back().size);
  std::size_t successes = 0;
  for (const std::size_t limit : limits_around(files)) {
    std::string expected = "ok";
    for (const WrittenFile& file : files) {
      if (file.size > limit && expected == "ok") expected = file_write(folder, file.name);
    }
    // A new file is quicker than one that is emptied.
    for (const WrittenFile& file : files) std::filesystem::remove(folder.native(file.name));
    std::string outcome;
    {
      const FileSizeLimit in_force(limit);
      outcome = outcome_of(run);
    }
    EXPECT_EQ(outcome, expected) << "files of at most " << limit << " bytes";
    if (outcome != "ok") continue;
    ++successes;
    EXPECT_TRUE(folder.read(files.back().name) == whole) << limit;
  }
  EXPECT_GE(successes, 2U);
}

std::optional<std::string> on_small_disk(
    std::size_t bytes, const std::function<std::string(const std::string& folder)>& run) {
  const TempDir mount_point;
  return in_child([&]() -> std::optional<std::string> {
    if (!mount_disk(mount_point.folder(), bytes)) return std::nullopt;
    return run(mount_point.folder());
  });
}

}  // namespace readkit
