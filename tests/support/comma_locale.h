// A process locale in which the decimal point is a comma.
#pragma once

#include <string>

#include "support/temp_dir.h"

namespace readkit {

/// Sets such a locale for its lifetime: one that the system has, or one made from the system's
/// locale sources.
class CommaLocale {
 public:
  CommaLocale();
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;
  ~CommaLocale();

  /// Whether a locale with a comma is in force.
  bool is_set() const { return is_set_; }

 private:
  TempDir folder_;
  std::string saved_;
  bool is_set_ = false;
};

}  // namespace readkit
