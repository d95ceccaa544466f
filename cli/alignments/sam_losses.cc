#include "cli/alignments/sam_losses.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "cli/files/byte_source.h"
#include "cli/files/lines.h"
#include "cli/job/job.h"

namespace readkit::cli {
namespace {

constexpr std::size_t kLongestKept = 255;
constexpr int kSequenceField = 9;
constexpr int kFirstTagField = 11;

// Records of one kind, and where the first of them is.
struct Affected {
  std::uint64_t count = 0;
  std::uint64_t line = 0;
  std::string name;

  void add(std::uint64_t at, std::string_view record) {
    if (count++ > 0) return;
    line = at;
    name = record.substr(0, record.find('\t'));
  }
  std::string text() const {
    return std::to_string(count) + (count == 1 ? " record" : " records") + " (the first: " + name +
           ", line " + std::to_string(line) + ')';
  }
};

struct Losses {
  Affected cut;
  Affected without_sequence;
  Affected arrays;
  std::uint64_t line = 0;

  void look_at(std::string_view text) {
    ++line;
    if (text.empty() || text.front() == '@') return;
    std::size_t at = 0;
    for (int field = 0; field < kSequenceField; ++field) {
      at = text.find('\t', at);
      if (at == std::string_view::npos) return;
      ++at;
    }
    const std::size_t length = std::min(text.find('\t', at), text.size()) - at;
    if (length > kLongestKept) cut.add(line, text);
    if (length == 1 && text[at] == '*') without_sequence.add(line, text);
    for (int field = kSequenceField; field < kFirstTagField; ++field) {
      at = text.find('\t', at);
      if (at == std::string_view::npos) return;
      ++at;
    }
    constexpr std::string_view kArray = ":B:";
    for (std::size_t found = text.find(kArray, at); found != std::string_view::npos;
         found = text.find(kArray, found + 1)) {
      if (found >= at + 2 && text[found - 3] == '\t') {
        arrays.add(line, text);
        break;
      }
    }
  }
};

}  // namespace

void warn_of_sam_losses(Job& job, const Input& input) {
  if (job.quiet()) return;
  Losses losses;
  ByteSource source(input.path());
  Lines lines([&losses](std::string_view line) { losses.look_at(line); });
  for (auto bytes = source.read(); !bytes.empty(); bytes = source.read()) {
    lines.add({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    job.progress().reading(input.name(), source.position(), source.size());
  }
  lines.finish();
  const Messages& messages = job.messages();
  constexpr char kUseBam[] =
      "make a BAM file of it with another tool, for example samtools view -b, and use that";
  if (losses.cut.count > 0) {
    messages.warn(input.name(),
                  losses.cut.text() +
                      " with 256 bases or more: only their length modulo 256 is "
                      "kept of SAM text",
                  kUseBam);
  }
  if (losses.without_sequence.count > 0) {
    messages.warn(input.name(),
                  losses.without_sequence.text() +
                      " without a sequence (*): SAM text with such records is refused",
                  kUseBam);
  }
  if (losses.arrays.count > 0) {
    messages.warn(input.name(),
                  losses.arrays.text() +
                      " with array fields (type B): SAM text with such records "
                      "is refused",
                  kUseBam);
  }
}

}  // namespace readkit::cli
