#include "support/hostile_calls.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <utility>

namespace readkit {

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
                                            "seqlab:scanqualities:InvalidData",
                                            "Tessel:cpp:out_of_range",
                                            "Tessel:cpp:bad_alloc",
                                            "Tessel:cpp:length_error"};
  return all;
}

bool ends_behind_regions(std::string_view name) {
  return name.starts_with("kxFields") || name.starts_with("kxSamWriteRegions");
}

HostileFolder::HostileFolder(const BamBuilder& sound) {
  files_.write("a.bam", sound.bytes());
  const TempDir& folder = files_.folder();
  call_gateway("bamIndex", 0, inputs(text(folder, "a.bam"), text(folder, "a.bai")));
  call_gateway("kxBamIndexComplete", 0,
               inputs(text(folder, "a.bam"), text(folder, "complete.bai")));
  index_ = folder.read("a.bai");
  complete_index_ = folder.read("complete.bai");
}

std::vector<HostileCall> HostileFolder::calls() const {
  const std::set<std::string> of_header = {"getNumReferences", "getReferenceID",
                                           "getReferenceString", "getHeader"};
  std::vector<HostileCall> calls;
  const auto add = [&](const FileCall& call, bool uses_index) {
    if (call.name.starts_with("kxCheck")) return;
    const bool reads_records = !of_header.contains(call.name);
    const bool reads_all = reads_records && !uses_index && !ends_behind_regions(call.name);
    calls.push_back({.name = call.name + (uses_index ? ", index" : ""),
                     .run = [=] { return outcome_of(call); },
                     .result = [=] { return result_of(call); },
                     .reads_records = reads_records,
                     .reads_all = reads_all,
                     .uses_index = uses_index});
  };
  for (const FileCall& call : files_.on_bam()) add(call, false);
  for (const FileCall& call : files_.on_index()) add(call, true);
  return calls;
}

std::string HostileFolder::check() const { return result_of(files_.on_bam().back()); }

BamBuilder plain_file() {
  return BamBuilder()
      .refs(2, 1000)
      .record(RecordBuilder("a").at(0, 9).mapq(9).cigar("4M").seq("ACGT").qual("!I~5").tag("NH",
                                                                                           'C', 1))
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
      .record(RecordBuilder("pair").at(0, 9).mate(0, 9).flag(0x1 | 0x4 | 0x80).seq("AC").qual("!~"))
      .record(RecordBuilder("tags")
                  .at(0, 19)
                  .mate(2, 30)
                  .mapq(30)
                  .cigar("3M")
                  .seq("AAA")
                  .qual("III")
                  .tag("XI", 'I', 4000000000)
                  .tag_float("Xf", 1.5F)
                  .tag_text("XZ", 'Z', "text")
                  .tag_text("XH", 'H', "1AE3")
                  .tag_array("Bc", 'c', {-1, 2})
                  .tag_array("BS", 'S', {1, 60000})
                  .tag_array("Bi", 'i', {-70000})
                  .tag_floats("Bf", {0.5F})
                  .tag_array("B0", 'C', {}))
      .record(RecordBuilder("far").at(0, 70000).mapq(60).cigar("20000N4M").seq("ACGT").qual("IIII"))
      .record(RecordBuilder("other").at(2, 30).mapq(60).flag(0x800).cigar("4H1M").seq("G"))
      .record(RecordBuilder("none").flag(0x4).seq("ACG").qual("III"))
      .block_size(150);
}

std::size_t open_files() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

}  // namespace readkit
