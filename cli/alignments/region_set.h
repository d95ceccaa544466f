// Regions that many records are compared with at once.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "cli/alignments/regions.h"
#include "cli/alignments/sam_line.h"

namespace readkit::cli {

class RegionSet {
 public:
  /// Regions that overlap or touch become one.
  explicit RegionSet(std::vector<Region> regions);

  /// In the order of the references and positions; none touches another.
  const std::vector<Region>& regions() const { return regions_; }
  /// Whether the record overlaps one of them.
  bool has_overlap(const SamLine& line) const;

 private:
  // Those of a reference, as places in `regions_`: [first, last).
  struct Places {
    std::size_t first = 0;
    std::size_t last = 0;
  };

  std::vector<Region> regions_;
  std::map<std::string, Places, std::less<>> places_;
};

}  // namespace readkit::cli
