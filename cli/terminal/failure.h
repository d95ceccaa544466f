// Why a command could not do its work, and what its user can do about it.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace readkit::cli {

/// Ends a command with kFailure. Printed as
///
///   readkit COMMAND: FILE: WHAT (IDENTIFIER)
///     ADVICE
class Failure : public std::runtime_error {
 public:
  Failure(std::string file, const std::string& what, std::string identifier = {},
          std::string advice = {})
      : std::runtime_error(what),
        file_(std::move(file)),
        identifier_(std::move(identifier)),
        advice_(std::move(advice)) {}

  /// As the user wrote it; may be empty.
  const std::string& file() const { return file_; }
  /// The library's identifier; empty for what the program itself found.
  const std::string& identifier() const { return identifier_; }
  /// What to do; may be empty.
  const std::string& advice() const { return advice_; }

 private:
  std::string file_;
  std::string identifier_;
  std::string advice_;
};

}  // namespace readkit::cli
