// The index as a file.
#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "bam/bai.h"
#include "bam/bai_format.h"
#include "bam/bam.h"
#include "bam/index_reader.h"
#include "core/errors.h"
#include "core/file.h"

namespace readkit {
namespace {

class IndexWriter {
 public:
  explicit IndexWriter(const Path& path) : path_(path), file_(path, "wb") {
    if (!file_.is_open()) throw CannotOpenOutFile(path.text());
  }

  void write(const void* from, std::size_t size) {
    if (!file_.write(from, size)) throw FileWrite(path_.text());
  }
  template <typename T>
  void write(T value) {
    write(&value, sizeof value);
  }
  void close() {
    if (!file_.close()) throw FileWrite(path_.text());
  }

 private:
  Path path_;
  File file_;
};

std::vector<const RefIdxBin*> bins_of(const RefIndex& index, bool ascending) {
  std::vector<const RefIdxBin*> bins;
  bins.reserve(index.bins.size());
  for (const auto& [number, bin] : index.bins) bins.push_back(&bin);
  if (ascending) std::ranges::sort(bins, {}, &RefIdxBin::bin);
  return bins;
}

void write_reference(IndexWriter& out, const RefIndex& index, bool ascending) {
  out.write(index.n_bin);
  for (const RefIdxBin* bin : bins_of(index, ascending)) {
    out.write(bin->bin);
    out.write(bin->n_chunk);
    out.write(bin->chunks.data(), bin->chunks.size() * sizeof(Chunk));
  }
  out.write(index.n_intv);
  out.write(index.linear.data(), static_cast<std::size_t>(index.n_intv) * sizeof(std::uint64_t));
}

}  // namespace

bool BAI::dump(const Path& path) const {
  if (!finished_) return false;
  IndexWriter out(path);
  out.write(bai_magic.data(), bai_magic.size());
  out.write(n_ref_);
  for (int ref = 0; ref < n_ref_; ++ref) {
    write_reference(out, refs_[static_cast<std::size_t>(ref)], is_complete_);
  }
  out.write(n_no_coor_);
  out.close();
  return true;
}

bool BAI::load(const Path& path) {
  IndexReader in(path);
  in.check_magic();
  n_ref_ = in.read<std::int32_t>();
  for (std::int32_t ref = 0; ref < n_ref_; ++ref) {
    RefIndex index;
    in.read_bins(index, [](std::uint32_t) { return true; });
    const std::size_t n_intv = in.read_count();
    in.append(index.linear, n_intv);
    index.n_intv = static_cast<std::int32_t>(n_intv);
    refs_.push_back(std::move(index));
  }
  n_no_coor_ = in.read_optional(n_no_coor_);
  finished_ = true;
  return true;
}

bool BAM::save_index(const Path& path) const {
  return has_index_ && !index_file_ && index_.dump(path);
}

bool BAM::load_index(const Path& path) {
  index_file_.reset();
  if (!index_.load(path) || index_.get_num_refs() != get_num_refs()) return false;
  has_index_ = true;
  return true;
}

bool BAM::open_index(const Path& path) {
  if (!is_regular_file(path)) return load_index(path);
  has_index_ = false;
  index_file_.emplace(path);
  has_index_ = index_file_->get_num_refs() == get_num_refs();
  return has_index_;
}

}  // namespace readkit
