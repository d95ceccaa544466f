// Disks that are full, now or soon.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <signal.h>
#include <sys/resource.h>

#include "support/temp_dir.h"

namespace readkit {

/// Lets no file of this process grow beyond a size, for its lifetime: what goes beyond it fails.
/// No assertion that prints belongs into that time, since the output may be a file.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(std::size_t bytes);
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit();

 private:
  rlimit saved_limit_;
  struct sigaction saved_action_;
};

/// Puts a name into a folder under which every write fails, since the disk is full.
void link_to_full_device(const TempDir& folder, std::string_view name);

/// What `run` comes to: "ok", or the identifier and the arguments of its error.
std::string outcome_of(const std::function<void()>& run);
/// The outcome of FileWrite for a file.
std::string file_write(const TempDir& folder, std::string_view name);

/// A file that an operation writes, and its size when nothing hinders it.
struct WrittenFile {
  std::string name;
  std::size_t size = 0;
};
/// What `run` writes under these names of a folder, also when it removes the files in the end.
std::vector<WrittenFile> written_files(const TempDir& folder, const std::vector<std::string>& names,
                                       const std::function<void()>& run);

/// Expects of an operation, which writes these files one after the other, that it raises FileWrite
/// with the first that does not fit under a limit of file sizes, and that it succeeds and gives the
/// whole last file when all fit. Tries limits at the ends of all files and many in between.
void expect_file_write_at_every_limit(const TempDir& folder, const std::vector<WrittenFile>& files,
                                      const std::function<void()>& run);

/// Runs `run` in a process of its own, with the folder of a new disk of `bytes` bytes, and returns
/// the text that it returns; nothing where the system does not let a process mount one.
std::optional<std::string> on_small_disk(
    std::size_t bytes, const std::function<std::string(const std::string& folder)>& run);

}  // namespace readkit
