// Fields of selected records: the progress record that the gateway and its per-record step share.
#pragma once

#include <cstdint>
#include <vector>

#include "records/alignment.h"

namespace readkit {

/// The fields that can be asked for, in the order of their codes.
enum Feature : std::uint32_t {
  kFlag,
  kPosition,
  kMappingQuality,
  kMatePosition,
  kMateIndex,
  kQueryLength,
  kEndPosition,
  kSignature,
  kSequence,
  kHeader,
  kQuality,
  kFeatureCount,
};

/// Where a scan over the records of a span stands. Ordinals are 1-based within the reference.
struct GetFeatures_T {
  std::int32_t skip = 0;                      ///< records still to pass over before counting begins
  std::uint32_t index = 0;                    ///< ordinal of the next record that will be counted
  std::uint32_t row = 0;                      ///< next output row, 0-based
  std::uint32_t last_index = 0;               ///< ordinal of the last wanted record
  const std::uint32_t* next_index = nullptr;  ///< cursor into the ascending wanted ordinals
  std::int32_t start = 0;  ///< 0-based start of the first wanted record; earlier ones do not count
  void** outputs = nullptr;  ///< per feature: a data block (numbers) or the cell array (texts)
  std::vector<std::uint32_t> features;  ///< codes in the order requested
};

/// Takes one record of the span: passes over it, counts it, or writes one row of every output.
void get_features(const Alignment& a, GetFeatures_T& s);

}  // namespace readkit
