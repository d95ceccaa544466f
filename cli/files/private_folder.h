// A folder of the program's own for what is not finished, gone when its owner goes.
#pragma once

#include <string>

namespace readkit::cli {

class PrivateFolder {
 public:
  /// `.NAME.readkit-XXXXXX` in the folder of `target`, so that a rename brings a file out of it.
  static PrivateFolder beside(const std::string& target);
  /// `readkit-XXXXXX` in the folder that TMPDIR names, or in /tmp.
  static PrivateFolder temporary();

  PrivateFolder(PrivateFolder&& other) noexcept;
  PrivateFolder& operator=(PrivateFolder&& other) noexcept;
  /// Removes the folder with all that is in it.
  ~PrivateFolder();

  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + '/' + name; }

 private:
  // Raises Failure for `blamed` when it cannot be made.
  PrivateFolder(std::string pattern, const std::string& blamed, const char* advice);

  std::string path_;
};

}  // namespace readkit::cli
