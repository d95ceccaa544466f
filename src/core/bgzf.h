// A BGZF stream: the block-compressed file under every BAM, read and written one block at a time
// and positioned by virtual file offsets (see bgzf_format.h).
//
//   BGZF in(Path(u"reads.bam"));
//   char magic[4];
//   in.checked_read(magic, 1, 4);
//   std::uint64_t here = in.tell();
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "core/bgzf_format.h"
#include "core/file.h"
#include "core/path.h"

namespace readkit {

/// How well what is written is compressed.
enum class Packing {
  kFull,   ///< As a result should be.
  kQuick,  ///< As is worth the time for a file that is read once and removed.
  kNone,   ///< Not at all: for such a file where it is smaller than others of the same work anyway.
};

/// While one of these lives, its thread gets what a file holds, or an error: a block must have the
/// length and the checksum that it states (ZLIBInflate), and readers of records raise for those
/// that they would otherwise leave out or take for others (see BAM::next_alignment). They nest.
class StrictReading {
 public:
  StrictReading();
  ~StrictReading();
  StrictReading(const StrictReading&) = delete;
  StrictReading& operator=(const StrictReading&) = delete;

  static bool is_on();

 private:
  bool before_;
};

/// A stream that is closed, open for reading or open for writing. Owns its file; the destructor
/// closes as `close` does and ignores the outcome, so a writer that must know calls `close`.
/// Movable: exactly one object owns a file at any time.
///
/// Errors carry the file name. After an error the stream keeps its file; nothing is retried.
class BGZF {
 public:
  BGZF() = default;
  explicit BGZF(const Path& path) { open(path, "r"); }
  BGZF(const Path& path, std::string_view mode) { open(path, mode); }
  BGZF(BGZF&& other) noexcept;
  BGZF& operator=(BGZF&& other) noexcept;
  ~BGZF();

  /// Closes what is open, then opens `path`. Write mode is on for the mode "w" alone: any other
  /// mode, "wb" too, opens the file but refuses writes. Raises FileNotFound.
  void open(const Path& path, std::string_view mode);

  /// Reads up to `size` * `count` uncompressed bytes; returns how many, fewer only at the end of
  /// the data. Raises what `read_block` raises.
  std::size_t read(void* to, std::size_t size, std::size_t count);
  /// As `read`, but raises BAMRead when fewer bytes are left.
  std::size_t checked_read(void* to, std::size_t size, std::size_t count);
  /// Loads the next block. Returns 0, or 1 at the clean end of the file: where the file ends and
  /// an empty block has been read before. Raises InvalidBAMFormat for a short or invalid block
  /// header, BAMRead for a block cut short, ZLIBInflate. CRC32 and ISIZE are verified by
  /// StrictReading alone.
  int read_block();

  /// How many uncompressed bytes have been taken since the last seek, and a number that stays the
  /// same until the next one.
  std::uint64_t bytes_taken() const { return uncompressed_position_ + block_offset_; }

  /// Buffers `size` * `count` bytes and compresses every full block; returns `size` * `count`.
  /// Raises BAMReadOnly, FileWrite, ZLIBDeflate.
  std::size_t write(const void* from, std::size_t size, std::size_t count);
  /// Compresses and writes what is buffered, as one block. Returns 0, or -1 for a short write.
  int flush();

  /// How well the file opened for writing is to be compressed, where the flavour may choose its
  /// bytes. Holds until the next `open`.
  void set_packing(Packing packing) { packing_ = packing; }

  /// The virtual offset of the next byte; when the block is used up, of the next block. When
  /// writing, bytes still in the buffer do not count.
  std::uint64_t tell() const {
    return block_offset_ < block_length_ ? block_address_ << kVirtualOffsetShift | block_offset_
                                         : file_.tell() << kVirtualOffsetShift;
  }
  /// Positions the stream at a virtual offset and returns it. Within the current block nothing is
  /// read. An inside offset at or past the block's length makes the next read load the next block.
  /// Raises BGZFSeek (always on a writer) and what `read_block` raises.
  std::uint64_t seek(std::uint64_t offset);

  /// Flushes, writes the end-of-file marker in write mode and closes the file. Returns 0, or -1
  /// when no file is open or any of this failed.
  int close();

  bool is_open() const { return file_.is_open(); }
  /// The path the stream was opened with, kept after `close`.
  const Path& path() const { return path_; }
  /// The count of uncompressed bytes in all blocks before the current one.
  std::uint64_t uncompressed_position() const { return uncompressed_position_; }

  /// The next `n` uncompressed bytes inside the current block, without taking them; null when the
  /// block holds fewer. Valid until the next call that may load a block.
  const std::uint8_t* peek_in_block(std::size_t n) const {
    return n <= block_length_ - block_offset_ && block_offset_ <= block_length_
               ? data_.get() + block_offset_
               : nullptr;
  }
  /// Takes `n` bytes that `peek_in_block` has shown.
  void skip_in_block(std::size_t n) { block_offset_ += n; }

 private:
  std::size_t inflate_block(const std::uint8_t* block, std::size_t block_size);
  std::size_t deflate_block();
  bool finish_writing();
  void close_quietly() noexcept;
  void reset_counters();

  File file_;
  std::unique_ptr<std::uint8_t[]> data_;        // one block, uncompressed
  std::unique_ptr<std::uint8_t[]> compressed_;  // one block as it is written
  std::uint64_t block_length_ = 0;              // reading only
  std::uint64_t block_offset_ = 0;              // next byte to read, or bytes waiting
  std::uint64_t block_address_ = 0;
  std::uint64_t uncompressed_position_ = 0;
  bool write_mode_ = false;
  Packing packing_ = Packing::kFull;
  bool end_reached_ = false;  // an empty block has been read; never cleared
  std::uint64_t end_ = 0;     // where the last such block in the file ends
  Path path_;
};

}  // namespace readkit
