// A record as a line of SAM text.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "cli/alignments/regions.h"
#include "cli/json/json_writer.h"

namespace readkit::cli {

/// The eleven fields and what follows them. Views into the line; fields that it lacks are empty.
struct SamLine {
  explicit SamLine(std::string_view line);

  /// The name of the reference; "*" for none.
  std::string_view reference() const { return fields[2]; }
  /// 1-based; 0 for none.
  std::int64_t position() const;

  std::array<std::string_view, 11> fields;
  std::string_view tags;          ///< Optional fields with the tabs between them.
  std::string_view without_tags;  ///< The eleven fields with the tabs between them.
};

/// Whether the record overlaps the region; one without a CIGAR covers its position.
bool overlaps(const SamLine& line, const Region& region);
/// Whether its bases, side by side from its position on, lie inside the region.
bool is_contained(const SamLine& line, const Region& region);

/// The record as a JSON object.
void write_record(JsonWriter& json, const SamLine& line, bool with_tags);

}  // namespace readkit::cli
