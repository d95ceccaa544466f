// What a file is, by what it holds.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace readkit::cli {

enum class Kind : std::uint8_t { kBam, kSam, kFastq, kFasta, kBai, kOther };

/// "BAM", "SAM", ...
const char* name_of(Kind kind);

struct FileKind {
  Kind kind = Kind::kOther;
  /// It is compressed, and by other means than those of its kind: it must be unpacked first.
  bool packed = false;
  /// What the file seems to be when it is of no kind that is known here, for example "CRAM".
  std::string other;
};

/// REQUIRES: `start` has the first 16 KiB of the file, or all of it.
FileKind kind_of(std::span<const std::uint8_t> start);

}  // namespace readkit::cli
