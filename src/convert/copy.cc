#include "convert/copy.h"

#include <algorithm>
#include <unordered_map>

#include "bam/bam.h"
#include "convert/fastx.h"
#include "convert/selection.h"
#include "convert/subset.h"
#include "core/errors.h"
#include "core/file.h"
#include "sam/sam.h"

namespace readkit {
namespace {

void refuse_source(const Source& source, const Path& out) {
  if (is_same_file(source.path, out)) throw CannotOpenOutFile(out.text());
}

void check(bool written, const Path& out) {
  if (!written) throw FileWrite(out.text());
}

template <char* (*kWrite)(const Alignment&, char*)>
void copy_to_fastx(const Source& source, const Path& out, const unsigned* ordinals, std::size_t n) {
  refuse_source(source, out);
  File file(out, "wb");
  if (!file.is_open()) throw CannotOpenOutFile(out.text());
  std::string text;
  source.rewind();
  for_each_selected(ordinals, n, source.next, [&] {
    text.resize(std::max(text.size(), max_fastx(source.current)));
    const char* const end = kWrite(source.current, text.data());
    check(file.write(text.data(), static_cast<std::size_t>(end - text.data())), out);
  });
  check(file.flush(), out);
  file.close();  // Kept: one would expect to hear of its failure; it is the flush that is checked.
}

}  // namespace

void copy_to_bam(const Source& source, const Path& out, const unsigned* ordinals, std::size_t n,
                 const std::set<std::string>& refs) {
  refuse_source(source, out);
  BAM bam(out, "w");
  std::unordered_map<int, int> new_ids;
  if (refs.empty()) {
    check(bam.write(source.header), out);
  } else {
    const std::set<std::string> kept = with_mates(refs, source);
    BamHeader header = source.header;
    new_ids = header.subset(kept);
    check(bam.write(header), out);
  }
  source.rewind();
  for_each_selected(ordinals, n, source.next, [&] {
    if (!refs.empty()) source.current.update_ref_ids(new_ids);
    check(bam.write(source.current), out);
  });
  check(bam.close() == 0, out);
}

void copy_to_sam(const Source& source, const Path& out, const unsigned* ordinals, std::size_t n,
                 bool with_header) {
  refuse_source(source, out);
  SAM sam(out, "w");
  if (with_header) check(sam.write(source.header), out);
  source.rewind();
  for_each_selected(ordinals, n, source.next,
                    [&] { check(sam.write(source.current, source.header), out); });
  sam.close();
  check(!sam.fail(), out);
}

void copy_to_fastq(const Source& source, const Path& out, const unsigned* ordinals, std::size_t n) {
  copy_to_fastx<write_fastq>(source, out, ordinals, n);
}

void copy_to_fasta(const Source& source, const Path& out, const unsigned* ordinals, std::size_t n) {
  copy_to_fastx<write_fasta>(source, out, ordinals, n);
}

}  // namespace readkit
