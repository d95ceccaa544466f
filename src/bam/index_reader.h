// Reads an index file field by field; what its fields are is in docs/formats/bai.md.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "bam/bai.h"
#include "bam/bai_format.h"
#include "core/bytes.h"
#include "core/errors.h"
#include "core/file.h"
#include "core/path.h"

namespace readkit {

static_assert(sizeof(Chunk) == 16, "chunks are read and written as they lie in memory");

/// An open index file. Raises FileNotFound (opening), BAIRead wherever the file ends before a
/// field does, InvalidBAIFormat for a wrong magic and a negative count, each with the path.
class IndexReader {
 public:
  explicit IndexReader(const Path& path) : path_(path), file_(path, "rb") {
    if (!file_.is_open()) throw FileNotFound(path.text());
  }

  /// Reads one value of type T.
  template <typename T>
  T read() {
    const std::uint8_t* const bytes = file_.peek(sizeof(T));
    if (bytes == nullptr) throw BAIRead(path_.text());
    const T value = load<T>(bytes);
    file_.skip(sizeof(T));
    return value;
  }
  /// Reads a count, which is not negative.
  std::size_t read_count() {
    const auto count = read<std::int32_t>();
    if (count < 0) throw InvalidBAIFormat(path_.text());
    return static_cast<std::size_t>(count);
  }
  /// Reads a value that may be absent; `fallback` when it is.
  std::uint64_t read_optional(std::uint64_t fallback) {
    return file_.peek(sizeof(std::uint64_t)) != nullptr ? read<std::uint64_t>() : fallback;
  }
  /// Reads the magic.
  void check_magic() {
    const auto magic = read<std::array<std::uint8_t, bai_magic.size()>>();
    if (magic != bai_magic) throw InvalidBAIFormat(path_.text());
  }

  /// Appends `count` elements, in pieces, so that memory grows with what the file really holds.
  template <typename T>
  void append(std::vector<T>& to, std::size_t count) {
    constexpr std::size_t kPiece = 4096;
    for (std::size_t left = count; left > 0;) {
      const std::size_t piece = std::min(left, kPiece);
      to.resize(to.size() + piece);
      const std::size_t size = piece * sizeof(T);
      if (file_.read(to.data() + to.size() - piece, size) < size) throw BAIRead(path_.text());
      left -= piece;
    }
  }
  /// Passes over `count` elements.
  template <typename T>
  void skip(std::size_t count) {
    if (!file_.pass(std::uint64_t{count} * sizeof(T))) throw BAIRead(path_.text());
  }

  /// Reads the bins of one reference, from their count on: into `index` those whose number is
  /// `wanted`, the others are passed over.
  template <typename Wanted>
  void read_bins(RefIndex& index, Wanted wanted) {
    const std::size_t n_bin = read_count();
    for (std::size_t i = 0; i < n_bin; ++i) {
      const auto number = read<std::uint32_t>();
      const std::size_t n_chunk = read_count();
      wanted(number) ? add_bin(index, number, n_chunk) : skip<Chunk>(n_chunk);
    }
    index.n_bin = static_cast<std::int32_t>(index.bins.size());
  }

  /// Where the next field stands in the file.
  std::uint64_t tell() const { return file_.tell(); }
  /// Positions the file at an offset that `tell` gave.
  void seek(std::uint64_t offset) {
    if (!file_.seek(offset)) throw BAIRead(path_.text());
  }

 private:
  void add_bin(RefIndex& index, std::uint32_t number, std::size_t n_chunk) {
    RefIdxBin& bin = index.bins[number];
    bin.bin = number;
    append(bin.chunks, n_chunk);
    bin.n_chunk = static_cast<std::int32_t>(bin.chunks.size());
  }

  Path path_;
  File file_;
};

}  // namespace readkit
