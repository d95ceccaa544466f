// How far long work has come, on a line of standard error that is written over.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>

namespace readkit::cli {

class Progress {
 public:
  /// Shows nothing unless `shown`.
  Progress(std::string command, bool shown);
  /// Removes the line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// The file `name`, of `size` bytes (0: not known), has been read up to `position`.
  void reading(const std::string& name, std::uint64_t position, std::uint64_t size);

  /// Removes the line, so that a message can be printed.
  void end();

 private:
  std::string command_;
  bool shown_;
};

}  // namespace readkit::cli
