#include "check/findings.h"

namespace readkit {
namespace {

constexpr std::array<std::string_view, kFindingKinds> kIdentifiers = {
    "UnknownKind",
    "ReadFailed",
    "BlockHeader",
    "BlockData",
    "BlockCRC",
    "BlockLength",
    "BlockTruncated",
    "EndMarker",
    "HeaderMagic",
    "HeaderLength",
    "HeaderTruncated",
    "HeaderLine",
    "HeaderReference",
    "ReferenceName",
    "RecordLayout",
    "RecordTruncated",
    "RecordsLost",
    "ReadName",
    "Reference",
    "MateReference",
    "Position",
    "MatePosition",
    "CigarOp",
    "CigarLength",
    "Bin",
    "Quality",
    "Tag",
    "TagRepeated",
    "SortOrder",
    "FieldCount",
    "FieldNumber",
    "Sequence",
    "QualityLength",
    "ReadStructure",
    "LastLine",
    "IndexMagic",
    "IndexLength",
    "IndexTruncated",
    "IndexBin",
    "IndexChunk",
    "IndexMetadata",
    "IndexLinear",
    "IndexTrailing",
    "IndexReferences",
    "IndexCount",
    "IndexRecord",
    "IndexEffort",
};

constexpr std::size_t kLongestExcerpt = 80;

}  // namespace

std::string_view finding_identifier(FindingKind kind) {
  return kIdentifiers[static_cast<std::size_t>(kind)];
}

std::string_view excerpt(std::string_view text) { return text.substr(0, kLongestExcerpt); }

void add_read_failure(const File& file, Findings& findings) {
  if (!file.read_failed() || findings.count(FindingKind::kReadFailed) > 0) return;
  findings.add(FindingKind::kReadFailed, file.tell(), 0, "the file cannot be read on");
}

}  // namespace readkit
