// Calls samWrite once for each region of a list, in one process, and tells what the calls took.
//
//   many_calls LIBRARY reads.bam INDEX regions.bed out.sam
//
// INDEX is without its ".bai". Regions are lines of a BED file: a name, a 0-based begin, an end.
// The lines of all records are appended to out.sam; what is printed are the number of calls, the
// seconds in all of them, and those in the slowest one.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/array.h"
#include "host/call.h"
#include "host/loader.h"

namespace {

using readkit::host::make_scalar;
using readkit::host::make_text;
using readkit::host::Owned;

// The region of a BED line as gateway functions take it: "name:begin-end", 1-based and inclusive.
std::vector<std::string> read_regions(const std::string& path) {
  std::ifstream in(path);
  std::vector<std::string> regions;
  std::string name;
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
  while (in >> name >> begin >> end) {
    regions.push_back(name + ':' + std::to_string(begin + 1) + '-' + std::to_string(end));
  }
  if (!in.eof() || regions.empty()) throw std::runtime_error(path + " is no list of regions");
  return regions;
}

int run(const std::vector<std::string>& words) {
  const readkit::host::Library library(words[0]);
  const readkit::host::Function sam_write = library.function("samWrite");
  const Owned bam = make_text(words[1]);
  const Owned index = make_text(words[2]);
  const Owned out = make_text(words[4]);
  const Owned with_tags = make_scalar(true);
  const Owned contained = make_scalar(false);
  const std::vector<std::string> regions = read_regions(words[3]);
  double seconds = 0;
  double slowest = 0;
  for (const std::string& text : regions) {
    const Owned region = make_text(text);
    const auto start = std::chrono::steady_clock::now();
    readkit::host::call(
        sam_write, 0,
        {bam.get(), index.get(), out.get(), region.get(), with_tags.get(), contained.get()});
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    seconds += taken.count();
    slowest = std::max(slowest, taken.count());
  }
  std::printf("calls %zu seconds %.6f slowest %.6f\n", regions.size(), seconds, slowest);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::span<char*> given(argv, static_cast<std::size_t>(argc));
    const std::vector<std::string> words(std::next(given.begin()), given.end());
    if (words.size() != 5) throw std::runtime_error("LIBRARY BAM INDEX BED OUT are needed");
    return run(words);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "many_calls: %s\n", error.what());
    return 1;
  }
}
