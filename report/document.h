// The document of `readkit quality`: all that is known of the reads of some files. What a user
// sees, as JSON, as a page or as a table for other tools, is made from it;
// docs/schemas/quality.json is its form.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "report/counts.h"
#include "report/encoding.h"

namespace readkit::report {

using Json = nlohmann::ordered_json;

/// Which reads were counted, and what part of them.
struct ScanSettings {
  /// Reads with fewer positions to count are left out.
  std::int64_t min_length = 1;
  /// Reads of a lower average are left out.
  std::optional<double> min_average;
  /// Positions of each read, 1-based and inclusive; no end is the read's own.
  std::int64_t from = 1;
  std::optional<std::int64_t> to;
  /// Only as many reads, from the file's first on.
  std::optional<std::int64_t> first;
  /// SAM and BAM: leave out records without a reference.
  bool mapped_only = false;
  /// "33", "64" or "auto".
  std::string encoding = "33";
  /// Positions of long reads are grouped.
  bool groups = true;
};

/// A file that was scanned.
struct Sample {
  /// As it is shown; no two of a document are the same.
  std::string name;
  /// As it was given.
  std::string file;
  /// "fastq", "sam" or "bam"; of files of several kinds "mixed", of reads in memory "memory".
  std::string kind = "fastq";
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

/// The document, to whose list "samples" samples are added. `version` is readkit's.
Json quality_document(const std::string& version, const ScanSettings& settings);
/// The part of the document that tells of one file.
Json sample_document(const Sample& sample, const QualityCounts& counts,
                     const ScanSettings& settings);

}  // namespace readkit::report
