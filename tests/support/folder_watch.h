// What happens to the files of a folder, in the order in which it happens.
#pragma once

#include <string>
#include <vector>

#include "support/temp_dir.h"

namespace readkit {

/// Watches a folder from its construction on.
class FolderWatch {
 public:
  explicit FolderWatch(const TempDir& folder);
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;
  ~FolderWatch();

  /// What has happened since the last call: "write a.bam" when a writer has closed a file, "close
  /// a.bam" when a reader has, "remove a.bam".
  std::vector<std::string> events();

 private:
  int queue_;
};

/// `events` without the readers.
std::vector<std::string> without_readers(std::vector<std::string> events);

}  // namespace readkit
