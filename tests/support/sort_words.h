// Short words for tests of sorting, merging and shuffling.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "bam/runs.h"
#include "support/bam_builder.h"
#include "support/random_data.h"
#include "support/record_builder.h"
#include "support/reference_decoder.h"
#include "support/temp_dir.h"

namespace readkit {

using Reads = std::vector<RecordBuilder>;
using Names = std::vector<std::string>;

/// Runs of at most so many records of any size, and of at most so many bytes.
inline RunLimits limit_of_records(std::size_t records) {
  return {.records = records, .bytes = std::numeric_limits<std::uint64_t>::max()};
}
inline RunLimits limit_of_bytes(std::uint64_t bytes) { return {.bytes = bytes}; }

/// `count` reads named "r0", "r1"... (or after another prefix) at random places, some without a
/// reference; the places are so few that many reads share one.
Reads random_reads(Random& random, int count, const std::string& prefix = "r");
/// The same, with `qualities` random qualities each, which no compressor can shorten much.
Reads bulky_reads(Random& random, int count, std::size_t qualities);

/// A file of these reads, with a header text and the references "chr1" to "chr3".
BamBuilder bam_of(const Reads& reads);
/// The header text of such a file, and its SAM text.
std::string header_text();
std::string sam_of(const Reads& reads);

/// The records of a BAM file in a folder.
std::vector<DecodedRecord> records_in(const TempDir& folder, std::string_view name);

/// The names of records, in order.
Names names_of(const std::vector<DecodedRecord>& records);
Names names_in(const TempDir& folder, std::string_view name);
/// The whole records as bytes, in byte order: equal when two lists hold the same records.
std::vector<std::string> same_records(const std::vector<DecodedRecord>& records);

/// The coordinate order as its rule reads: by reference, those without one last, then by position.
bool goes_before(const DecodedRecord& a, const DecodedRecord& b);
bool is_in_order(const std::vector<DecodedRecord>& records);
/// The records in that order, equal ones in the order given.
std::vector<DecodedRecord> in_order(std::vector<DecodedRecord> records);

}  // namespace readkit
