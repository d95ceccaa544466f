// Real damaged files, as BAM files and as indexes.
#include <filesystem>
#include <map>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "support/hostile_calls.h"
#include "support/test_data.h"

namespace readkit::gateway_invalid_files_test {
namespace {

// ---- Real damaged files ------------------------------------------------------------------------

// The calls that read the header alone, those that read records, and those with an outcome of their
// own.
struct Expected {
  std::string header;
  std::string records;
  std::map<std::string, std::string> others = {};

  const std::string& of(const std::string& call, bool reads_records) const {
    const auto other = others.find(call);
    if (other != others.end()) return other->second;
    return reads_records ? records : header;
  }
};
const std::map<std::string, Expected>& expected_of_invalid_files() {
  static const std::map<std::string, Expected> all = {
      // Its last block is not the end marker byte for byte, but an empty block all the same.
      // It has no reference "chr1".
      {"1.quickcheck.badeof.bam",
       {kOk,
        kOk,
        {{"getFeatureCountData", "seqlab:readkit:AllNHTagsMissing"},
         {"samWrite", "seqlab:readkit:ReferenceIDNotFound"},
         {"samWrite, no index", "seqlab:readkit:ReferenceIDNotFound"},
         {"convertFormat to bam, one reference", "seqlab:readkit:InvalidHeaderSubset"}}}},
      {"2.quickcheck.badheader.bam", {kNotBam, kNotBam}},
      {"buggyHeader.sam", {kNotBam, kNotBam}},
      {"corrupted_zlib_archive.bam", {kOk, kDamaged}},  // the header has a block of its own
      {"ex1_zero_index.bam.bai", {kNotBam, kNotBam}},
      {"hanging_tab.sam", {kNotBam, kNotBam}},
      {"missing_fields.sam", {kNotBam, kNotBam}},
      {"no_block_size.bam", {kNotBam, kNotBam}},
      {"tagfilter.sam", {kNotBam, kNotBam}},
      {"truncated_quals.sam", {kNotBam, kNotBam}},
      {"truncated_tag.sam", {kNotBam, kNotBam}},
      {"zero_bytes.bam", {kNotBam, kNotBam}},
      {"zero_bytes.sam", {kNotBam, kNotBam}},
      {"zero_length_read.sam", {kNotBam, kNotBam}},
  };
  return all;
}

TEST(InvalidFiles, EachGivesTheOutcomeOfTheTable) {
  SKIP_WITHOUT_TEST_DATA();
  const HostileFolder place(rich_file());
  std::set<std::string> met;
  for (const std::string& file : invalid_files()) {
    const std::string name = std::filesystem::path(file).filename().string();
    const auto expected = expected_of_invalid_files().find(name);
    ASSERT_NE(expected, expected_of_invalid_files().end()) << name << " is not in the table";
    met.insert(name);
    place.write("a.bam", read_file(file));
    for (const HostileCall& call : place.calls()) {
      EXPECT_EQ(call.run(), expected->second.of(call.name, call.reads_records))
          << name << ": " << call.name;
    }
  }
  EXPECT_EQ(met.size(), expected_of_invalid_files().size());
}

TEST(InvalidFiles, NoneOfThemIsAnIndex) {
  SKIP_WITHOUT_TEST_DATA();
  const HostileFolder place(rich_file());
  for (const std::string& file : invalid_files()) {
    const std::string bytes = read_file(file);
    place.write("a.bai", bytes);
    const std::string expected = bytes.size() < 4 ? kIndexCutShort : kNotBai;
    for (const HostileCall& call : place.calls()) {
      if (!call.uses_index) continue;
      EXPECT_EQ(call.run(), expected) << file;
    }
  }
}

}  // namespace
}  // namespace readkit::gateway_invalid_files_test
