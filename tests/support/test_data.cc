#include "support/test_data.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <string>
#include <string_view>

namespace readkit {
namespace {

namespace fs = std::filesystem;

// The size of the largest files to list.
std::uintmax_t most_bytes() {
  const char* most = std::getenv("READKIT_TEST_DATA_MOST_BYTES");
  return most != nullptr ? std::stoull(most) : std::numeric_limits<std::uintmax_t>::max();
}

std::vector<std::string> files(const std::string& subfolder,
                               const std::vector<std::string_view>& endings) {
  std::vector<std::string> found;
  const fs::path folder = fs::path(test_data_folder()) / subfolder;
  if (!fs::is_directory(folder)) return found;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const std::string name = entry.path().string();
    const auto ends_so = [&](std::string_view ending) { return name.ends_with(ending); };
    if (entry.is_regular_file() && entry.file_size() <= most_bytes() &&
        std::any_of(endings.begin(), endings.end(), ends_so)) {
      found.push_back(name);
    }
  }
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace

std::string test_data_folder() {
  const char* named = std::getenv("READKIT_TEST_DATA");
  const fs::path folder = named != nullptr
                              ? fs::path(named)
                              : fs::path(READKIT_SOURCE_DIR).parent_path() / "shared" / "data";
  return fs::is_directory(folder) ? folder.string() : std::string();
}

std::vector<std::string> bam_files() { return files("bam", {".bam"}); }

std::vector<std::string> sam_files() { return files("sam", {".sam"}); }

std::vector<std::string> bai_files() {
  std::vector<std::string> found = files("bam", {".bai"});
  const std::vector<std::string> alone = files("bai_only", {".bai"});
  found.insert(found.end(), alone.begin(), alone.end());
  return found;
}

std::vector<std::string> fastq_files() { return files("fastq", {".fq", ".fastq", ".txt"}); }

std::vector<std::string> files_in(const std::string& folder) { return files(folder, {""}); }

std::vector<std::string> invalid_files() { return files_in("invalid"); }

std::string test_file(const std::string& name) {
  return (fs::path(test_data_folder()) / name).string();
}

}  // namespace readkit
