// Which quality a character stands for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "report/counts.h"

namespace readkit::report {

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
Encoding encoding_of(EncodingChoice choice, const QualityCounts::Histogram& qualities);
/// The least character of these qualities, if the encoding that `choice` names cannot have it.
std::optional<char> impossible_character(EncodingChoice choice,
                                         const QualityCounts::Histogram& qualities);

}  // namespace readkit::report
