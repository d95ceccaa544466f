// The part of a reference that a user names.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/alignments/alignment_header.h"

namespace readkit::cli {

/// The most that a position can be: 2^31 - 1.
inline constexpr std::int64_t kLastPosition = 2147483647;

/// 1-based, both ends inclusive.
struct Region {
  std::string reference;
  std::size_t index = 0;  ///< Of the reference, from 0 on.
  std::int64_t begin = 1;
  std::int64_t end = kLastPosition;
};

/// "name:begin-end".
std::string text_of(const Region& region);

/// Reads "chr1", "chr1:1000", "chr1:1000-2000", "chr1:-2000" or "chr1:1000-", with commas in the
/// numbers where they help. A name with colons is known by being a reference; {name}:begin-end
/// keeps the two apart. Raises Failure for `file` when there is no such reference, naming those
/// that may be meant, and UsageError for numbers that are none.
Region parse_region(const std::string& text, const std::vector<Reference>& references,
                    const std::string& file);

/// The index of a reference. Raises Failure as above.
std::size_t find_reference(const std::string& name, const std::vector<Reference>& references,
                           const std::string& file);

}  // namespace readkit::cli
