// Scans of real FASTQ files, sound and unsound, and of their reads in memory, against a slow model.
#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/gateway_calls.h"
#include "support/quality_checks.h"
#include "support/quality_model.h"
#include "support/real_sams.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::quality_real_fastq_test {
namespace {

constexpr std::size_t kLargeFile = std::size_t{1} << 20;
// Tables beyond this, 128 MiB, are the business of the test of memory.
constexpr std::size_t kMostEntries = std::size_t{1} << 24;

class RealFastq : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    SKIP_WITHOUT_TEST_DATA();
    const std::string bytes = real_fastq_bytes(GetParam());
    folder_.write("a.fq", bytes);
    reads_ = model_fastq_reads(bytes);
    const std::size_t records = reads_.reads.size();
    const bool is_large = bytes.size() > kLargeFile;
    for (NamedSettings& settings : is_large ? few_scan_settings(records) : scan_settings(records)) {
      if (model_entries(reads_, settings.settings) > kMostEntries) continue;
      settings_.push_back(std::move(settings));
    }
    ASSERT_GE(settings_.size(), 2U) << "too long a read";
  }

  const TempDir folder_;
  ScanReads reads_;
  std::vector<NamedSettings> settings_;
};

INSTANTIATE_TEST_SUITE_P(Files, RealFastq, testing::ValuesIn(real_fastqs()),
                         [](const auto& param) { return sam_test_name(param.param); });

TEST_P(RealFastq, ScanOfTheFileIsThatOfTheModel) {
  for (const auto& [name, settings] : settings_) {
    EXPECT_TRUE(scans_as(model_quality_scan(ScanSource::kFastq, reads_, settings),
                         scan_inputs(ScanSource::kFastq, folder_.native("a.fq"), settings)))
        << name;
  }
}

// All records are checked in memory, of a file only those that are taken: with a selection the two
// may differ.
TEST_P(RealFastq, ReadsInMemoryGiveTheSameAsTheFileButForSelections) {
  for (const auto& [name, settings] : settings_) {
    const ScanSource source = settings.selected ? ScanSource::kMemory : ScanSource::kFastq;
    EXPECT_TRUE(
        scans_as(model_quality_scan(source, reads_, settings), scan_inputs(reads_, settings)))
        << name;
  }
}

TEST(RealFastqs, SomeAreCountedAndSomeAreRefused) {
  SKIP_WITHOUT_TEST_DATA();
  std::size_t counted = 0;
  std::size_t refused = 0;
  for (const std::string& name : real_fastqs()) {
    const ScanReads reads = model_fastq_reads(real_fastq_bytes(name));
    if (model_entries(reads, {}) > kMostEntries) continue;
    const ModelScan scan = model_quality_scan(ScanSource::kFastq, reads, {});
    ++(scan.error.empty() ? counted : refused);
  }
  EXPECT_GT(counted, 20U);
  EXPECT_GT(refused, 3U);
}

}  // namespace
}  // namespace readkit::quality_real_fastq_test
