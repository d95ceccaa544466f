// A BAM file through every gateway function that reads one, with an index of another file.
#include <string>
#include <vector>

#include "fuzz/support/blocks.h"
#include "fuzz/support/gateway_table.h"
#include "fuzz/support/samples.h"
#include "support/bam_builder.h"
#include "support/index_model.h"

namespace readkit::fuzz {
namespace {

host::Owned features() {
  return host::make_cell_of_texts({"Flag", "Position", "MappingQuality", "MatePosition",
                                   "MateIndex", "QueryLength", "EndPosition", "Signature",
                                   "Sequence", "Header", "Quality"});
}

Inputs files(const Job& job) { return inputs(text(job.file), out()); }
Inputs starts(const Job& job) { return inputs(text(job.file), text(job.index), number(job.first)); }
Inputs features_of_two(const Job& job) {
  return inputs(text(job.file), text(job.index), features(), number(job.first),
                host::make_column<std::uint32_t>({1, 2}),
                host::make_column<std::uint32_t>({9, 9U + job.second * 600U}));
}
Inputs counts(const Job& job) {
  return inputs(text(job.file), number(job.first % 3), truth(job.second % 2 != 0),
                truth(job.second % 4 > 1), number(job.second / 4));
}
Inputs region(const Job& job) {
  const std::string base = job.index.substr(0, job.index.size() - 4);
  return inputs(text(job.file), text(base), out(), text("chr1:1-100000"), truth(job.first % 2 != 0),
                truth(job.first % 4 > 1));
}
Inputs conversion(const Job& job, const char* format) {
  return inputs(text(job.file), text("bam"), out(), text(format), ordinals(job));
}
Inputs subset(const Job& job) {
  Inputs list = conversion(job, "bam");
  list.push_back(host::make_cell_of_texts({job.second % 2 == 0 ? "chr1" : "HLA:A*01"}));
  return list;
}
// The output's name as the base of the sorted file's.
Inputs order(const Job& job) {
  fresh_file("out.bam");
  return files(job);
}

Inputs seeded_order(const Job& job) {
  Inputs list = order(job);
  list.push_back(number(job.first));
  return list;
}

// Two regions that overlap.
Inputs fields_of_regions(const Job& job) {
  const double first = job.first;
  return inputs(
      text(job.file), text(job.index),
      host::make_cell_of_texts({"Flag", "Position", "EndPosition", "MappingQuality", "MatePosition",
                                "QueryLength", "Header", "Signature", "Sequence", "Quality"}),
      host::make_column<double>({0, 0}), host::make_column<double>({1, first}),
      host::make_column<double>({job.second * 100.0, first + job.second}));
}

Inputs lines_of_regions(const Job& job) {
  const double first = job.first;
  return inputs(text(job.file), text(job.index), out(), host::make_column<double>({0, 0}),
                host::make_column<double>({first, 1}),
                host::make_column<double>({first + job.second, job.second * 100.0}), truth(true));
}

const Way kWays[] = {
    {"getNumReferences", getNumReferences, 1, [](const Job& j) { return inputs(text(j.file)); }},
    {"getReferenceID", getReferenceID, 1,
     [](const Job& j) { return inputs(text(j.file), text("chr1")); }},
    {"getReferenceString", getReferenceString, 1,
     [](const Job& j) { return inputs(text(j.file), number(j.first)); }},
    {"getHeader", getHeader, 3, [](const Job& j) { return inputs(text(j.file)); }},
    {"bamInfo", bamInfo, 1, [](const Job& j) { return inputs(text(j.file)); }},
    {"bamInfo, counts", bamInfo, 2, [](const Job& j) { return inputs(text(j.file)); }},
    {"bamIndex", bamIndex, 0, files},
    {"bamSort", bamSort, 0, order},
    {"getStartsInReference", getStartsInReference, 3, starts},
    {"getFeatures", getFeatures, 11, features_of_two},
    {"getFeatureCountData", getFeatureCountData, 9, counts},
    {"samWrite", samWrite, 0, region},
    {"samWriteUnaligned", samWriteUnaligned, 0,
     [](const Job& j) { return inputs(text(j.file), out(), truth(j.first % 2 != 0)); }},
    {"convertFormat, subset", convertFormat, 0, subset},
    {"convertFormat, bam", convertFormat, 0, [](const Job& j) { return conversion(j, "bam"); }},
    {"convertFormat, sam", convertFormat, 0, [](const Job& j) { return conversion(j, "sam"); }},
    {"convertFormat, fastq", convertFormat, 0, [](const Job& j) { return conversion(j, "fastq"); }},
    {"convertFormat, fasta", convertFormat, 0, [](const Job& j) { return conversion(j, "fasta"); }},
    {"scanQualities", scanQualities, 6, [](const Job& j) { return scan_inputs(3, j); }},
    {"kxBamShuffle", kxBamShuffle, 0, order},
    {"kxBamShuffleSeeded", kxBamShuffleSeeded, 0, seeded_order},
    {"kxBamIndexComplete", kxBamIndexComplete, 0, files},
    {"kxCheck", kxCheck, 1, [](const Job& j) { return inputs(text(j.file)); }},
    {"kxCheck, index", kxCheck, 1,
     [](const Job& j) { return inputs(text(j.file), text(j.index)); }},
    {"kxFields", kxFields, 12, fields_of_regions},
    {"kxSamWriteRegions", kxSamWriteRegions, 0, lines_of_regions},
    {"kxVerified", kxVerified, 2,
     [](const Job& j) { return inputs(text("bamInfo"), text(j.file)); }},
};

// An index of another number of references than most files have, which is passed over, and one of
// the sample.
std::string index_file(std::uint8_t choice) {
  static const std::string none =
      file_with("none.bai", encode_bai({.refs = std::vector<ModelReference>(77)}));
  static const std::string sample =
      file_with("sample.bai", encode_bai(model_index_of(sample_bam().bytes()).index));
  return choice % 2 == 0 ? none : sample;
}

void run(Input input) {
  const std::uint8_t way = input.byte();
  const std::uint8_t first = input.byte();
  const std::uint8_t second = input.byte();
  const Job job = {.file = file_with("a.bam", input.rest()),
                   .index = index_file(second),
                   .first = first,
                   .second = second};
  call(kWays, way, job);
}

std::vector<std::string> seeds() {
  std::vector<std::string> seeds =
      behind(counted_choices(std::size(kWays), std::string(2, '\0')), bam_files());
  for (const std::string& more :
       behind(counted_choices(std::size(kWays), std::string(2, '\1')), {bam_files()[0]})) {
    seeds.push_back(more);
  }
  return seeds;
}

const Registration registration(
    {.name = "bam_file", .run = run, .seeds = seeds, .choices = 3, .change = change_bam});

}  // namespace
}  // namespace readkit::fuzz
