#include "sam/sam.h"

#include "core/errors.h"
#include "records/sam_format.h"

namespace readkit {
namespace {

std::ios::openmode open_mode(std::string_view mode) {
  return mode == "w" ? std::ios::out | std::ios::trunc : std::ios::in | std::ios::binary;
}

std::string_view without_carriage_return(std::string_view line) {
  return line.ends_with('\r') ? line.substr(0, line.size() - 1) : line;
}

}  // namespace

SAM::SAM(const Path& path, std::string_view mode) : path_(path) {
  open(path, open_mode(mode));
  if (fail()) throw FileNotFound(path.text());
  if (mode == "w") return;
  records_start_ = static_cast<std::streamoff>(header_.read(*this));
  // A pipe cannot go back to the first record line, whose begin the header's reader has taken.
  if (fail() && !bad()) throw SAMRead(path.text());
  for (int id = 0; id < get_num_refs(); ++id) refs_.insert_or_assign(get_ref_name(id), id);
}

bool SAM::next_alignment() {
  if (eof()) return false;
  std::string_view line;
  bool found = false;
  do {
    found = next_line(line);
    line = without_carriage_return(line);
  } while (found && line.empty() && !eof());
  if (bad()) throw SAMRead(path_.text());
  if (!found || line.empty()) return false;
  try {
    parsed_.parse(line, refs_);
  } catch (const InvalidSAMFormat&) {
    throw InvalidSAMFormat(path_.text());
  }
  std::swap(alignment_, parsed_);
  return true;
}

void SAM::rewind() {
  if (bad()) return;  // since a read failed, maybe inside the header
  clear();
  seekg(records_start_);
  if (fail() && is_open()) setstate(std::ios::badbit);
}

bool SAM::write(const Alignment& record, const BamHeader& header) {
  line_.resize(max_sam_line(record, header, true));
  char* const line_end = write_sam_line(record, header, true, line_.data());
  line_end[-1] = '\n';  // in place of the last TAB
  std::iostream::write(line_.data(), line_end - line_.data());
  return !bad();
}

std::size_t SAM::write(const std::vector<Alignment>& records, const BamHeader& header) {
  std::size_t written = 0;
  for (const Alignment& record : records) {
    if (!write(record, header)) break;
    ++written;
  }
  return written;
}

}  // namespace readkit
