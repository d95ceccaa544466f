#include "cli/alignments/sam_line.h"

#include <algorithm>
#include <charconv>
#include <string>

namespace readkit::cli {
namespace {

enum Field : std::size_t {
  kName,
  kFlag,
  kReference,
  kPosition,
  kMappingQuality,
  kCigar,
  kMateReference,
  kMatePosition,
  kTemplateLength,
  kSequence,
  kQualities
};

// The number at the start of a text; 0 without one.
std::int64_t number_of(std::string_view text) {
  std::int64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

// How many positions of the reference the CIGAR covers.
std::int64_t reference_length(std::string_view cigar) {
  std::int64_t sum = 0;
  std::int64_t length = 0;
  for (const char c : cigar) {
    if (c >= '0' && c <= '9') {
      length = std::min(length * 10 + (c - '0'), kLastPosition);
    } else {
      if (std::string_view("MDN=X").find(c) != std::string_view::npos) sum += length;
      length = 0;
    }
  }
  return sum;
}

}  // namespace

SamLine::SamLine(std::string_view line) {
  std::size_t at = 0;
  for (std::string_view& field : fields) {
    if (at > line.size()) break;
    const std::size_t end = std::min(line.find('\t', at), line.size());
    field = line.substr(at, end - at);
    at = end + 1;
  }
  without_tags = line.substr(0, std::min(at - 1, line.size()));
  if (at < line.size()) tags = line.substr(at);
}

std::int64_t SamLine::position() const { return number_of(fields[kPosition]); }

bool overlaps(const SamLine& line, const Region& region) {
  if (line.reference() != region.reference) return false;
  const std::int64_t begin = line.position();
  const std::int64_t length = std::max<std::int64_t>(reference_length(line.fields[kCigar]), 1);
  return begin > 0 && begin <= region.end && begin + length - 1 >= region.begin;
}

bool is_contained(const SamLine& line, const Region& region) {
  const std::int64_t begin = line.position();
  const std::string_view sequence = line.fields[kSequence];
  const auto length = static_cast<std::int64_t>(sequence == "*" ? 0 : sequence.size());
  return begin >= region.begin && begin + length - 1 <= region.end;
}

void write_record(JsonWriter& json, const SamLine& line, bool with_tags) {
  json.begin_object();
  json.member("name", line.fields[kName]);
  json.member("flag", number_of(line.fields[kFlag]));
  json.member("reference", line.reference());
  json.member("position", line.position());
  json.member("mapping_quality", number_of(line.fields[kMappingQuality]));
  json.member("cigar", line.fields[kCigar]);
  json.member("mate_reference", line.fields[kMateReference]);
  json.member("mate_position", number_of(line.fields[kMatePosition]));
  json.member("template_length", number_of(line.fields[kTemplateLength]));
  json.member("sequence", line.fields[kSequence]);
  json.member("qualities", line.fields[kQualities]);
  if (with_tags) {
    constexpr std::size_t kTypeAt = 3;
    constexpr std::size_t kValueAt = 5;
    json.key("tags");
    json.begin_array();
    for (std::size_t at = 0; at < line.tags.size();) {
      const std::size_t end = std::min(line.tags.find('\t', at), line.tags.size());
      const std::string_view tag = line.tags.substr(at, end - at);
      json.begin_object();
      json.member("tag", tag.substr(0, std::min<std::size_t>(2, tag.size())));
      json.member("type", tag.substr(std::min(kTypeAt, tag.size()), 1));
      json.member("value", tag.substr(std::min(kValueAt, tag.size())));
      json.end_object();
      at = end + 1;
    }
    json.end_array();
  }
  json.end_object();
}

}  // namespace readkit::cli
