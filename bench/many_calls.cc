// Reads the records of the regions of a list, in one process, and tells what the calls took.
//
//   many_calls LIBRARY reads.bam INDEX regions.bed out.sam [together]
//
// samWrite is called once for each region; with "together", kxSamWriteRegions once for all. INDEX
// is without its ".bai". Regions are lines of a BED file: a name, a 0-based begin, an end. The
// lines of all records are appended to out.sam; what is printed are the number of calls, the
// seconds in all of them, and those in the slowest one.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/array.h"
#include "host/call.h"
#include "host/loader.h"

namespace {

using readkit::host::make_column;
using readkit::host::make_scalar;
using readkit::host::make_text;
using readkit::host::Owned;

// Of a line of a BED file; 0-based, [begin, end).
struct Region {
  std::string name;
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
};

std::vector<Region> read_regions(const std::string& path) {
  std::ifstream in(path);
  std::vector<Region> regions;
  Region region;
  while (in >> region.name >> region.begin >> region.end) regions.push_back(region);
  if (!in.eof() || regions.empty()) throw std::runtime_error(path + " is no list of regions");
  return regions;
}

// What some calls took.
class Calls {
 public:
  void add(const std::function<void()>& call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    ++count_;
    seconds_ += taken.count();
    slowest_ = std::max(slowest_, taken.count());
  }
  void print() const {
    std::printf("calls %zu seconds %.6f slowest %.6f\n", count_, seconds_, slowest_);
  }

 private:
  std::size_t count_ = 0;
  double seconds_ = 0;
  double slowest_ = 0;
};

struct Files {
  Owned bam;
  Owned index;
  Owned out;
};

Calls one_by_one(const readkit::host::Library& library, const Files& files,
                 const std::vector<Region>& regions) {
  const readkit::host::Function sam_write = library.function("samWrite");
  const Owned with_tags = make_scalar(true);
  const Owned contained = make_scalar(false);
  Calls calls;
  for (const Region& region : regions) {
    const Owned text = make_text(region.name + ':' + std::to_string(region.begin + 1) + '-' +
                                 std::to_string(region.end));
    calls.add([&] {
      readkit::host::call(sam_write, 0,
                          {files.bam.get(), files.index.get(), files.out.get(), text.get(),
                           with_tags.get(), contained.get()});
    });
  }
  return calls;
}

Calls together(const readkit::host::Library& library, const Files& files,
               const std::vector<Region>& regions) {
  const readkit::host::Function reference_id = library.function("getReferenceID");
  std::map<std::string, double> places;
  std::vector<double> references;
  std::vector<double> firsts;
  std::vector<double> lasts;
  for (const Region& region : regions) {
    if (!places.contains(region.name)) {
      const Owned name = make_text(region.name);
      const auto ids = readkit::host::call(reference_id, 1, {files.bam.get(), name.get()});
      places[region.name] = readkit::host::numbers_of(ids.at(0).get()).at(0);
    }
    references.push_back(places[region.name]);
    firsts.push_back(static_cast<double>(region.begin + 1));
    lasts.push_back(static_cast<double>(region.end));
  }
  const Owned columns[] = {make_column(references), make_column(firsts), make_column(lasts)};
  const Owned with_tags = make_scalar(true);
  Calls calls;
  calls.add([&] {
    readkit::host::call(library.function("kxSamWriteRegions"), 0,
                        {files.bam.get(), files.index.get(), files.out.get(), columns[0].get(),
                         columns[1].get(), columns[2].get(), with_tags.get()});
  });
  return calls;
}

int run(const std::vector<std::string>& words) {
  const readkit::host::Library library(words[0]);
  const Files files = {
      .bam = make_text(words[1]), .index = make_text(words[2]), .out = make_text(words[4])};
  const std::vector<Region> regions = read_regions(words[3]);
  const bool at_once = words.size() > 5;
  (at_once ? together(library, files, regions) : one_by_one(library, files, regions)).print();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::span<char*> given(argv, static_cast<std::size_t>(argc));
    const std::vector<std::string> words(std::next(given.begin()), given.end());
    const bool fits = words.size() == 5 || (words.size() == 6 && words[5] == "together");
    if (!fits) throw std::runtime_error("LIBRARY BAM INDEX BED OUT [together] are needed");
    return run(words);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "many_calls: %s\n", error.what());
    return 1;
  }
}
