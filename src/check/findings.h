// What a check of a file finds: a list of findings, each with an identifier of its own, a place and
// a text. docs/check.md lists the identifiers.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/file.h"

namespace readkit {

/// The closed list of identifiers, in the order of docs/check.md.
enum class FindingKind : std::uint8_t {
  // The file.
  kUnknownKind,
  kReadFailed,
  // Blocks of a BAM file.
  kBlockHeader,
  kBlockData,
  kBlockCRC,
  kBlockLength,
  kBlockTruncated,
  kEndMarker,
  // Header text and dictionary.
  kHeaderMagic,
  kHeaderLength,
  kHeaderTruncated,
  kHeaderLine,
  kHeaderReference,
  kReferenceName,
  // Records.
  kRecordLayout,
  kRecordTruncated,
  kRecordsLost,
  kReadName,
  kReference,
  kMateReference,
  kPosition,
  kMatePosition,
  kCigarOp,
  kCigarLength,
  kBin,
  kQuality,
  kTag,
  kTagRepeated,
  kSortOrder,
  // Lines of SAM and FASTQ files.
  kFieldCount,
  kFieldNumber,
  kSequence,
  kQualityLength,
  kReadStructure,
  kLastLine,
  // An index.
  kIndexMagic,
  kIndexLength,
  kIndexTruncated,
  kIndexBin,
  kIndexChunk,
  kIndexMetadata,
  kIndexLinear,
  kIndexTrailing,
  kIndexReferences,
  kIndexCount,
  kIndexRecord,
  kIndexEffort,
};
inline constexpr std::size_t kFindingKinds =
    static_cast<std::size_t>(FindingKind::kIndexEffort) + 1;

/// The identifier, for example "BlockCRC".
std::string_view finding_identifier(FindingKind kind);

/// One finding.
struct Finding {
  FindingKind kind;
  /// In a BAM file a virtual offset; in text the number of the line, from 1 on; in an index the
  /// offset of a byte (of kIndexRecord: the record's virtual offset).
  std::uint64_t offset;
  /// The ordinal of the record, from 1 on; 0 for what belongs to no record.
  std::uint64_t record;
  std::string text;
};

/// At most this much of a text from a file, for the text of a finding.
std::string_view excerpt(std::string_view text);

/// Findings in the order in which they were made. All are counted; of one identifier the first
/// `kMostOfAKind` are kept, so that the memory is bounded and a frequent one does not hide others.
class Findings {
 public:
  static constexpr std::size_t kMostOfAKind = 1000;

  /// Adds a finding whose text is that of the parts, texts and integers, one after the other.
  template <typename... Parts>
  void add(FindingKind kind, std::uint64_t offset, std::uint64_t record, const Parts&... parts) {
    ++count_;
    if (++counts_[static_cast<std::size_t>(kind)] > kMostOfAKind) return;
    Finding finding{kind, offset, record, {}};
    (append(finding.text, parts), ...);
    list_.push_back(std::move(finding));
  }

  /// How many were made, and how many of one identifier.
  std::uint64_t count() const { return count_; }
  std::uint64_t count(FindingKind kind) const { return counts_[static_cast<std::size_t>(kind)]; }
  const std::vector<Finding>& list() const { return list_; }

 private:
  static void append(std::string& text, std::string_view part) { text += part; }
  template <std::integral Number>
  static void append(std::string& text, Number number) {
    text += std::to_string(number);
  }

  std::uint64_t count_ = 0;
  std::array<std::uint64_t, kFindingKinds> counts_{};
  std::vector<Finding> list_;
};

/// Adds that a file could not be read to its end, unless that is known already.
void add_read_failure(const File& file, Findings& findings);

}  // namespace readkit
