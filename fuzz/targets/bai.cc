// An index of any bytes for a fixed BAM file: loaded, written, searched, and queried through.
#include "bam/bai.h"

#include <cstdint>
#include <string>
#include <vector>

#include "bam/bam.h"
#include "fuzz/support/calls.h"
#include "fuzz/support/samples.h"
#include "fuzz/support/scratch.h"
#include "fuzz/support/target.h"
#include "support/index_model.h"

namespace readkit::fuzz {
namespace {

constexpr int kRecords = 24;

std::string fixed_file() { return wide_bam(kRecords).one_block_each().bytes(); }

// Chunks of any index are sorted and do not touch each other's blocks.
void check_chunks(const BAI& index, int ref, int beg, int end) {
  const std::vector<Chunk> chunks = index.find_chunks(ref, beg, end);
  for (std::size_t i = 1; i < chunks.size(); ++i) {
    require(chunks[i - 1].end >> 16 < chunks[i].beg >> 16, "chunks are not merged");
  }
}

// Whatever the index says, a query gives records of the file's bytes that lie in the region.
void query(const Path& bam_path, const Path& index_path, int ref, int beg, int end) {
  error_of("a query", [&] {
    BAM bam(bam_path);
    bam.load_index(index_path);
    bam.find_init(ref, beg, end);
    // An index may lead to one place again and again, at most once for each of its chunks.
    for (std::size_t found = 0; bam.find_next(ref, beg, end); ++found) {
      require(bam.ref_id() == ref && overlap(beg, end, bam.pos(), bam.cigar_endpos()),
              "a record outside of the region");
    }
  });
}

void run(Input input) {
  const auto ref = input.take<std::int8_t>();
  const auto beg = input.take<std::int32_t>();
  const auto end = input.take<std::int32_t>();
  static const Path bam_path = path_of(file_with("fixed.bam", fixed_file()));
  const Path index_path = path_of(file_with("a.bai", input.rest()));
  BAI index;
  const std::string error = error_of("BAI::load", [&] { index.load(index_path); });
  check_chunks(index, ref, beg, end);
  if (!error.empty()) return;
  query(bam_path, index_path, ref, beg, end);
}

std::vector<std::string> seeds() {
  const ModelIndex whole = model_index_of(fixed_file()).index;
  ModelIndex no_count = whole;
  no_count.n_no_coor.reset();
  const std::string all("\0\0\0\0\0\0\0\0\2", 9);
  const std::string some("\1\0\300\0\0\0\0\2\0", 9);
  return behind({all, some}, {encode_bai(whole), encode_bai(no_count), encode_bai({}),
                              encode_bai({.refs = std::vector<ModelReference>(2)})});
}

const Registration registration({.name = "bai", .run = run, .seeds = seeds, .choices = 9});

}  // namespace
}  // namespace readkit::fuzz
