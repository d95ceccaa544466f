// Copies the mapped records of a BAM file that overlap a region into another BAM file, with the C++
// classes and without a host. Reads through the index FROM.bam.bai where there is one.
//
//   mapped_reads FROM.bam NAME:BEGIN-END TO.bam
#include <cstdio>
#include <exception>
#include <string>

#include <readkit/bam/bam.h>
#include <readkit/core/errors.h>

namespace {

constexpr int kUnmapped = 4;  // a bit of flag()

int copy_mapped(const std::string& from, const std::string& region, const std::string& to) {
  readkit::BAM in(readkit::Path(readkit::to_ustring(from)));
  int reference = 0;
  int begin = 0;  // 0-based, [begin, end)
  int end = 0;
  in.parse_region(region, &reference, &begin, &end);
  const readkit::Path index(readkit::to_ustring(from + ".bai"));
  if (readkit::is_regular_file(index)) in.open_index(index);

  readkit::BAM out(readkit::Path(readkit::to_ustring(to)), "w");
  out.write(in.header());
  int copied = 0;
  in.find_init(reference, begin, end);
  while (in.find_next(reference, begin, end)) {
    if ((in.flag() & kUnmapped) != 0) continue;
    out.write(in);
    ++copied;
  }
  if (out.close() != 0) throw readkit::FileWrite(out.path().text());
  return copied;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: mapped_reads FROM.bam NAME:BEGIN-END TO.bam\n");
    return 2;
  }
  try {
    std::printf("%d records\n", copy_mapped(argv[1], argv[2], argv[3]));
    return 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "mapped_reads: %s\n", e.what());
    return 1;
  }
}
