// A slow decoder of the same formats, one plain loop per field, to compare the library with.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace readkit {

/// One block of a BGZF file.
struct DecodedBlock {
  std::uint64_t offset = 0;  ///< in the file
  std::string bytes;         ///< header and trailer included
  std::string data;          ///< inflated
};

/// The blocks of a BGZF file, the marker included. Throws std::runtime_error for a file that is not
/// sound to the last byte, checksums included.
std::vector<DecodedBlock> decode_blocks(std::string_view file);
/// The data of all blocks together.
std::string decode_bgzf(std::string_view file);

/// zlib's verdict on a raw deflate stream with `room` bytes to fill: whether it ends within input
/// and room, and what it gives.
struct ZlibVerdict {
  bool ends = false;
  std::string data;
};
ZlibVerdict zlib_inflate(std::string_view deflated, std::size_t room);

/// What zlib's gzread finds in a file, member by member; throws std::runtime_error when it finds
/// fault.
std::string gunzip_file(const std::string& native);

/// One optional field: "NM", 'C', "3". Arrays have type 'B' and the text "c,1,2".
struct DecodedTag {
  std::string name;
  char type = 0;
  std::string text;
  bool operator==(const DecodedTag&) const = default;
};

/// One record, its fields as numbers and text.
struct DecodedRecord {
  int ref_id = -1;
  int pos = -1;
  int mapq = 0;
  int bin = 0;
  int flag = 0;
  int next_ref_id = -1;
  int next_pos = -1;
  int tlen = 0;
  std::string name;
  std::string cigar = "*";
  std::string seq = "*";
  std::string qual = "*";
  std::vector<DecodedTag> tags;
  /// One past the last reference base covered, at most 2^31 - 1; `pos` + 1 without ops.
  int end = 0;
  std::string bytes;  ///< with the length word
};

/// A record from its length word on; `*used` receives its size with that word.
DecodedRecord decode_record(std::string_view bytes, std::size_t* used = nullptr);

struct DecodedBam {
  std::string text;
  std::vector<std::pair<std::string, std::uint32_t>> refs;
  std::vector<DecodedRecord> records;
};

/// A whole BAM file. Throws std::runtime_error (or std::out_of_range) for a file that ends early.
DecodedBam decode_bam(std::string_view file);

/// The record's SAM line as the library is to write it: integers of every width as 'i', floats with
/// six decimals, arrays without their subtype.
std::string decoded_line(const DecodedRecord& record, const DecodedBam& bam, bool with_tags = true);

/// The smallest bin that holds [beg, end), and every bin that overlaps it, by trying all bins.
int slow_bin(std::int64_t beg, std::int64_t end);
std::vector<std::uint32_t> slow_bins(std::int64_t beg, std::int64_t end);

}  // namespace readkit
