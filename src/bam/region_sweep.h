// The records of many regions, in one pass through a sorted BAM file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "bam/bam.h"

namespace readkit {

/// A region of a reference: 0-based, [beg, end).
struct RefRegion {
  int ref = 0;
  int beg = 0;
  int end = 0;
};

/// Reads the records that overlap any of some regions: of the chunks that the index gives for them,
/// what no region needs any more is passed over, and a block that several need is read once.
///
///   RegionSweep sweep(bam, regions);
///   while (sweep.next()) use(bam, sweep.hits());
class RegionSweep {
 public:
  /// The chunks of all regions that are held at once; with more of them, regions are read in parts.
  static constexpr std::size_t kMostChunks = std::size_t{1} << 20;

  /// Without an index the file is read from its first record on. REQUIRES: `bam` and `regions`
  /// outlive this.
  RegionSweep(BAM& bam, std::span<const RefRegion> regions, std::size_t most_chunks = kMostChunks);

  /// Advances the file to the next record of a region, as `overlap` has it; false when there is
  /// none left. Where regions are read in parts, a record may come once for each. Raises
  /// BAMUnsorted for a record that comes before the one in front of it, the errors of reading, and
  /// those of a changed index.
  bool next();
  /// The places in the list of the regions that the current record overlaps: one at least.
  std::span<const std::uint32_t> hits() const { return hits_; }

 private:
  // A region that is looked for, and its chunks from the one that is read now on.
  struct Query {
    std::uint32_t place = 0;
    std::vector<Chunk> chunks;
    std::vector<Chunk>::const_iterator chunk = {};
  };

  bool load();
  bool open_those_reached();
  bool move_to_chunk();
  bool find_hits();
  std::vector<Chunk> chunks_of(const RefRegion& region);
  void require_order();

  BAM& bam_;
  std::span<const RefRegion> regions_;
  std::size_t most_chunks_;
  std::vector<std::uint32_t> order_;  // places by region
  std::size_t loaded_ = 0;            // of them
  std::vector<Query> waiting_;        // the one that begins first in the file comes last
  std::vector<Query> open_;           // those whose chunks have been reached
  std::uint64_t at_ = 0;              // where the file stands
  bool is_positioned_ = false;        // it does
  std::uint64_t steady_until_ = 0;    // the file may be read on until it stands there
  std::uint64_t last_key_ = 0;
  std::vector<std::uint32_t> hits_;
};

}  // namespace readkit
