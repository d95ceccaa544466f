#include "check/header_checks.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>
#include <unordered_set>

#include "check/characters.h"

namespace readkit {
namespace {

// Takes the text up to `end`, and `end` itself, off `text`.
std::string_view take(std::string_view& text, char end) {
  const std::size_t at = text.find(end);
  const std::string_view taken = text.substr(0, at);
  text.remove_prefix(at == std::string_view::npos ? text.size() : at + 1);
  return taken;
}

bool is_field(std::string_view field) {
  return field.size() >= 3 && is_letter(field[0]) && (is_letter(field[1]) || is_digit(field[1])) &&
         field[2] == ':';
}

std::uint32_t sequence_length(std::string_view digits) {
  std::uint32_t length = 0;
  const char* const end = digits.data() + digits.size();
  const auto [used, error] = std::from_chars(digits.data(), end, length);
  const bool is_number = error == std::errc() && used == end;
  return is_number && length <= std::numeric_limits<std::int32_t>::max() ? length : 0;
}

SequenceLine sequence_of(std::string_view fields) {
  SequenceLine sequence;
  while (!fields.empty()) {
    const std::string_view field = take(fields, '\t');
    if (field.starts_with("SN:")) sequence.name = field.substr(3);
    if (field.starts_with("LN:")) sequence.length = sequence_length(field.substr(3));
  }
  return sequence;
}

// The text without the NULs that may pad it.
std::string_view without_padding(std::string_view text) {
  return text.substr(0, text.find_last_not_of('\0') + 1);
}

void compare(const Reference& reference, const SequenceLine& sequence, std::size_t index,
             std::uint64_t offset, Findings& findings) {
  if (reference.name() == sequence.name && reference.l_ref == sequence.length) return;
  findings.add(FindingKind::kHeaderReference, offset, 0, "reference ", index, " is ",
               excerpt(reference.name()), " of length ", reference.l_ref, " in the dictionary and ",
               excerpt(sequence.name), " of length ", sequence.length, " in the text");
}

void check_text(const BamHeader& header, std::uint64_t offset, Findings& findings) {
  std::string_view text = without_padding(header.text());
  const std::vector<Reference>& references = header.references();
  std::size_t sequences = 0;
  while (!text.empty()) {
    SequenceLine sequence;
    if (!check_header_line(take(text, '\n'), offset, findings, &sequence)) continue;
    if (sequences < references.size()) {
      compare(references[sequences], sequence, sequences, offset, findings);
    }
    ++sequences;
  }
  if (sequences != 0 && sequences != references.size()) {
    findings.add(FindingKind::kHeaderReference, offset, 0, "the text has ", sequences,
                 " @SQ lines and the dictionary ", references.size(), " references");
  }
}

void check_names(const BamHeader& header, std::uint64_t offset, Findings& findings) {
  std::unordered_set<std::string_view> names;
  std::size_t index = 0;
  for (const Reference& reference : header.references()) {
    const std::string_view name = reference.name();
    const bool is_text = !name.empty() && name.find('\0') == std::string_view::npos;
    if (!is_text || reference.stored_name.back() != '\0') {
      findings.add(FindingKind::kReferenceName, offset, 0, "the name of reference ", index,
                   " is empty, or no text that a NUL ends");
    } else if (!names.insert(name).second) {
      findings.add(FindingKind::kReferenceName, offset, 0, "reference ", index, " has the name ",
                   excerpt(name), " of one before it");
    } else if (!is_reference_name(name)) {
      findings.add(FindingKind::kReferenceName, offset, 0, "the name of reference ", index,
                   " has characters that no name may have: ", excerpt(name));
    }
    ++index;
  }
}

}  // namespace

bool is_reference_name(std::string_view name) {
  constexpr std::string_view kForbidden = "\\,\"'`()[]{}<>";
  const auto is_allowed = [&](char c) {
    return c >= '!' && c <= '~' && kForbidden.find(c) == std::string_view::npos;
  };
  return !name.empty() && name[0] != '*' && name[0] != '=' &&
         std::all_of(name.begin(), name.end(), is_allowed);
}

bool check_header_line(std::string_view line, std::uint64_t offset, Findings& findings,
                       SequenceLine* sequence) {
  if (line.ends_with('\r')) line.remove_suffix(1);
  const auto complain = [&](std::string_view what) {
    findings.add(FindingKind::kHeaderLine, offset, 0, what, ": ", excerpt(line));
  };
  std::string_view fields = line;
  const std::string_view type = take(fields, '\t');
  if (type.size() != 3 || type[0] != '@' || !is_letter(type[1]) || !is_letter(type[2])) {
    complain("a header line begins with @ and two letters");
    return false;
  }
  if (type == "@CO") return false;
  const bool is_sequence = type == "@SQ";
  if (is_sequence) *sequence = sequence_of(fields);
  if (is_sequence && (sequence->name.empty() || sequence->length == 0)) {
    complain("an @SQ line has a name and a length from 1 to 2147483647");
    return true;
  }
  bool are_fields = !fields.empty();
  while (!fields.empty()) are_fields &= is_field(take(fields, '\t'));
  if (!are_fields) complain("a field of a header line is two characters, a colon and a value");
  return is_sequence;
}

void check_header(const BamHeader& header, std::uint64_t offset, Findings& findings) {
  check_names(header, offset, findings);
  check_text(header, offset, findings);
}

bool states_coordinate_order(std::string_view text) {
  std::string_view line = take(text, '\n');
  if (line.ends_with('\r')) line.remove_suffix(1);
  if (take(line, '\t') != "@HD") return false;
  while (!line.empty()) {
    if (take(line, '\t') == "SO:coordinate") return true;
  }
  return false;
}

}  // namespace readkit
