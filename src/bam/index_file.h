// An index file that is open for region queries.
#pragma once

#include <cstdint>
#include <vector>

#include "bam/bai.h"
#include "bam/index_reader.h"
#include "core/path.h"

namespace readkit {

/// What a region query needs of an index file. Opening goes through the whole file, so that damage
/// anywhere is an error as it is to BAI::load, and keeps where the references stand; a query reads
/// the bins and windows of its region. Movable; the file stays open.
class IndexFile {
 public:
  /// Raises as BAI::load.
  explicit IndexFile(const Path& path);

  int get_num_refs() const { return n_ref_; }
  /// As BAI::find_chunks of the index that the file holds. Raises as BAI::load for a file that has
  /// changed since it was opened.
  std::vector<Chunk> find_chunks(int ref, int beg, int end);
  /// As BAI::find_trimmed_chunks.
  std::vector<Chunk> find_trimmed_chunks(int ref, int beg, int end);

 private:
  IndexReader in_;
  std::int32_t n_ref_ = 0;
  std::vector<std::uint64_t> offsets_;  // in the file, of each reference
};

}  // namespace readkit
