// Scans of real BAM and SAM files against a slow model.
#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/gateway_calls.h"
#include "support/quality_checks.h"
#include "support/quality_model.h"
#include "support/real_sams.h"
#include "support/samtools.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::quality_real_alignments_test {
namespace {

// Larger files are scanned with few settings.
constexpr std::size_t kManyBases = std::size_t{1} << 18;

std::size_t bases_of(const ScanReads& reads) {
  std::size_t bases = 0;
  for (const ScanRead& read : reads.reads) bases += read.bases.size();
  return bases;
}

void expect_scans_of_the_model(ScanSource source, const std::string& file, const ScanReads& reads) {
  const std::size_t records = reads.reads.size();
  const bool is_large = bases_of(reads) > kManyBases;
  bool last_flag = false;
  for (auto& [name, settings] : is_large ? few_scan_settings(records) : scan_settings(records)) {
    for (const bool flag : {true, false}) {
      // Of a large file every setting has one of the two.
      if (is_large && flag == last_flag) continue;
      settings.flag = last_flag = flag;
      EXPECT_TRUE(scans_as(model_quality_scan(source, reads, settings),
                           scan_inputs(source, file, settings), to_path(file).text()))
          << file << ", " << name << (flag ? ", with" : ", without") << " unmapped reads";
      if (is_large) break;
    }
  }
}

class ScannedBam : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Files, ScannedBam, testing::ValuesIn(real_bams()),
                         [](const auto& param) { return test_name(param.param); });

TEST_P(ScannedBam, ScanIsThatOfTheModel) {
  SKIP_WITHOUT_TEST_DATA();
  const std::string file = test_file(GetParam());
  expect_scans_of_the_model(ScanSource::kBam, file, model_bam_reads(read_file(file)));
}

class ScannedSam : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Files, ScannedSam, testing::ValuesIn(real_sams()),
                         [](const auto& param) { return sam_test_name(param.param); });

TEST_P(ScannedSam, ScanIsThatOfTheModel) {
  SKIP_WITHOUT_TEST_DATA();
  for (const std::string& name : sams_of(GetParam())) {
    const std::string file = test_file(name);
    expect_scans_of_the_model(ScanSource::kSam, file, model_sam_reads(read_file(file)));
  }
}

TEST(ScannedAlignments, SomeHaveReadsWithoutAReferenceAndSomeReadsWithoutQualities) {
  SKIP_WITHOUT_TEST_DATA();
  const auto some_read = [](const std::string& name, const auto& test) {
    const ScanReads all = model_bam_reads(read_file(test_file(name)));
    return std::any_of(all.reads.begin(), all.reads.end(), test);
  };
  EXPECT_TRUE(
      some_read("bam/volvox-sorted.bam", [](const ScanRead& read) { return !read.has_reference; }));
  EXPECT_TRUE(some_read("bam/11_target.bam", [](const ScanRead& read) {
    return read.bases.size() > 1 && read.qualities == "*";
  }));
}

}  // namespace
}  // namespace readkit::quality_real_alignments_test
