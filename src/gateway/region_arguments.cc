#include "gateway/region_arguments.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "core/errors.h"
#include "core/ustring.h"
#include "gateway/arguments.h"

namespace readkit {

std::vector<RefRegion> regions_argument(const BAM& bam, const txArray* references,
                                        const txArray* firsts, const txArray* lasts) {
  const std::size_t count = txGetNumberOfElements(references);
  if (txGetNumberOfElements(firsts) != count || txGetNumberOfElements(lasts) != count) {
    throw BadIndex();
  }
  const auto refs = int64_list_argument(references, count, "references");
  const auto begins = int64_list_argument(firsts, count, "firsts");
  const auto ends = int64_list_argument(lasts, count, "lasts");
  std::vector<RefRegion> regions;
  regions.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    if (refs[i] < 0 || refs[i] >= bam.get_num_refs()) {
      throw ReferenceIDNotFound(to_ustring(std::to_string(refs[i])));
    }
    constexpr std::int64_t kHighest = std::numeric_limits<int>::max();
    const std::int64_t first = std::clamp<std::int64_t>(begins[i], 1, kHighest);
    regions.push_back(
        {.ref = static_cast<int>(refs[i]),
         .beg = static_cast<int>(first - 1),
         .end = static_cast<int>(std::clamp<std::int64_t>(ends[i], first, kHighest))});
  }
  return regions;
}

void open_index_for(std::size_t regions, BAM& bam, const Path& index) {
  constexpr std::size_t kMany = 16;
  if (regions < kMany) {
    bam.open_index(index);
  } else {
    bam.load_index(index);
  }
}

}  // namespace readkit
