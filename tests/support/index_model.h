// A slow second implementation of indexes: what an index of a file must hold, which chunks it must
// give for a region, and which records a query through it must find. Written from the rules alone,
// to compare the library with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace readkit {

/// A begin and an end offset, or the two counts of a pseudo-bin.
using ModelChunk = std::pair<std::uint64_t, std::uint64_t>;

/// The pseudo-bin's number.
inline constexpr std::uint32_t kModelPseudoBin = 37450;

struct ModelBin {
  std::uint32_t number = 0;
  std::vector<ModelChunk> chunks;
  bool operator==(const ModelBin&) const = default;
};

struct ModelReference {
  std::vector<ModelBin> bins = {};  ///< in the order in which the file holds them
  std::vector<std::uint64_t> linear = {};
  bool operator==(const ModelReference&) const = default;

  /// The chunks of a bin; none when it is absent.
  std::vector<ModelChunk> chunks(std::uint32_t number) const;
  std::vector<std::uint32_t> numbers() const;  ///< of the bins, sorted
};

/// An index file in memory; to write one by hand:
///
///   encode_bai({.refs = {{.bins = {{4681, {{100, 200}}}}, .linear = {100}}}})
struct ModelIndex {
  std::vector<ModelReference> refs = {};
  std::optional<std::uint64_t> n_no_coor = 0;  ///< nothing when the file ends before it
  bool operator==(const ModelIndex&) const = default;
};

std::string encode_bai(const ModelIndex& index);
/// Throws std::runtime_error for a file that is not sound.
ModelIndex decode_bai(std::string_view file);

/// What counts of a record for an index.
struct ModelRecord {
  int ref = -1;
  int pos = -1;
  std::int64_t length = 0;  ///< of the sequence
  int end = 0;              ///< one past the last base that the CIGAR covers
  std::uint32_t bin = 0;
  int flag = 0;
  std::string name = {};
  std::uint64_t beg_offset = 0;  ///< as a reader tells before it reads the record
  std::uint64_t end_offset = 0;  ///< and after it
};

/// The records of a BAM file.
std::vector<ModelRecord> model_records(std::string_view file);

/// The index of these records; `error` is "BAMUnsorted", "PositionTooBig <name>" or empty.
struct ModelOutcome {
  std::string error;
  ModelIndex index;
};
/// `end_offset` is what a reader tells when it has met the end. That is where the records end or,
/// behind an end marker, the marker's end, so the last chunk of a file may reach over its marker.
ModelOutcome model_index(const std::vector<ModelRecord>& records, std::uint64_t end_offset);
/// The index of a BAM file.
ModelOutcome model_index_of(std::string_view file);

/// The index of these records that misses nothing, of `n_ref` references: every record in the bin
/// of its extent, bins ascending and their chunks merged, each window with the smallest offset of
/// the records that overlap it. REQUIRES: the records are in coordinate order.
ModelIndex model_complete_index(const std::vector<ModelRecord>& records, std::size_t n_ref,
                                std::uint64_t end_offset);

/// The chunks that the index gives for [beg, end) of a reference. REQUIRES: `beg` is not negative.
std::vector<ModelChunk> model_chunks(const ModelIndex& index, int ref, int beg, int end);

/// The places of the records that a query finds: through these chunks, and by reading all records.
std::vector<std::size_t> model_query(const std::vector<ModelRecord>& records,
                                     const std::vector<ModelChunk>& chunks, int ref, int beg,
                                     int end);
std::vector<std::size_t> model_scan(const std::vector<ModelRecord>& records, int ref, int beg,
                                    int end);

}  // namespace readkit
