// The document of `readkit quality`: all that is known of the reads of some files. What a user
// sees, as JSON, as a page or as a table for other tools, is made from it;
// docs/schemas/quality.json is its form.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "cli/quality/counts.h"
#include "cli/quality/encoding.h"

namespace readkit::cli {

using Json = nlohmann::ordered_json;

/// A file that was scanned.
struct Sample {
  /// As it is shown; no two of a document are the same.
  std::string name;
  /// As it was given.
  std::string file;
  Kind kind = Kind::kFastq;
  Encoding encoding;
};

/// Positions that are shown together, from 0, and the next group's first.
struct PositionGroup {
  std::size_t begin;
  std::size_t end;
};

/// The groups of `positions` positions: each alone while they are few or `alone` is set, otherwise
/// groups of 2, 5, 10, 20, ... so that there are at most kMaxGroups of them.
std::vector<PositionGroup> position_groups(std::size_t positions, bool alone);
inline constexpr std::size_t kMaxAlone = 300;
inline constexpr std::size_t kMaxGroups = 150;

/// The part of the document that tells of one file. `from` is the position, 1-based, that the first
/// of `counts` is.
Json sample_document(const Sample& sample, const QualityCounts& counts, std::int64_t from,
                     bool alone);

}  // namespace readkit::cli
