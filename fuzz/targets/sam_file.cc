// A SAM file through every gateway function that reads one.
#include <string>
#include <vector>

#include "fuzz/support/gateway_table.h"
#include "fuzz/support/samples.h"

namespace readkit::fuzz {
namespace {

Inputs conversion(const Job& job, const char* format) {
  return inputs(text(job.file), text("sam"), out(), text(format), ordinals(job));
}
Inputs subset(const Job& job) {
  Inputs list = conversion(job, "bam");
  list.push_back(host::make_cell_of_texts({job.second % 2 == 0 ? "chr1" : "chr2"}));
  return list;
}

const Way kWays[] = {
    {"samInfo", samInfo, 1, [](const Job& j) { return inputs(text(j.file)); }},
    {"samInfo, counts", samInfo, 3, [](const Job& j) { return inputs(text(j.file)); }},
    {"samToBam", samToBam, 0, [](const Job& j) { return inputs(text(j.file), out()); }},
    {"samSort", samSort, 0,
     [](const Job& j) {
       fresh_file("out.sam");
       return inputs(text(j.file), out());
     }},
    {"convertFormat, subset", convertFormat, 0, subset},
    {"convertFormat, bam", convertFormat, 0, [](const Job& j) { return conversion(j, "bam"); }},
    {"convertFormat, sam", convertFormat, 0, [](const Job& j) { return conversion(j, "sam"); }},
    {"convertFormat, fastq", convertFormat, 0, [](const Job& j) { return conversion(j, "fastq"); }},
    {"convertFormat, fasta", convertFormat, 0, [](const Job& j) { return conversion(j, "fasta"); }},
    {"scanQualities", scanQualities, 6, [](const Job& j) { return scan_inputs(2, j); }},
    {"kxCheck", kxCheck, 1, [](const Job& j) { return inputs(text(j.file)); }},
};

void run(Input input) {
  const std::uint8_t way = input.byte();
  const std::uint8_t first = input.byte();
  const std::uint8_t second = input.byte();
  const Job job = {
      .file = file_with("a.sam", input.rest()), .index = {}, .first = first, .second = second};
  call(kWays, way, job);
}

std::vector<std::string> seeds() {
  return behind(counted_choices(std::size(kWays), std::string(2, '\0')), sam_files());
}

const Registration registration({.name = "sam_file", .run = run, .seeds = seeds, .choices = 3});

}  // namespace
}  // namespace readkit::fuzz
