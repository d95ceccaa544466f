// Merging sorted files.
//
// Readers stand in an array in the order of their current records, those at their end last. The
// first one writes as long as its record is not greater than the second one's; then it moves down
// the array to its new place. With few readers that is cheap, and between equal records the reader
// in front keeps writing.
#include <algorithm>
#include <functional>

#include "bam/bam.h"
#include "bam/readers.h"
#include "bam/runs.h"
#include "core/errors.h"
#include "sam/sam.h"

namespace readkit {
namespace {

enum class Output { kSam, kBam };

Output output_kind(const UString& name) {
  const std::size_t dot = name.rfind(u'.');
  const UString extension = dot == UString::npos ? UString() : name.substr(dot + 1);
  if (extension == u"sam") return Output::kSam;
  if (extension == u"bam") return Output::kBam;
  throw InvalidInputFormat();
}

void move_down(Readers& readers) {
  for (std::size_t i = 0; i + 1 < readers.size(); ++i) {
    const BAM& successor = *readers[i + 1];
    if (successor.at_end() || *readers[i] <= successor) return;
    readers[i].swap(readers[i + 1]);
  }
}

// Takes the records of all readers in order; `write` raises when it cannot take one.
void merge(Readers& readers, const std::function<void(const Alignment&)>& write) {
  std::stable_sort(readers.begin(), readers.end(),
                   [](const auto& a, const auto& b) { return *a < *b; });
  while (!readers.at(0)->at_end()) {
    BAM& first = *readers[0];
    const BAM& second = *readers.at(1);
    while (!first.at_end() && first <= second) {
      write(first);
      first.next_alignment();
    }
    move_down(readers);
  }
}

void merge_to_bam(Readers& readers, const BamHeader& header, const UString& name) {
  BAM out(Path(name), "w");
  const auto check = [&name](bool written) {
    if (!written) throw FileWrite(name);
  };
  check(out.write(header));
  merge(readers, [&](const Alignment& record) { check(out.write(record)); });
  check(out.close() == 0);
}

void merge_to_sam(Readers& readers, const BamHeader& header, const UString& name) {
  SAM out(Path(name), "w");
  const auto check = [&name](bool written) {
    if (!written) throw FileWrite(name);
  };
  check(out.write(header));
  merge(readers, [&](const Alignment& record) { check(out.write(record, header)); });
  out.close();
  check(!out.fail());
}

}  // namespace

void BAM::merge_bams(const std::vector<UString>& inputs, const UString& out) {
  const Output kind = output_kind(out);
  refuse_to_overwrite(inputs, out);
  Readers readers = open_readers(inputs);
  const BamHeader header = readers.at(0)->header();
  kind == Output::kSam ? merge_to_sam(readers, header, out) : merge_to_bam(readers, header, out);
}

}  // namespace readkit
