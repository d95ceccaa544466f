// The BGZF block format: gzip members (RFC 1952) of at most 64 KiB with their own size in an extra
// field, as section 4.1 of the SAM/BAM format document describes; see docs/formats/bgzf.md.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace readkit {

/// The 16 fixed bytes that begin every block written; BSIZE follows.
inline constexpr std::array<std::uint8_t, 16> header_magic = {
    0x1f, 0x8b, 0x08, 0x04, 0, 0, 0, 0, 0, 0xff, 6, 0, 'B', 'C', 2, 0};

/// The end-of-file marker: an empty block.
inline constexpr std::array<std::uint8_t, 28> eof_magic = {
    0x1f, 0x8b, 0x08, 0x04, 0,    0, 0, 0, 0, 0xff, 6, 0, 'B', 'C',
    2,    0,    0x1b, 0,    0x03, 0, 0, 0, 0, 0,    0, 0, 0,   0};

inline constexpr std::size_t kBlockHeaderSize = 18;  // header_magic and BSIZE
inline constexpr std::size_t kBlockTrailerSize = 8;  // CRC32 and ISIZE
inline constexpr std::size_t kBlockSizeOffset = 16;  // of BSIZE: total block size minus 1
inline constexpr std::size_t kMinBlockSize = 18;     // a BSIZE of 16 or less is refused

inline constexpr std::size_t kMaxBlockSize = 0x10000;     // compressed, header and trailer included
inline constexpr std::size_t kMaxBlockData = 0x10000;     // uncompressed, when reading
inline constexpr std::size_t kWrittenBlockData = 0xff00;  // uncompressed, when writing
inline constexpr std::size_t kMaxCompressedData =
    kMaxBlockSize - kBlockHeaderSize - kBlockTrailerSize;  // 65510

/// A virtual file offset: the file offset of a block's first byte in the upper 48 bits, the offset
/// inside that block's uncompressed data in the lower 16.
inline constexpr int kVirtualOffsetShift = 16;
inline constexpr std::uint64_t kInsideBlockMask = 0xffff;

/// Whether 18 bytes begin a BGZF block; MTIME, XFL, OS and BSIZE are not looked at.
bool valid_bgzf_header(const std::uint8_t* header);

}  // namespace readkit
