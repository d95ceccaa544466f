// What kind of a file begins with some bytes.
#pragma once

#include <cstdint>
#include <span>

namespace readkit {

enum class FileKind { kUnknown, kEmpty, kGzip, kBgzf, kIndex, kSam, kFastq };

/// The kind of a file that begins with `bytes`, which are the whole file when `is_whole`. Damaged
/// at its begin, a BGZF file is known by a block behind the damage. kGzip is compressed text or
/// anything else that is not in blocks.
FileKind file_kind(std::span<const std::uint8_t> bytes, bool is_whole);

}  // namespace readkit
