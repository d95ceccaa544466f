// The records of a BAM file against an index of it: whether every one is found, and the counts.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "bam/bai.h"
#include "check/findings.h"
#include "check/index_file.h"
#include "core/path.h"
#include "records/alignment.h"

namespace readkit {

/// Looks for each record as a region query does, with `BAI::find_chunks` for the windows that the
/// record covers. In a sorted file the same lookup serves many records, one after the other.
class IndexChecks {
 public:
  /// A lookup costs as many steps as it visits bins and chunks. So many are made, and so many
  /// more for each record; an index that takes more (only one made to, or one of a file that is not
  /// sorted) is not asked any further, which is a finding.
  static constexpr std::uint64_t kMostSteps = std::uint64_t{1} << 28;
  static constexpr std::uint64_t kStepsPerRecord = 64;

  /// Opens, checks and loads the index. Raises FileNotFound. `findings` must outlive this object.
  IndexChecks(const Path& path, Findings& findings, std::uint64_t most_steps = kMostSteps);

  /// Looks for a record that lies at a virtual offset. REQUIRES: record.is_well_formed().
  void check(const Alignment& record, std::uint64_t offset, std::uint64_t ordinal);
  /// Compares counts: of references with the header, and, when the file `is_complete`, that is,
  /// every record was checked, of records; then also tells of chunks that begin inside a record.
  void finish(std::size_t references, bool is_complete);

 private:
  struct Lookup {
    std::int32_t ref = -1;
    std::int64_t first_window = 0;
    std::int64_t last_window = 0;
    std::vector<Chunk> chunks;
  };
  struct Counts {
    std::uint64_t mapped = 0;
    std::uint64_t unmapped = 0;
  };
  static constexpr std::size_t kLookups = 64;
  // Longer lists of chunks are not kept.
  static constexpr std::size_t kMostChunks = std::size_t{1} << 16;

  void list_begins();
  void pass_begins(std::uint64_t offset);
  void count(const Alignment& record);
  bool finds(std::int32_t ref, int beg, int end, std::uint64_t offset);
  std::uint64_t lookup_steps(std::int32_t ref, int beg, int end) const;

  Findings& findings_;
  IndexSummary summary_;
  BAI index_;
  std::array<Lookup, kLookups> lookups_;  // by how many windows they span
  std::vector<Counts> counts_;            // by reference
  std::vector<std::uint64_t> begins_;     // of chunks, ascending
  std::size_t passed_begins_ = 0;         // as many lie before the records to come
  std::vector<std::uint64_t> misplaced_;  // of those, at no record
  std::uint64_t last_offset_ = 0;         // of the record before
  std::uint64_t without_reference_ = 0;
  std::uint64_t most_steps_;
  std::uint64_t steps_ = 0;
  bool gave_up_ = false;
};

}  // namespace readkit
