// What a check of a file tells.
#pragma once

#include <cstdint>
#include <string_view>

#include "check/findings.h"

namespace readkit {

struct CheckResult {
  std::string_view kind = "unknown";  ///< "BAM", "SAM", "BAI", "FASTQ", "BGZF" or "unknown"
  std::uint64_t records = 0;          ///< of an index: those that it counts
  std::uint64_t blocks = 0;           ///< of a BGZF file
  bool sorted = false;                ///< BAM, SAM: in coordinate order
  /// BAM: ends with the end-of-file marker; text: ends with a newline; BAI: with the count of
  /// records without a reference.
  bool end_marker = false;
  Findings findings;
};

/// The order of records as `bamInfo` sees it: by reference, records without one last and in any
/// order, then by position.
class CoordinateOrder {
 public:
  /// Returns whether the record may follow those before it.
  bool add(std::int32_t ref, std::int32_t pos) {
    // Positions begin at -1 and may be any number in a damaged file.
    const std::uint64_t place = static_cast<std::uint32_t>(pos) ^ 0x80000000U;
    const std::uint64_t key =
        ref < 0 ? ~std::uint64_t{0} : static_cast<std::uint64_t>(ref) << 32 | place;
    const bool is_next = key >= last_;
    last_ = key;
    return is_next;
  }

 private:
  std::uint64_t last_ = 0;
};

}  // namespace readkit
