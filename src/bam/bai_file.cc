// The index as a file.
#include <algorithm>
#include <cstdint>

#include "bam/bai.h"
#include "bam/bai_format.h"
#include "bam/bam.h"
#include "core/bytes.h"
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

class IndexReader {
 public:
  explicit IndexReader(const Path& path) : path_(path), file_(path, "rb") {
    if (!file_.is_open()) throw FileNotFound(path.text());
  }

  void read(void* to, std::size_t size) {
    if (file_.read(to, size) < size) throw BAIRead(path_.text());
  }
  template <typename T>
  T read() {
    T value;
    read(&value, sizeof value);
    return value;
  }
  std::size_t read_count() {
    const auto count = read<std::int32_t>();
    if (count < 0) throw InvalidBAIFormat(path_.text());
    return static_cast<std::size_t>(count);
  }
  /// Appends `count` elements, in pieces, so that memory grows with what the file really holds.
  template <typename T>
  void append(std::vector<T>& to, std::size_t count) {
    constexpr std::size_t kPiece = 4096;
    for (std::size_t left = count; left > 0;) {
      const std::size_t piece = std::min(left, kPiece);
      to.resize(to.size() + piece);
      read(to.data() + to.size() - piece, piece * sizeof(T));
      left -= piece;
    }
  }
  /// Reads a value that may be absent; `fallback` when it is.
  std::uint64_t read_optional(std::uint64_t fallback) {
    std::uint64_t value = 0;
    return file_.read(&value, sizeof value) == sizeof value ? value : fallback;
  }
  void check_magic() {
    std::array<std::uint8_t, bai_magic.size()> magic;
    read(magic.data(), magic.size());
    if (magic != bai_magic) throw InvalidBAIFormat(path_.text());
  }

 private:
  Path path_;
  File file_;
};

static_assert(sizeof(Chunk) == 16, "chunks are read and written as they lie in memory");

void read_bin(IndexReader& in, RefIndex& index) {
  const auto number = in.read<std::uint32_t>();
  const std::size_t n_chunk = in.read_count();
  RefIdxBin& bin = index.bins[number];
  bin.bin = number;
  in.append(bin.chunks, n_chunk);
  bin.n_chunk = static_cast<std::int32_t>(bin.chunks.size());
}

RefIndex read_reference(IndexReader& in) {
  RefIndex index;
  const std::size_t n_bin = in.read_count();
  for (std::size_t i = 0; i < n_bin; ++i) read_bin(in, index);
  index.n_bin = static_cast<std::int32_t>(index.bins.size());
  const std::size_t n_intv = in.read_count();
  in.append(index.linear, n_intv);
  index.n_intv = static_cast<std::int32_t>(n_intv);
  return index;
}

void write_reference(IndexWriter& out, const RefIndex& index) {
  out.write(index.n_bin);
  for (const auto& [number, bin] : index.bins) {
    out.write(bin.bin);
    out.write(bin.n_chunk);
    out.write(bin.chunks.data(), bin.chunks.size() * sizeof(Chunk));
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
  for (int ref = 0; ref < n_ref_; ++ref) write_reference(out, refs_[static_cast<std::size_t>(ref)]);
  out.write(n_no_coor_);
  out.close();
  return true;
}

bool BAI::load(const Path& path) {
  IndexReader in(path);
  in.check_magic();
  n_ref_ = in.read<std::int32_t>();
  for (std::int32_t ref = 0; ref < n_ref_; ++ref) refs_.push_back(read_reference(in));
  n_no_coor_ = in.read_optional(n_no_coor_);
  finished_ = true;
  return true;
}

bool BAM::build_index() {
  has_index_ = false;
  rewind();
  index_.init(first_record_);
  while (next_alignment()) {
    if (ref_id() >= reference_limit()) throw ReferenceIDNotFound(to_ustring(ref_id()));
    index_.add(*this, stream_.tell());
  }
  has_index_ = index_.finish(stream_.tell());
  return has_index_;
}

bool BAM::save_index(const Path& path) const { return has_index_ && index_.dump(path); }

bool BAM::load_index(const Path& path) {
  if (!index_.load(path) || index_.get_num_refs() != get_num_refs()) return false;
  has_index_ = true;
  return true;
}

}  // namespace readkit
