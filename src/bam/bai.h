// The BAI index of a coordinate-sorted BAM file: for each reference, bins of chunks and a linear
// index. Built record by record (bai_build.cc, complete_index.cc), dumped and loaded (bai_file.cc),
// searched (bai.cc).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

#include "core/path.h"
#include "records/alignment.h"
#include "records/bins.h"

namespace readkit {

/// A stretch of a BAM file: the virtual offset of its first record, and that just past its last.
struct Chunk {
  std::uint64_t beg = 0;
  std::uint64_t end = 0;

  bool operator<(const Chunk& other) const { return beg < other.beg; }
  bool operator==(const Chunk& other) const = default;

  /// Sorts by `beg` and joins every chunk that begins in the compressed block in which the one
  /// before it ends, or earlier; returns the new count. Fewer than two chunks stay as they are.
  static std::int64_t merge_adj_chunks(std::vector<Chunk>& chunks);
};

/// One bin of one reference.
struct RefIdxBin {
  std::uint32_t bin = 0;
  std::int32_t n_chunk = 0;
  std::vector<Chunk> chunks;

  void sort_chunks();
  /// Merges the bin's own chunks and sets `n_chunk`.
  void merge_adj_chunks();
};

/// Bins by number. The hash is the number itself, so that the iteration order, in which bins are
/// folded and written, is the same on every run.
struct BinNumberHash {
  std::size_t operator()(std::uint32_t bin) const noexcept { return bin; }
};
using BinMap = std::unordered_map<std::uint32_t, RefIdxBin, BinNumberHash>;

/// The index of one reference. A linear-index entry is the virtual offset of a record in that
/// window of 16384 positions, 0 for none (all bits set while building).
struct RefIndex {
  RefIndex() { bins.max_load_factor(1.0F); }

  std::int32_t n_bin = 0;
  std::int32_t n_intv = 0;  ///< windows in use: one past the highest that a mapped record touches
  BinMap bins;
  std::vector<std::uint64_t> linear;  ///< may be longer than `n_intv`
};

/// Windows of a linear index.
struct WindowRange {
  std::size_t first = 0;
  std::size_t count = 0;
};
/// Those that [beg, end) touches, of `n_intv` that there are.
WindowRange windows_of(int beg, int end, std::size_t n_intv);

/// The chunks of the candidate bins that may hold records of a region, sorted and merged, given the
/// windows that the region touches.
std::vector<Chunk> find_chunks(const BinMap& bins, const std::vector<std::uint32_t>& candidates,
                               std::span<const std::uint64_t> windows);

/// Takes away from chunks what lies before the offset of the region's first window, the last one of
/// `windows`, which begin with the reference's first. No record of the region lies there in an
/// index whose windows have the least offset of their records. Other tools leave unmapped records
/// out of the windows, and these can lie before the first offset of all: chunks that reach there
/// stay as they are, and so do all where the window before has no offset, or a greater one.
void trim_chunks(std::vector<Chunk>& chunks, std::span<const std::uint64_t> windows);

/// An index in memory, and the state of building it: `init`, `add` for every record in file order,
/// `finish`.
class BAI {
 public:
  /// Starts anew; `offset` is the virtual offset of the first record.
  void init(std::uint64_t offset);
  /// Adds the record that ends at virtual offset `offset`. Returns true. The extent that counts is
  /// [pos, pos + l_seq), and the bin is the record's stored one. Raises PositionTooBig and
  /// BAMUnsorted; the index then stays unfinished.
  bool add(const Alignment& record, std::uint64_t offset);
  /// Closes the last bin at `offset`, the end of the records, and compresses the index; true.
  bool finish(std::uint64_t offset);

  /// The same for an index through which no query misses a record. The extent that counts is [pos,
  /// `cigar_endpos`), of unmapped records too, and the bin is that of the extent. Raise as `add`.
  /// REQUIRES: every record's reference is below `n_ref`, the number of references that the index
  /// will have.
  bool add_complete(const Alignment& record, std::uint64_t offset);
  bool finish_complete(std::uint64_t offset, int n_ref);

  /// Writes the index, a complete one with ascending bins, any other with the bins in the order of
  /// their map; false, without touching a file, unless it is finished. Raises
  /// CannotOpenOutFile and FileWrite.
  bool dump(const Path& path) const;
  /// Reads an index file and appends its references to this index; true. Raises FileNotFound,
  /// BAIRead for a short file, InvalidBAIFormat for a wrong magic or a negative count; references
  /// read completely before that stay.
  bool load(const Path& path);

  int get_num_refs() const { return n_ref_; }
  std::uint64_t n_no_coor() const { return n_no_coor_; }
  const std::vector<RefIndex>& refs() const { return refs_; }
  bool finished() const { return finished_; }

  /// The chunks that may hold records overlapping [beg, end) of reference `ref`, sorted and merged;
  /// none for a reference outside the index.
  std::vector<Chunk> find_chunks(int ref, int beg, int end) const;
  /// The same without what lies before the region's first window (see `trim_chunks`).
  std::vector<Chunk> find_trimmed_chunks(int ref, int beg, int end) const;

 private:
  static constexpr std::uint32_t kNoBin = ~std::uint32_t{0};
  static constexpr std::uint64_t kUnset = ~std::uint64_t{0};  // a window, while building

  int accept(const Alignment& record);
  void check_order(int ref, int pos);
  void add_to_linear(int pos, std::int64_t end);
  void take(const Alignment& record, std::uint32_t bin, std::uint64_t offset);
  void add_to_bins(int ref, std::uint32_t bin);
  void close_reference(std::uint64_t offset);
  void close_last_bin(std::uint64_t offset);
  void _add(int ref, std::uint32_t bin, std::uint64_t beg, std::uint64_t end);
  void compress_index(int ref);

  std::int32_t n_ref_ = 0;
  std::uint64_t n_no_coor_ = 0;
  std::vector<RefIndex> refs_;
  std::int32_t last_ref_ = -1;       // of the record before
  std::int32_t save_ref_ = -1;       // of the bin being accumulated
  std::uint32_t last_bin_ = kNoBin;  // of the record before, on this reference
  std::uint32_t save_bin_ = kNoBin;  // the bin being accumulated
  std::int32_t last_pos_ = -1;
  std::uint64_t last_off_ = 0;  // where the current record starts
  std::uint64_t n_mapped_ = 0;  // of the current reference
  std::uint64_t n_unmapped_ = 0;
  std::uint64_t save_off_ = 0;  // where the bin being accumulated began
  std::uint64_t off_beg_ = 0;   // of the current reference
  std::uint64_t off_end_ = 0;
  bool finished_ = false;
  bool is_complete_ = false;  // built by `add_complete` and `finish_complete`
};

}  // namespace readkit
