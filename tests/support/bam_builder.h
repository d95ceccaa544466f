// Whole BAM files in memory.
//
//   BamBuilder().text("@HD\tVN:1.6\n").ref("chr1", 1000).record(RecordBuilder("a").at(0,
//   5)).bytes()
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/path.h"
#include "support/record_builder.h"
#include "support/temp_dir.h"

namespace readkit {

/// Header and records, cut into BGZF blocks of a chosen size and ended by the marker.
class BamBuilder {
 public:
  BamBuilder& text(std::string text);
  BamBuilder& ref(std::string name, std::uint32_t length);
  /// References "chr1", "chr2"... of one length.
  BamBuilder& refs(int count, std::uint32_t length);
  BamBuilder& record(const RecordBuilder& record) { return record_bytes(record.bytes()); }
  /// Any bytes where a record would stand.
  BamBuilder& record_bytes(std::string bytes);

  /// Uncompressed bytes in a block; the blocks are cut without regard to records.
  BamBuilder& block_size(std::size_t size);
  /// Header and every record begin a block of their own.
  BamBuilder& one_block_each(bool on = true);
  BamBuilder& without_marker();

  /// The binary header, and header and records together, uncompressed.
  std::string header_bytes() const;
  std::string content() const;

  /// The file.
  std::string bytes() const { return layout().bytes; }
  Path write(const TempDir& folder, std::string_view name) const {
    return folder.write(name, bytes());
  }

  /// The virtual offset at which the n-th record starts, as a reader that comes to it tells; with
  /// `n` the number of records, the offset past the last one.
  std::uint64_t record_offset(std::size_t n) const;

 private:
  struct Block {
    std::size_t data_begin;    // in the content
    std::uint64_t file_begin;  // in the file
  };
  struct Layout {
    std::string bytes;
    std::vector<Block> blocks;  // the last one stands for the end
  };

  Layout layout() const;

  std::string text_;
  std::vector<std::pair<std::string, std::uint32_t>> refs_;
  std::vector<std::string> records_;
  std::size_t block_size_ = 0xff00;
  bool one_block_each_ = false;
  bool marker_ = true;
};

}  // namespace readkit
