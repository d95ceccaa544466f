#include "cli/files/private_folder.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "cli/terminal/failure.h"

namespace readkit::cli {

namespace fs = std::filesystem;

PrivateFolder PrivateFolder::beside(const std::string& target) {
  // A name may have 255 bytes, with what is put around it.
  constexpr std::size_t kMostOfName = 200;
  const fs::path path(target);
  const std::string name =
      '.' + path.filename().string().substr(0, kMostOfName) + ".readkit-XXXXXX";
  return {(path.parent_path() / name).string(), target,
          "make its folder, or choose one where you may write"};
}

PrivateFolder PrivateFolder::temporary() {
  const char* const wanted = std::getenv("TMPDIR");
  const std::string folder = wanted == nullptr || *wanted == '\0' ? "/tmp" : wanted;
  return {folder + "/readkit-XXXXXX", folder, "set TMPDIR to a folder where you may write"};
}

PrivateFolder::PrivateFolder(std::string pattern, const std::string& blamed, const char* advice)
    : path_(std::move(pattern)) {
  if (mkdtemp(path_.data()) != nullptr) return;
  const int reason = errno;
  path_.clear();
  throw Failure(blamed, "cannot be written: " + std::generic_category().message(reason), {},
                advice);
}

PrivateFolder::PrivateFolder(PrivateFolder&& other) noexcept
    : path_(std::exchange(other.path_, {})) {}

PrivateFolder& PrivateFolder::operator=(PrivateFolder&& other) noexcept {
  std::swap(path_, other.path_);
  return *this;
}

PrivateFolder::~PrivateFolder() {
  if (path_.empty()) return;
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

}  // namespace readkit::cli
