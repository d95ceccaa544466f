// The dictionary that records and lines of their own are read and written against.
#pragma once

#include "header/bam_header.h"
#include "records/reference_map.h"
#include "support/reference_decoder.h"

namespace readkit::fuzz {

inline constexpr const char* kNames[] = {"chr1", "chr2", "HLA:A*01"};

/// From names of so many bytes on, the CIGAR is read from wrapped places (see
/// Alignment::cigar_bytes).
inline constexpr int kWrappingName = 224;

inline const BamHeader& dictionary() {
  static const BamHeader header = [] {
    BamHeader names;
    for (const char* const name : kNames) names.add_reference(name, 100000);
    return names;
  }();
  return header;
}

inline const ReferenceMap& references() {
  static const ReferenceMap map = {{kNames[0], 0}, {kNames[1], 1}, {kNames[2], 2}};
  return map;
}

inline const DecodedBam& decoded_dictionary() {
  static const DecodedBam bam = {
      .text = {},
      .refs = {{kNames[0], 100000}, {kNames[1], 100000}, {kNames[2], 100000}},
      .records = {}};
  return bam;
}

}  // namespace readkit::fuzz
