// Header text: read as SAM, written as SAM and as BAM, and read again.
#include <sstream>
#include <string>
#include <vector>

#include "core/bgzf.h"
#include "fuzz/support/calls.h"
#include "fuzz/support/scratch.h"
#include "fuzz/support/target.h"
#include "header/bam_header.h"

namespace readkit::fuzz {
namespace {

// Through BAM the byte behind a name is kept; in SAM text it is what ended the field.
bool same_references(const BamHeader& a, const BamHeader& b, bool with_last_byte) {
  if (a.get_num_refs() != b.get_num_refs()) return false;
  for (int i = 0; i < a.get_num_refs(); ++i) {
    const Reference& one = a.get_ref(i);
    const Reference& other = b.get_ref(i);
    if (one.name() != other.name() || one.l_ref != other.l_ref) return false;
    if (with_last_byte && one.stored_name != other.stored_name) return false;
  }
  return true;
}

void run(Input input) {
  std::istringstream text{std::string(input.rest())};
  BamHeader header;
  const std::string error = error_of("BamHeader::read", [&] { header.read(text); });
  if (!error.empty()) return;

  const Path path = path_of(fresh_file("header"));
  BGZF out(path, "w");
  require(header.write(out) && out.close() == 0, "a header cannot be written");
  BGZF in(path);
  BamHeader binary;
  binary.read(in);
  require(binary.text() == header.text() && same_references(binary, header, true),
          "a header changes on its way through BAM");

  std::ostringstream written;
  require(header.write(written), "a header text cannot be written");
  std::istringstream again(written.str());
  BamHeader second;
  second.read(again);
  // NULs and newlines at the end of a text are left out, which may cut a name.
  const std::string& whole = header.text();
  const std::size_t last = whole.find_last_not_of('\n');
  const bool ends_with_nul = last != std::string::npos && whole[last] == '\0';
  require(ends_with_nul || same_references(second, header, false),
          "references change on their way through SAM text");

  for (const Reference& reference : header.references()) {
    const int id = header.get_ref_id(reference.name());
    require(header.get_ref(id).name() == reference.name(), "a name leads to another reference");
  }
}

std::vector<std::string> seeds() {
  return {"@HD\tVN:1.6\tSO:coordinate\n@SQ\tSN:chr1\tLN:1000\n@SQ\tLN:5\tSN:c2\tM5:aa\n@CO\tx\n",
          "@SQ\tSN:a\tLN:4294967295",
          "@SQ\tSN:name_of_some_length\tLN:7\n@SQ\tSN:b\tLN:8\nr1\t0\n",
          "@SQ\n@SQ\tSN:\tLN:\n@\n",
          "@CO\tno references\n\n\n",
          ""};
}

const Registration registration({.name = "header", .run = run, .seeds = seeds});

}  // namespace
}  // namespace readkit::fuzz
