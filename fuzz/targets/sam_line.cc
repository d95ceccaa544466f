// A SAM line: read into a record, written, and read again until nothing changes.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/support/calls.h"
#include "fuzz/support/lines.h"
#include "fuzz/support/samples.h"
#include "fuzz/support/target.h"
#include "records/alignment.h"

namespace readkit::fuzz {
namespace {

std::string_view block_of(const Alignment& record) {
  return {reinterpret_cast<const char*>(record.data()),
          static_cast<std::size_t>(record.block_size())};
}

// The record of a line; false when the line has none.
bool read(Alignment& record, std::string_view line) {
  return error_of("parse", [&] { record.parse(line, references()); }).empty();
}

// Nothing of the record before may be left over, whatever it was.
void read_twice(const Alignment& record, std::string_view line) {
  static const Alignment used(
      std::string("used\t5\tchr2\t5\t5\t5M\t=\t5\t5\tAAAAA\tABCDE\tXX:Z:") + std::string(5000, 'x'),
      references());
  Alignment again = used;
  again.parse(line, references());
  require(block_of(again) == block_of(record), "a record depends on the one before it");
}

std::vector<std::string_view> fields_of(std::string_view line) {
  std::vector<std::string_view> fields;
  while (true) {
    const std::size_t tab = line.find('\t');
    fields.push_back(line.substr(0, tab));
    if (tab == std::string_view::npos) return fields;
    line.remove_prefix(tab + 1);
  }
}

// Whether a line has nothing that is known to be lost on its way through a record: long names,
// NULs, sequences of more than 255 letters, qualities of another number, or missing ones at the
// line's end; fields of types that lines do not have, and hexadecimal ones.
bool is_kept(std::string_view line) {
  constexpr std::size_t kMandatory = 11;
  const std::vector<std::string_view> fields = fields_of(line);
  if (fields.size() < kMandatory || line.find('\0') != std::string_view::npos) return false;
  const std::string_view sequence = fields[9];
  const std::string_view qualities = fields[10];
  const bool has_fields = fields.size() > kMandatory && !fields.back().empty();
  const bool is_missing = qualities == "*" && has_fields;
  if (fields[0].size() + 1 >= kWrappingName || sequence.size() > 255) return false;
  if (sequence.empty()) return false;
  if (qualities.size() != sequence.size() && !is_missing) return false;
  if (qualities == "*" && !has_fields) return false;
  return std::all_of(fields.begin() + kMandatory, fields.end(), [](std::string_view field) {
    return field.empty() ||
           (field.size() > 3 && std::string_view("AifZ").find(field[3]) != std::string_view::npos);
  });
}

void run(Input input) {
  const std::string_view line = input.rest();
  Alignment record;
  if (!read(record, line)) return;
  require(record.is_well_formed(), "a line makes a record that is none");
  read_twice(record, line);
  const std::string_view name = line.substr(0, line.find('\t'));
  require(record.read_name_text() == name.substr(0, name.find('\0')), "a name changes");

  std::string written;
  const std::string error = error_of("to_sam", [&] { written = record.to_sam(dictionary()); });
  if (!is_kept(line)) return;
  require(error.empty(), "a line cannot be written: " + error);
  Alignment second;
  require(read(second, written), "a line that was written cannot be read");
  require(second.to_sam(dictionary()) == written, "a line that was written is not written again");
}

std::vector<std::string> seeds() {
  std::vector<std::string> lines;
  const std::string file = sam_files()[1];
  for (std::size_t at = 0; at < file.size();) {
    const std::size_t end = std::min(file.find('\n', at), file.size());
    lines.push_back(file.substr(at, end - at));
    at = end + 1;
  }
  // At the limits of names, sequences and numbers of ops.
  const std::string behind_name = "\t0\tchr1\t1\t0\t4M\t*\t0\t0\tACGT\tIIII";
  for (const std::size_t size : {222U, 223U, 254U}) {
    lines.push_back(std::string(size, 'n') + behind_name);
  }
  for (const std::size_t size : {255U, 256U}) {
    lines.push_back("r\t0\tchr1\t1\t0\t1M\t*\t0\t0\t" + std::string(size, 'A') + '\t' +
                    std::string(size, 'I'));
  }
  lines.push_back("r\t0\tchr1\t1\t0\t" + std::string(600, 'M') + "\t*\t0\t0\tA\tI");
  return lines;
}

const Registration registration({.name = "sam_line", .run = run, .seeds = seeds});

}  // namespace
}  // namespace readkit::fuzz
