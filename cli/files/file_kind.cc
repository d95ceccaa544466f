#include "cli/files/file_kind.h"

#include <algorithm>
#include <string_view>

#include "cli/files/gunzip.h"

namespace readkit::cli {
namespace {

constexpr std::size_t kEnough = std::size_t{1} << 14;

struct Magic {
  std::string_view bytes;
  const char* name;
};

constexpr Magic kOthers[] = {
    {"CRAM", "CRAM"},
    {std::string_view("CSI\1", 4), "a CSI index"},
    {std::string_view("TBI\1", 4), "a TBI index"},
    {std::string_view("BCF\2", 4), "BCF"},
    {"##fileformat=VCF", "VCF"},
    {std::string_view("\xfd"
                      "7zXZ\0",
                      6),
     "compressed with xz"},
    {"BZh", "compressed with bzip2"},
    {std::string_view("\x28\xb5\x2f\xfd", 4), "compressed with zstd"},
    {std::string_view("PK\3\4", 4), "a zip archive"},
};

// A header line of SAM: "@HD" and a TAB, or a comment.
bool is_sam_header(std::string_view line) {
  static constexpr std::string_view kTypes[] = {"@HD", "@SQ", "@RG", "@PG", "@CO"};
  return line.size() > 3 && line[3] == '\t' &&
         std::find(std::begin(kTypes), std::end(kTypes), line.substr(0, 3)) != std::end(kTypes);
}

// A record of SAM: eleven fields, the second and fourth of which are numbers.
bool is_sam_record(std::string_view line) {
  constexpr std::size_t kFlagField = 1;
  constexpr std::size_t kPositionField = 3;
  constexpr std::size_t kLeastTabs = 10;
  std::size_t field = 0;
  for (const char c : line) {
    if (c == '\t') {
      ++field;
    } else if ((field == kFlagField || field == kPositionField) && (c < '0' || c > '9')) {
      return false;
    }
  }
  return field >= kLeastTabs;
}

FileKind kind_of_text(std::string_view text) {
  const std::size_t first = text.find_first_not_of("\r\n");
  if (first == std::string_view::npos) return {Kind::kOther, false, "empty"};
  const std::string_view line =
      text.substr(first, std::min(text.find('\n', first), text.size()) - first);
  if (is_sam_header(line)) return {Kind::kSam, false, {}};
  if (line.front() == '@' && !is_sam_record(line)) return {Kind::kFastq, false, {}};
  if (is_sam_record(line)) return {Kind::kSam, false, {}};
  if (line.front() == '>') return {Kind::kFasta, false, {}};
  return {};
}

FileKind kind_of_content(std::string_view start) {
  if (start.empty()) return {Kind::kOther, false, "empty"};
  if (start.starts_with(std::string_view("BAI\1", 4))) return {Kind::kBai, false, {}};
  if (start.starts_with(std::string_view("BAM\1", 4))) {
    return {Kind::kOther, false, "BAM without the compression that belongs to it"};
  }
  for (const Magic& magic : kOthers) {
    if (start.starts_with(magic.bytes)) return {Kind::kOther, false, magic.name};
  }
  return kind_of_text(start);
}

}  // namespace

const char* name_of(Kind kind) {
  switch (kind) {
    case Kind::kBam:
      return "BAM";
    case Kind::kSam:
      return "SAM";
    case Kind::kFastq:
      return "FASTQ";
    case Kind::kFasta:
      return "FASTA";
    case Kind::kBai:
      return "BAI";
    case Kind::kOther:
      break;
  }
  return "other";
}

FileKind kind_of(std::span<const std::uint8_t> start) {
  const std::string_view bytes(reinterpret_cast<const char*>(start.data()), start.size());
  if (!Gunzip::is_gzip(start)) return kind_of_content(bytes);
  const std::string content = Gunzip::start_of(start, kEnough);
  if (Gunzip::is_bgzf(start) && content.starts_with(std::string_view("BAM\1", 4))) {
    return {Kind::kBam, false, {}};
  }
  if (content.empty()) return {Kind::kOther, false, "compressed data that is damaged or empty"};
  FileKind kind = kind_of_content(content);
  // Anything else is left as it is: it may be a BAM file that is damaged at its start.
  kind.packed = kind.kind == Kind::kSam || kind.kind == Kind::kFastq || kind.kind == Kind::kFasta;
  return kind;
}

}  // namespace readkit::cli
