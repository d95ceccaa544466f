#include "cli/alignments/alignment_header.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <optional>

#include "cli/files/byte_source.h"
#include "cli/files/lines.h"
#include "cli/job/job.h"

namespace readkit::cli {
namespace {

void for_each_line(std::string_view text, const std::function<void(std::string_view)>& take) {
  Lines lines([&take](std::string_view line) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    take(line);
  });
  lines.add(text);
  lines.finish();
}

bool is_of_type(std::string_view line, std::string_view type) {
  return line.starts_with(type) && line.size() > type.size() && line[type.size()] == '\t';
}

// The value of a field of a header line.
std::optional<std::string_view> field_of(std::string_view line, std::string_view tag) {
  for (std::size_t at = line.find('\t'); at != std::string_view::npos; at = line.find('\t', at)) {
    ++at;
    const std::string_view field = line.substr(at, std::min(line.find('\t', at), line.size()) - at);
    if (field.starts_with(tag) && field.substr(tag.size()).starts_with(':')) {
      return field.substr(tag.size() + 1);
    }
  }
  return std::nullopt;
}

// The lines before the first that does not begin with '@'.
std::string header_of_sam(const Input& input) {
  ByteSource source(input.path());
  std::string text;
  std::size_t line = 0;  // where the line begins that has not ended yet
  for (auto bytes = source.read(); !bytes.empty(); bytes = source.read()) {
    text.append(bytes.begin(), bytes.end());
    for (;;) {
      if (line < text.size() && text[line] != '@' && text[line] != '\n' && text[line] != '\r') {
        text.resize(line);
        return text;
      }
      const std::size_t end = text.find('\n', line);
      if (end == std::string::npos) break;
      line = end + 1;
    }
  }
  return text;
}

}  // namespace

AlignmentHeader read_header(Job& job, const Input& input) {
  AlignmentHeader header;
  if (input.kind() == Kind::kBam) {
    const std::vector<host::Owned> outputs = job.call("getHeader", 3, input.path());
    header.text = host::text_of(outputs[0].get());
    const std::vector<std::string> names = host::texts_of(outputs[1].get());
    const std::span<const std::uint32_t> lengths = host::data_of<std::uint32_t>(outputs[2].get());
    header.references.reserve(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
      header.references.push_back({names[i], lengths[i]});
    }
    return header;
  }
  header.text = header_of_sam(input);
  for_each_line(header.text, [&](std::string_view line) {
    if (!is_of_type(line, "@SQ")) return;
    Reference& reference = header.references.emplace_back();
    reference.name = field_of(line, "SN").value_or("");
    const std::string_view length = field_of(line, "LN").value_or("");
    std::from_chars(length.data(), length.data() + length.size(), reference.length);
  });
  return header;
}

std::vector<std::string> header_fields(std::string_view text, std::string_view type,
                                       std::string_view tag) {
  std::vector<std::string> values;
  for_each_line(text, [&](std::string_view line) {
    if (!is_of_type(line, type)) return;
    if (const auto value = field_of(line, tag)) values.emplace_back(*value);
  });
  return values;
}

std::size_t count_header_lines(std::string_view text, std::string_view type) {
  std::size_t count = 0;
  for_each_line(text, [&](std::string_view line) { count += is_of_type(line, type) ? 1 : 0; });
  return count;
}

}  // namespace readkit::cli
