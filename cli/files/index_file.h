// What a look at a BAI index tells of it, without the file that it belongs to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace readkit::cli {

struct IndexFacts {
  bool sound = false;  ///< The rest is known only of an index that can be read to its end.
  std::size_t references = 0;
  /// Queries through it can miss records: its linear index has gaps, as bamIndex leaves them.
  bool sparse = false;
  /// Offsets in the BAM file at which blocks must begin, a few of all.
  std::vector<std::uint64_t> blocks;
};

IndexFacts look_at_index(const std::string& path);

}  // namespace readkit::cli
