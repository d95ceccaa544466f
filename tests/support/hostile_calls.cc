#include "support/hostile_calls.h"

#include <cstdint>
#include <filesystem>
#include <iterator>

#include "support/index_model.h"

namespace readkit {
namespace {

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

std::string HostileCall::run() const {
  const LeakCheck leaks;
  try {
    call_gateway(gateway, nlhs, inputs());
  } catch (const host::HostError& error) {
    return error.identifier();
  }
  return kOk;
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
  const auto output = [this](const char* name = "out") {
    std::filesystem::remove(folder_.native(name));  // quicker than to empty it
    return text(folder_, name);
  };
  const auto simple = [=] { return readkit::inputs(bam()); };
  const auto id = [=] { return readkit::inputs(bam(), text("chr1")); };
  const auto name = [=] { return readkit::inputs(bam(), host::make_scalar(0.0)); };
  const auto new_index = [=] { return readkit::inputs(bam(), output("new.bai")); };
  const auto count = [=] {
    return readkit::inputs(bam(), host::make_scalar(1.0), host::make_scalar(true),
                           host::make_scalar(true), host::make_scalar(1.0));
  };
  const auto starts = [=, this](const char* index) {
    return
        [=, this] { return readkit::inputs(bam(), text(folder_, index), host::make_scalar(0.0)); };
  };
  const auto features = [=, this](const char* index) {
    return [=, this] {
      return readkit::inputs(bam(), text(folder_, index), all_features(), host::make_scalar(0.0),
                             host::make_column<std::uint32_t>({1, 2}),
                             host::make_column<std::uint32_t>({9, 19}));
    };
  };
  const auto region = [=, this](const char* index_base) {
    return [=, this] {
      return readkit::inputs(bam(), text(folder_, index_base), output(), text("chr1:1-100000"),
                             host::make_scalar(true), host::make_scalar(false));
    };
  };
  const auto unaligned = [=] { return readkit::inputs(bam(), output(), host::make_scalar(true)); };
  const auto convert = [=](const char* format) {
    return [=] {
      return readkit::inputs(bam(), text("bam"), output(), text(format),
                             host::make_row<std::uint32_t>({}));
    };
  };
  const auto subset = [=] {
    return readkit::inputs(bam(), text("bam"), output(), text("bam"),
                           host::make_row<std::uint32_t>({1, 2}), text("chr1"));
  };
  return {
      {"getNumReferences", "getNumReferences", 1, simple},
      {"getReferenceID", "getReferenceID", 1, id},
      {"getReferenceString", "getReferenceString", 1, name},
      {"getHeader", "getHeader", 3, simple},
      {"bamInfo, one output", "bamInfo", 1, simple, true},
      {"bamInfo, two outputs", "bamInfo", 2, simple, true, true},
      {"bamIndex", "bamIndex", 0, new_index, true, true},
      {"getFeatureCountData", "getFeatureCountData", 9, count, true, true},
      {"getStartsInReference, no index", "getStartsInReference", 3, starts("none.bai"), true, true},
      {"getStartsInReference", "getStartsInReference", 3, starts("a.bai"), true, false, true},
      {"getFeatures, no index", "getFeatures", 11, features("none.bai"), true, true},
      {"getFeatures", "getFeatures", 11, features("a.bai"), true, false, true},
      {"samWrite, no index", "samWrite", 0, region("none"), true, true},
      {"samWrite", "samWrite", 0, region("a"), true, false, true},
      {"samWriteUnaligned", "samWriteUnaligned", 0, unaligned, true, true},
      {"convertFormat to bam, one reference", "convertFormat", 0, subset, true, true},
      {"convertFormat to sam", "convertFormat", 0, convert("sam"), true, true},
      {"convertFormat to fastq", "convertFormat", 0, convert("fastq"), true, true},
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
