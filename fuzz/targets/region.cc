// Region strings, against a dictionary of odd names.
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "fuzz/support/calls.h"
#include "fuzz/support/target.h"
#include "header/bam_header.h"

namespace readkit::fuzz {
namespace {

const BamHeader& dictionary() {
  static const BamHeader header = [] {
    BamHeader names;
    for (const char* const name : {"chr1", "1", "", "HLA:A*01", "a-b", "x,y", "chr1"}) {
      names.add_reference(name, 1000);
    }
    return names;
  }();
  return header;
}

void run(Input input) {
  const std::string region(input.rest());
  int ref = -1;
  int beg = 0;
  int end = 0;
  const std::string error =
      error_of("parse_region", [&] { dictionary().parse_region(region, &ref, &beg, &end); });
  if (!error.empty()) return;
  require(ref >= 0 && ref < dictionary().get_num_refs(), "a region lies on no reference");
  const std::string name(dictionary().get_ref(ref).name());
  require(region.starts_with(name + ':'), "a region lies on another reference");
  const std::string plain =
      name + ':' + std::to_string(std::int64_t{beg} + 1) + '-' + std::to_string(end);
  int plain_ref = -1;
  int plain_beg = 0;
  int plain_end = 0;
  // Numbers below 0 would bring a second hyphen.
  if (beg < 0 || end < 0 || beg == std::numeric_limits<int>::max()) return;
  dictionary().parse_region(plain, &plain_ref, &plain_beg, &plain_end);
  require(plain_ref == ref && plain_beg == beg && plain_end == end,
          "a region written plainly is another one");
}

std::vector<std::string> seeds() {
  return {"chr1:1-1000",
          "chr1:1,000-2,000,000",
          "1:5-3",
          ":1-2",
          "HLA:A*01:1-2",
          "a-b:0-0",
          "x,y:7-8",
          "chr1",
          "chr1:",
          "chr1:-",
          "chr1:-5-2147483647",
          "chr1:2147483648-9",
          "chr1: 12x-13y"};
}

const Registration registration({.name = "region", .run = run, .seeds = seeds});

}  // namespace
}  // namespace readkit::fuzz
