// Runs: the pieces of a file that a sort or a shuffle holds in memory at once, and the names of the
// files that they go to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "core/bgzf.h"
#include "core/large_memory.h"
#include "core/path.h"
#include "core/ustring.h"
#include "header/bam_header.h"
#include "records/alignment.h"

namespace readkit {

class BAM;

/// How large a run may become.
struct RunLimits {
  /// Kept: one more than the round 2^21, since the counter starts at -1.
  std::size_t records = (std::size_t{1} << 21) + 1;
  /// The bytes of memory that a run may take. A record that no run could hold has one of its own.
  std::uint64_t bytes = 0;

  /// The record limit above, and the largest power of two within half of the available memory, at
  /// least 256 MiB.
  static RunLimits for_this_machine();
  /// The record limit above and 256 MiB: a source is cut into the same runs everywhere.
  static RunLimits for_any_machine();
};

/// The records of one run, one behind the other in large pieces of memory, and a handle of each
/// that can be moved about instead.
class RunBuffer {
 public:
  explicit RunBuffer(const RunLimits& limits) : limits_(limits) {}

  /// Copies a record; false, and nothing is copied, when the run has records and this one would
  /// carry it past the limit of bytes.
  bool add(const Alignment& record);
  /// Whether the run has as many records as it may have.
  bool full() const { return handles_.size() >= limits_.records; }
  std::size_t size() const { return handles_.size(); }
  /// Forgets the records and lets go of their memory.
  void clear();

  /// Puts the records into coordinate order; equal records keep their order. A call that its host
  /// ends leaves them in any order, and can write none.
  void sort();
  /// Puts the records into a random order, each equally likely.
  void shuffle(std::mt19937& random);

  /// Hands every record in order to `take` until it returns false; whether it never did.
  bool visit(const std::function<bool(const Alignment&)>& take) const;
  /// Writes the records to a BAM file open for writing; false when it did not take all.
  bool write(BAM& out) const;

 private:
  // The key of the record's order, and where it lies: its length word, then its block.
  struct Handle {
    std::uint64_t key;
    const std::uint8_t* record;
  };
  // A piece of memory that records lie in.
  struct Piece {
    LargeMemory bytes;
    std::size_t size = 0;
  };
  static constexpr std::size_t kPieceSize = std::size_t{4} << 20;
  // A growing list of handles holds up to three for each record, and so does sorting.
  static constexpr std::size_t kHandleBytes = 3 * sizeof(Handle);

  std::uint64_t bytes_with(std::size_t size) const;
  std::uint8_t* room_for(std::size_t size);
  template <typename Take>
  bool for_each(const Take& take) const;

  RunLimits limits_;
  std::vector<Piece> pieces_;      // the last one is being filled
  std::size_t used_ = 0;           // of it
  std::uint64_t piece_bytes_ = 0;  // of all
  std::vector<Handle> handles_;
};

/// Where records come from: `next` advances and tells whether there is one, `current` is it.
struct RunSource {
  const Path& path;
  std::function<bool()> next;
  const Alignment& current;
  const BamHeader& header;
};

/// What becomes of the runs of a source.
struct RunSteps {
  std::function<void(RunBuffer&)> arrange;                ///< sorts or shuffles one run
  std::function<void(const RunBuffer&)> write_whole;      ///< the source was a single run
  std::function<void(const std::vector<UString>&)> join;  ///< joins the temporaries
  Packing temporaries = Packing::kQuick;                  ///< how well these are compressed
};

/// Cuts a source into runs and arranges each. A source that fits into one run is written by
/// `write_whole`; else every run, the last one even when it is empty, goes to a temporary BAM file
/// `tmp_bamname(base, n)`, `join` makes the output of them, and they are removed in the order in
/// which they were made. On an error the temporaries stay. Raises FileNotFound for a temporary that
/// cannot be created, CannotOpenOutFile for one that would replace the source or another one by a
/// link, FileWrite for one that cannot be written, and what the steps raise.
void process_runs(const RunSource& source, const UString& base, const RunLimits& limits,
                  const RunSteps& steps);

/// The name of the temporary file of run `n`, 0-based: base.n.bam, next to the output.
UString tmp_bamname(const UString& base, int n);
/// The base of the default output of a sort: `name` without a last ".bam", and ".sorted".
UString sorted_base(const UString& name);

/// Raises CannotOpenOutFile with `out` when it is one of these files, by links as well.
void refuse_to_overwrite(const std::vector<UString>& files, const UString& out);

/// Writes a BAM file of a header and the records of a run. Raises FileNotFound and FileWrite.
void write_bam(const UString& name, const BamHeader& header, const RunBuffer& run,
               Packing packing = Packing::kFull);

}  // namespace readkit
