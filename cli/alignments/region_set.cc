#include "cli/alignments/region_set.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace readkit::cli {

RegionSet::RegionSet(std::vector<Region> regions) {
  std::ranges::sort(regions, {},
                    [](const Region& region) { return std::tie(region.index, region.begin); });
  for (Region& region : regions) {
    const bool touches = !regions_.empty() && regions_.back().index == region.index &&
                         region.begin <= regions_.back().end + 1;
    if (touches) {
      regions_.back().end = std::max(regions_.back().end, region.end);
    } else {
      regions_.push_back(std::move(region));
      Places& places =
          places_.try_emplace(regions_.back().reference, Places{.first = regions_.size() - 1})
              .first->second;
      places.last = regions_.size();
    }
  }
}

bool RegionSet::has_overlap(const SamLine& line) const {
  const auto places = places_.find(line.reference());
  if (places == places_.end()) return false;
  const auto [first, last] = places->second;
  // The first one that does not end before the record begins; the others begin behind it.
  const auto begin = regions_.begin();
  const auto candidate = std::partition_point(
      begin + static_cast<std::ptrdiff_t>(first), begin + static_cast<std::ptrdiff_t>(last),
      [position = line.position()](const Region& region) { return region.end < position; });
  return candidate != begin + static_cast<std::ptrdiff_t>(last) && overlaps(line, *candidate);
}

}  // namespace readkit::cli
