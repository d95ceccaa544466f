// What a command tells its user on standard error.
#pragma once

#include <string>

#include "cli/terminal/failure.h"

namespace readkit::cli {

class Messages {
 public:
  /// `quiet` drops warnings and notes, never errors.
  Messages(std::string command, bool quiet);

  void error(const Failure& failure) const;
  void error(const std::string& text) const;
  /// Something is, or will be, not as the user may think.
  void warn(const std::string& file, const std::string& text, const std::string& advice = {}) const;
  /// Something that is good to know.
  void note(const std::string& file, const std::string& text, const std::string& advice = {}) const;

 private:
  void print(const char* label, const char* colour, const std::string& text,
             const std::string& advice) const;

  std::string prefix_;
  bool quiet_;
};

}  // namespace readkit::cli
