// Where a command's output goes: a file that appears when it is complete, or a stream: standard
// output, or a device or pipe that has a name.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>

#include "cli/files/private_folder.h"
#include "cli/job/input.h"

namespace readkit::cli {

class Job;
class Output;

class Target {
 public:
  enum class Content : std::uint8_t { kText, kBinary };
  enum class Existing : std::uint8_t { kKept, kReplaced };

  /// `name` as the user gave it; "-" is standard output. Raises UsageError for an output that is
  /// one of the inputs, and for binary content on a terminal; Failure for one that exists and is to
  /// be kept.
  Target(Job& job, std::string name, Content content, Existing existing,
         std::initializer_list<const Input*> inputs);

  /// As the user knows it.
  const std::string& name() const { return name_; }
  bool is_standard_output() const { return !folder_ && !device_; }
  ~Target();
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;

  /// Calls `work` with the path that it must write, whose last part is `file_name`: a file in a
  /// private folder or, for a stream, a pipe. Beside it there is room for temporaries.
  void write(const std::string& file_name, const std::function<void(const std::string&)>& work);
  /// Calls `work` with an output to write.
  void write_here(const std::function<void(Output&)>& work);

 private:
  struct Device;
  Output& stream();
  void commit(const std::string& file);

  Job& job_;
  std::string name_;
  std::string path_;                     // of the file to appear, symbolic links resolved
  std::optional<PrivateFolder> folder_;  // of a file
  std::unique_ptr<Device> device_;
};

}  // namespace readkit::cli
