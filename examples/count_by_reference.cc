// Prints how many records of a BAM file lie on each reference.
//
//   count_by_reference LIBRARY READS.bam
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <span>
#include <string>
#include <vector>

#include <readkit/host/array.h>
#include <readkit/host/call.h>
#include <readkit/host/loader.h>

namespace {

using readkit::host::Owned;

void count_by_reference(const std::string& library_path, const std::string& bam_path) {
  const readkit::host::Library library(library_path);
  const Owned bam = readkit::host::make_text(bam_path);

  // [sorted, counts] = bamInfo(bam): the first count is of records without a reference, count
  // i + 1 of reference i; references without records at the end have no count.
  const std::vector<Owned> info = readkit::host::call(library.function("bamInfo"), 2, {bam.get()});
  // [text, names, lengths] = getHeader(bam)
  const std::vector<Owned> header =
      readkit::host::call(library.function("getHeader"), 3, {bam.get()});

  const auto counts = readkit::host::data_of<double>(info[1].get());
  const std::vector<std::string> names = readkit::host::texts_of(header[1].get());
  const auto lengths = readkit::host::data_of<std::uint32_t>(header[2].get());
  const auto count_at = [&](std::size_t i) { return i < counts.size() ? counts[i] : 0.0; };
  for (std::size_t i = 0; i < names.size(); ++i) {
    std::printf("%-10s %10u %10.0f\n", names[i].c_str(), lengths[i], count_at(i + 1));
  }
  std::printf("%-10s %10s %10.0f\n", "*", "", count_at(0));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: count_by_reference LIBRARY READS.bam\n");
    return 2;
  }
  try {
    count_by_reference(argv[1], argv[2]);
    return 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "count_by_reference: %s\n", e.what());
    return 1;
  }
}
