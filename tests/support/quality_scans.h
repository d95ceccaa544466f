// Quality scans of one source, without the gateway.
//
//   const distribution_t counts = scanned(plain_encoding(), [&](auto* encoding, auto* counts) {
//     collectDataFromFASTQ(folder.text("a.fastq"), encoding, counts);
//   });
//   EXPECT_EQ(counts.length_histogram, (Lengths{{4, 1}}));
#pragma once

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "quality/distribution.h"
#include "quality/encoding.h"

namespace readkit {

/// Counted reads by their length. Where every read of a source has a length of its own, this tells
/// which ones were counted.
using Lengths = std::map<int, std::int64_t>;

/// Characters '!' to 'J' for the qualities 0 to 41, every one counted, and no read left out.
inline encoding_t plain_encoding() {
  encoding_t encoding;
  encoding.offset = 33;
  encoding.max_quality = 41;
  encoding.ignore_value = -1;
  encoding.flag = 1;
  return encoding;
}

/// The same for these records only.
inline encoding_t selecting(std::vector<std::int64_t> records) {
  encoding_t encoding = plain_encoding();
  encoding.has_indices = true;
  encoding.indices = std::move(records);
  return encoding;
}

/// Which of four reads, of lengths 1 to 4, are counted for lists of records: those in ascending
/// order, up to the first one that is not.
inline std::vector<std::pair<std::vector<std::int64_t>, Lengths>> selections_of_four() {
  return {
      {{0, 2}, {{1, 1}, {3, 1}}},
      {{3}, {{4, 1}}},
      {{1, 4, 5}, {{2, 1}}},
      {{2, 0, 3}, {{3, 1}}},
      {{1, 1}, {{2, 1}}},
      {{-1, 0}, {}},
      {{9}, {}},
      {{}, {}},
  };
}

/// What `collect(&encoding, &distribution)` counts.
template <typename Collect>
distribution_t scanned(encoding_t encoding, const Collect& collect) {
  distribution_t distribution;
  getEmptyDistribution(&distribution, &encoding);
  collect(&encoding, &distribution);
  settle(&distribution);
  return distribution;
}

}  // namespace readkit
