// Which quality a character stands for.
#pragma once

#include <cstdint>
#include <string>

#include "cli/quality/counts.h"

namespace readkit::cli {

/// What a user asks for.
enum class EncodingChoice : std::uint8_t { kPhred33, kPhred64, kAuto };

/// How the qualities of one file are read.
struct Encoding {
  /// The character that stands for quality 0: '!' or '@'.
  int offset = '!';
  /// Whether the file's own characters decided, and whether they left no doubt.
  bool detected = false;
  bool certain = true;
  /// In words: what was taken, and why.
  std::string text;

  /// How much less than a quality of QualityCounts this encoding's is.
  int shift() const { return offset - '!'; }
  /// "phred+33" or "phred+64".
  std::string name() const { return "phred+" + std::to_string(offset); }
};

/// The encoding that `choice` names or, for kAuto, that these qualities of a whole file tell.
/// Raises Failure when the qualities of this file cannot be of that encoding.
Encoding encoding_of(EncodingChoice choice, const QualityCounts::Histogram& qualities,
                     const std::string& file);

}  // namespace readkit::cli
