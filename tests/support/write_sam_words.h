// What the tests of samWrite and samWriteUnaligned work on.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "support/gateway_calls.h"
#include "support/sort_words.h"

namespace readkit {

// Reads on "chr1" (200000 bases) and "chr2" (100) in coordinate order, and some without reference.
inline BamBuilder write_sam_sample() {
  const auto at = [](const std::string& name, int ref, int pos, const std::string& cigar,
                     std::size_t bases) {
    return RecordBuilder(name).at(ref, pos).cigar(cigar).seq(std::string(bases, 'A'));
  };
  return BamBuilder()
      .ref("chr1", 200000)
      .ref("chr2", 100)
      .record(at("first", 0, 9, "10M", 10).tag("NM", 'C', 3))  // [9, 19), tagged
      .record(at("clipped", 0, 20, "2M8S", 10))                // [20, 22), ten bases
      .record(at("deleted", 0, 24, "2M90D2M", 4))              // [24, 118), four bases
      .record(at("unmapped", 0, 30, "*", 4).flag(4))
      .record(at("far", 0, 150000, "10M", 10))
      .record(at("other", 1, 9, "10M", 10))
      .record(RecordBuilder("none").flag(4).seq("AC").tag("XX", 'C', 1))
      .record(RecordBuilder("below").at(-2, 5).flag(4));
}

// The sample as "a.bam" with its index "a.bam.bai", and calls that append to "out".
class WriteSamTest : public testing::Test {
 protected:
  WriteSamTest() {
    write(write_sam_sample());
    call_gateway("bamIndex", 0, inputs(text(folder_, "a.bam"), text(folder_, "a.bam.bai")));
  }
  void write(const BamBuilder& file) { file.write(folder_, "a.bam"); }

  Inputs region_inputs(const std::string& region, bool with_tags = false, bool contained = false,
                       const std::string& index = "a.bam", const std::string& out = "out") {
    return inputs(text(folder_, "a.bam"), text(folder_, index), text(folder_, out), text(region),
                  host::make_scalar(with_tags ? 1.0 : 0.0), host::make_scalar(contained));
  }
  void write_region(const std::string& region, bool with_tags = false, bool contained = false,
                    const std::string& index = "a.bam", const std::string& out = "out") {
    const LeakCheck leaks;
    call_gateway("samWrite", 0, region_inputs(region, with_tags, contained, index, out));
  }
  void write_unaligned(bool with_tags = false, const std::string& out = "out") {
    const LeakCheck leaks;
    call_gateway("samWriteUnaligned", 0,
                 inputs(text(folder_, "a.bam"), text(folder_, out), host::make_scalar(with_tags)));
  }
  // The names on the lines of "out", which is removed.
  Names taken() {
    Names names;
    std::string all = folder_.read("out");
    for (std::size_t end = 0; (end = all.find('\n')) != std::string::npos; all.erase(0, end + 1)) {
      names.push_back(all.substr(0, all.find('\t')));
    }
    EXPECT_EQ(all, "") << "no newline at the end";
    std::filesystem::remove(folder_.native("out"));
    return names;
  }
  Names region(const std::string& region, bool contained = false) {
    write_region(region, false, contained);
    return taken();
  }
  // Inputs that are sound but for one.
  Inputs with(std::size_t i, host::Owned replacement) {
    Inputs list = region_inputs("chr1:1-100");
    list[i] = std::move(replacement);
    return list;
  }
  Inputs unaligned_with(std::size_t i, host::Owned replacement) {
    Inputs list = inputs(text(folder_, "a.bam"), text(folder_, "out"), host::make_scalar(0.0));
    list[i] = std::move(replacement);
    return list;
  }

  TempDir folder_;
};

}  // namespace readkit
