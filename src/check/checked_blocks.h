// The blocks of a BGZF file, read once from start to end, with everything verified that a reader
// (core/bgzf.h) leaves unverified, and read on behind damage.
//
// Behind a place where no block begins, the next one is searched: the fixed bytes of a header whose
// block is followed by another header, or by the file's end. A block that is not what its trailer
// says may lie about its size, too: unless another one follows it, the search begins inside it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "check/findings.h"
#include "core/bgzf_format.h"
#include "core/file.h"

namespace readkit {

/// The uncompressed bytes of a file, block by block. The file and the list of findings are the
/// caller's and must outlive this object.
class CheckedBlocks {
 public:
  CheckedBlocks(File& file, Findings& findings);

  /// Loads the next block that inflates; false at the end of the file. What is wrong with blocks
  /// becomes a finding.
  bool next();
  /// Loads blocks until there is a byte to read; false at the end, and where `is_broken`.
  bool fill() {
    while (left() == 0) {
      if (is_broken_ || !next()) return false;
    }
    return !is_broken_;
  }

  /// Whether bytes were lost before the current block; `mend` goes on with that block.
  bool is_broken() const { return is_broken_; }
  void mend() { is_broken_ = false; }
  /// The virtual offset of the first byte that was lost. REQUIRES: `is_broken`.
  std::uint64_t broken_at() const { return broken_at_; }

  /// How many bytes of the current block have not been taken, and those bytes.
  std::size_t left() const { return size_ - offset_; }
  const std::uint8_t* bytes() const { return data_.get() + offset_; }
  void skip(std::size_t n) { offset_ += n; }
  /// The virtual offset of the next byte. REQUIRES: left() is not 0.
  std::uint64_t tell() const { return address_ << kVirtualOffsetShift | offset_; }

  /// Takes `n` bytes, over the ends of blocks; returns how many there were before the end of the
  /// file or a place where bytes were lost.
  std::size_t read(void* to, std::size_t n);

  /// The blocks so far that are whole, the end marker and those that do not inflate included.
  std::uint64_t blocks() const { return blocks_; }
  /// At the end of the file: whether the end marker is its last block.
  bool ends_with_marker() const { return at_marker_; }

 private:
  std::size_t seek_block();
  bool load(std::size_t block_size);
  void break_at(std::uint64_t address);
  bool verify(std::size_t block_size);
  bool is_followed_by_block(std::size_t block_size);
  std::uint64_t skip_to_block();
  void end();

  File& file_;
  Findings& findings_;
  std::unique_ptr<std::uint8_t[]> data_;  // of one block
  std::size_t size_ = 0;
  std::size_t offset_ = 0;
  std::uint64_t address_ = 0;
  std::uint64_t blocks_ = 0;
  std::uint64_t broken_at_ = 0;
  bool is_broken_ = false;
  bool at_marker_ = false;
  bool has_ended_ = false;
};

}  // namespace readkit
