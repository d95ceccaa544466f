// Wrong usage of the program: what its user, not the library, has to put right.
#pragma once

#include <stdexcept>

namespace readkit::cli {

/// The program's exit statuses.
inline constexpr int kSuccess = 0;
inline constexpr int kFailure = 1;
inline constexpr int kWrongUsage = 2;
inline constexpr int kInterrupted = 130;

/// Ends the program with kWrongUsage; the text says what is wrong and where.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace readkit::cli
