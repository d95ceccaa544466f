#include "support/hostile_calls.h"

#include <cstdint>
#include <filesystem>
#include <iterator>

#include "support/gateway_calls.h"
#include "support/index_model.h"

namespace readkit {
namespace {

std::string outcome(const std::string& gateway, int nlhs, const Inputs& list) {
  const LeakCheck leaks;
  try {
    call_gateway(gateway, nlhs, list);
  } catch (const host::HostError& error) {
    return error.identifier();
  }
  return kOk;
}

host::Owned all_features() {
  return host::make_cell_of_texts({"Flag", "Position", "MappingQuality", "MatePosition",
                                   "MateIndex", "QueryLength", "EndPosition", "Signature",
                                   "Sequence", "Header", "Quality"});
}

}  // namespace

const std::set<std::string>& documented_outcomes() {
  static const std::set<std::string> all = {kOk,
                                            kNotBam,
                                            kCutShort,
                                            kDamaged,
                                            kNotBai,
                                            kIndexCutShort,
                                            "seqlab:readkit:BGZFSeek",
                                            "seqlab:readkit:ReferenceIDNotFound",
                                            "seqlab:readkit:PositionTooBig",
                                            "seqlab:readkit:BAMUnsorted",
                                            "seqlab:readkit:AllNHTagsMissing",
                                            "seqlab:readkit:InvalidHeaderSubset",
                                            "seqlab:readkit:InvalidSAMFormat",
                                            "seqlab:readkit:InvalidTagType",
                                            "Tessel:cpp:out_of_range",
                                            "Tessel:cpp:bad_alloc",
                                            "Tessel:cpp:length_error"};
  return all;
}

HostileFolder::HostileFolder(const BamBuilder& sound) {
  sound.write(folder_, "a.bam");
  call_gateway("bamIndex", 0, inputs(text(folder_, "a.bam"), text(folder_, "a.bai")));
  index_ = folder_.read("a.bai");
  folder_.write("none.bai", encode_bai({.refs = std::vector<ModelReference>(77)}));
}

void HostileFolder::write(const std::string& name, const std::string& bytes) const {
  std::filesystem::remove(folder_.native(name));
  folder_.write(name, bytes);
}

std::vector<HostileCall> HostileFolder::calls() const {
  const auto bam = [this] { return text(folder_, "a.bam"); };
  const auto simple = [=](const char* gateway, int nlhs) {
    return [=] { return outcome(gateway, nlhs, inputs(bam())); };
  };
  const auto starts = [=, this](const char* index) {
    return [=, this] {
      return outcome("getStartsInReference", 3,
                     inputs(bam(), text(folder_, index), host::make_scalar(0.0)));
    };
  };
  const auto features = [=, this](const char* index) {
    return [=, this] {
      return outcome("getFeatures", 11,
                     inputs(bam(), text(folder_, index), all_features(), host::make_scalar(0.0),
                            host::make_column<std::uint32_t>({1, 2}),
                            host::make_column<std::uint32_t>({9, 19})));
    };
  };
  const auto id = [=] { return outcome("getReferenceID", 1, inputs(bam(), text("chr1"))); };
  const auto name = [=] {
    return outcome("getReferenceString", 1, inputs(bam(), host::make_scalar(0.0)));
  };
  const auto index = [=, this] {
    std::filesystem::remove(folder_.native("new.bai"));
    return outcome("bamIndex", 0, inputs(bam(), text(folder_, "new.bai")));
  };
  const auto count = [=] {
    return outcome("getFeatureCountData", 9,
                   inputs(bam(), host::make_scalar(1.0), host::make_scalar(true),
                          host::make_scalar(true), host::make_scalar(1.0)));
  };
  const auto output = [this] {
    std::filesystem::remove(folder_.native("out"));  // quicker than to empty it
    return text(folder_, "out");
  };
  const auto region = [=, this](const char* index_base) {
    return [=, this] {
      return outcome("samWrite", 0,
                     inputs(bam(), text(folder_, index_base), output(), text("chr1:1-100000"),
                            host::make_scalar(true), host::make_scalar(false)));
    };
  };
  const auto unaligned = [=] {
    return outcome("samWriteUnaligned", 0, inputs(bam(), output(), host::make_scalar(true)));
  };
  const auto convert = [=](const char* format) {
    return [=] {
      return outcome(
          "convertFormat", 0,
          inputs(bam(), text("bam"), output(), text(format), host::make_row<std::uint32_t>({})));
    };
  };
  const auto subset = [=] {
    return outcome("convertFormat", 0,
                   inputs(bam(), text("bam"), output(), text("bam"),
                          host::make_row<std::uint32_t>({1, 2}), text("chr1")));
  };
  return {
      {.name = "getNumReferences", .run = simple("getNumReferences", 1)},
      {.name = "getReferenceID", .run = id},
      {.name = "getReferenceString", .run = name},
      {.name = "getHeader", .run = simple("getHeader", 3)},
      {.name = "bamInfo, one output", .run = simple("bamInfo", 1), .reads_records = true},
      {"bamInfo, two outputs", simple("bamInfo", 2), true, true},
      {"bamIndex", index, true, true},
      {"getFeatureCountData", count, true, true},
      {"getStartsInReference, no index", starts("none.bai"), true, true},
      {"getStartsInReference", starts("a.bai"), true, false, true},
      {"getFeatures, no index", features("none.bai"), true, true},
      {"getFeatures", features("a.bai"), true, false, true},
      {"samWrite, no index", region("none"), true, true},
      {"samWrite", region("a"), true, false, true},
      {"samWriteUnaligned", unaligned, true, true},
      {"convertFormat to bam, one reference", subset, true, true},
      {"convertFormat to sam", convert("sam"), true, true},
      {"convertFormat to fastq", convert("fastq"), true, true},
  };
}

BamBuilder plain_file() {
  return BamBuilder()
      .refs(1, 1000)
      .record(RecordBuilder("a").at(0, 9).mapq(9).cigar("4M").seq("ACGT").tag("NH", 'C', 1))
      .record(RecordBuilder("b").at(0, 19).mapq(9).cigar("2S2M").seq("ACGT").qual("IIII"));
}

BamBuilder rich_file() {
  return BamBuilder()
      .text("@HD\tVN:1.6\tSO:coordinate\n@CO\tx\n")
      .ref("chr1", 100000)
      .ref("chr2", 5)
      .ref("HLA:A*01", 100000)
      .record(RecordBuilder("pair")
                  .at(0, 9)
                  .mate(0, 9)
                  .flag(0x1 | 0x2 | 0x40)
                  .mapq(60)
                  .tlen(-7)
                  .cigar("1S2M1I1D1N2=1X")
                  .seq("ACGTNAC")
                  .qual("IIIIIII")
                  .tag("XA", 'A', 'q')
                  .tag("Xc", 'c', -1)
                  .tag("XC", 'C', 255)
                  .tag("Xs", 's', -300)
                  .tag("XS", 'S', 60000)
                  .tag("NH", 'i', 1))
      .record(RecordBuilder("pair").at(0, 9).mate(0, 9).flag(0x1 | 0x4 | 0x80).seq("AC"))
      .record(RecordBuilder("tags")
                  .at(0, 19)
                  .mate(2, 30)
                  .mapq(30)
                  .cigar("3M")
                  .seq("AAA")
                  .tag("XI", 'I', 4000000000)
                  .tag_float("Xf", 1.5F)
                  .tag_text("XZ", 'Z', "text")
                  .tag_text("XH", 'H', "1AE3")
                  .tag_array("Bc", 'c', {-1, 2})
                  .tag_array("BS", 'S', {1, 60000})
                  .tag_array("Bi", 'i', {-70000})
                  .tag_floats("Bf", {0.5F})
                  .tag_array("B0", 'C', {}))
      .record(RecordBuilder("far").at(0, 70000).mapq(60).cigar("20000N4M").seq("ACGT"))
      .record(RecordBuilder("other").at(2, 30).mapq(60).flag(0x800).cigar("4H2M").seq("GG"))
      .record(RecordBuilder("none").flag(0x4).seq("ACG"))
      .block_size(150);
}

std::size_t open_files() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

}  // namespace readkit
