#include "check/file_kind.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "bam/bai_format.h"
#include "check/block_search.h"
#include "core/bgzf_format.h"

namespace readkit {
namespace {

std::string_view take_line(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

// Also with blanks in the place of its TABs, a mistake that happens.
bool is_header_line(std::string_view line) {
  constexpr std::array<std::string_view, 5> kTypes = {"@HD", "@SQ", "@RG", "@PG", "@CO"};
  const bool has_type = std::find(kTypes.begin(), kTypes.end(), line.substr(0, 3)) != kTypes.end();
  return has_type && line.size() > 3 && (line[3] == '\t' || line[3] == ' ');
}

FileKind text_kind(std::string_view text) {
  const std::string_view first = take_line(text);
  const std::string_view second = take_line(text);
  const bool has_tab = first.find('\t') != std::string_view::npos;
  if (first.find('\0') != std::string_view::npos) return FileKind::kUnknown;
  if (!first.starts_with('@')) return has_tab ? FileKind::kSam : FileKind::kUnknown;
  // A read may have a name that looks like a header line.
  const bool is_read = text.starts_with('+') && second.find('\t') == std::string_view::npos;
  return is_header_line(first) && !is_read ? FileKind::kSam : FileKind::kFastq;
}

// Whether the bytes and a magic agree as far as both go.
template <std::size_t kSize>
bool agree(std::span<const std::uint8_t> bytes, const std::array<std::uint8_t, kSize>& magic) {
  const auto both = bytes.first(std::min(bytes.size(), kSize));
  return std::equal(both.begin(), both.end(), magic.begin());
}

}  // namespace

FileKind file_kind(std::span<const std::uint8_t> bytes, bool is_whole) {
  if (bytes.empty()) return FileKind::kEmpty;
  const bool has_header = bytes.size() >= kBlockHeaderSize;
  if (has_header ? stated_block_size(bytes.data()) != 0 : agree(bytes, header_magic)) {
    return FileKind::kBgzf;
  }
  if (bytes.size() >= bai_magic.size() && agree(bytes, bai_magic)) return FileKind::kIndex;
  if (find_block(bytes, is_whole).is_found) return FileKind::kBgzf;
  if (bytes.size() >= 2 && bytes[0] == header_magic[0] && bytes[1] == header_magic[1]) {
    return FileKind::kGzip;
  }
  return text_kind({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

}  // namespace readkit
