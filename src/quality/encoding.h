// The settings of a quality scan, and the check that every quality passes before it is counted.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace readkit {

/// Settings of one scan. Record numbers and positions are 0-based, spans inclusive.
struct encoding_t {
  std::int64_t offset = 0;            ///< what a quality character exceeds its quality by
  std::int64_t max_quality = 0;       ///< the largest valid quality
  std::int64_t min_quality = 0;       ///< the smallest valid quality
  std::int64_t ignore_value = 0;      ///< a quality that is not counted
  std::int64_t read_length = -1;      ///< positions to scan of every read; -1 when not given
  double min_average = 0;             ///< reads of a lower average quality are skipped
  std::int64_t min_length = -1;       ///< reads with a shorter span are skipped; -1 for no limit
  std::vector<std::int64_t> indices;  ///< the records to scan, ascending
  bool has_indices = false;           ///< whether only those are scanned
  std::int64_t scan_start = 0;        ///< first position; below 0 counts as 0
  std::int64_t scan_end = -1;         ///< last position; -1 for the read's end
  std::int8_t flag = 0;               ///< not 0: records without a reference are scanned too

  /// What turns a character into its quality; the most negative offset saturates.
  long long shift() const { return -std::max(offset, -std::numeric_limits<std::int64_t>::max()); }
};

/// Adds `shift` to every character and checks that the result lies in [low, high] and in a signed
/// byte. Characters before the first that does not are shifted, that one and the rest stay. Raises
/// InvalidData.
void verifyAndShift(std::string& qual, long long low, long long high, long long shift);
/// The same over `length` characters at `qual`. Returns `length`, or -2 where the other raises; a
/// length below 1 comes back as it is.
int verifyAndShift(char* qual, int length, long long low, long long high, long long shift);

}  // namespace readkit
