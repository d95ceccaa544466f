// What a check of a file gives.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/array.h"

namespace readkit::cli {

struct Finding {
  std::string identifier;
  std::uint64_t offset = 0;
  std::uint64_t record = 0;  ///< From 1 on; 0 for none.
  std::string text;
};

struct CheckResult {
  std::string kind;
  std::uint64_t records = 0;
  std::uint64_t blocks = 0;
  bool sorted = false;
  bool end_marker = false;
  std::uint64_t count = 0;  ///< Of all findings, also of those that are not kept.
  std::vector<Finding> findings;

  bool is_alignment() const { return kind == "BAM" || kind == "SAM"; }
};

/// Reads the output of kxCheck.
CheckResult check_result(const txArray* a);

}  // namespace readkit::cli
