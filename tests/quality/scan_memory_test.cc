// A scan takes the memory of its tables, which go to the host without a copy, and little else.
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/gateway_calls.h"
#include "support/quality_checks.h"
#include "support/resident_memory.h"
#include "support/temp_dir.h"

namespace readkit::quality_scan_memory_test {
namespace {

constexpr std::size_t kMegabyte = std::size_t{1} << 20;
constexpr std::size_t kFewMegabytes = 8 * kMegabyte;
constexpr std::size_t kLongRead = 1000000;
// Qualities from 0 to 9, and five kinds of letters.
constexpr std::size_t kColumn = (10 + 5) * sizeof(double);

std::string fastq_record(std::size_t length) {
  std::string bases;
  std::string qualities;
  for (std::size_t i = 0; i < length; ++i) {
    bases += "ACGTN"[i % 5];
    qualities += static_cast<char>('!' + i % 10);
  }
  return "@r\n" + bases + "\n+\n" + qualities + '\n';
}

class ScanMemory : public testing::Test {
 protected:
  void SetUp() override {
    if (kMemoryIsKept) GTEST_SKIP() << "sanitizers keep memory that was let go of";
    // What the library takes once is not a scan's.
    folder_.write("short.fq", fastq_record(10));
    scan("short.fq", {});
  }
  void scan(const std::string& name, const ScanSettings& settings) {
    outputs_.clear();
    outputs_ = call_gateway("scanQualities", 6,
                            scan_inputs(ScanSource::kFastq, folder_.native(name), settings));
  }
  std::size_t growth_of_scan(const std::string& name, const ScanSettings& settings) {
    outputs_.clear();
    return resident_growth([&] { scan(name, settings); });
  }

  const TempDir folder_;
  Outputs outputs_;
};

TEST_F(ScanMemory, TablesTakeTwiceTheColumnsOfTheLongestReadAndNothingIsCopied) {
  folder_.write("long.fq", fastq_record(kLongRead));
  const std::size_t growth = growth_of_scan("long.fq", {.max_quality = 9});
  EXPECT_EQ(txGetN(outputs_[1].get()), kLongRead);
  EXPECT_EQ(txGetN(outputs_[3].get()), kLongRead);
  EXPECT_LT(growth, 2 * kLongRead * kColumn + kFewMegabytes);
  EXPECT_GT(growth, kLongRead * kColumn) << "the tables are not seen";
}

// With the columns as they are wanted from the beginning, a copy for the host would show.
TEST_F(ScanMemory, TablesOfAFixedLengthTakeTheirColumnsOnce) {
  folder_.write("long.fq", fastq_record(kLongRead));
  const ScanSettings settings = {.max_quality = 9, .read_length = kLongRead};
  const std::size_t growth = growth_of_scan("long.fq", settings);
  EXPECT_EQ(txGetN(outputs_[1].get()), kLongRead);
  EXPECT_LT(growth, kLongRead * kColumn + kFewMegabytes);
  EXPECT_GT(growth, kLongRead * kColumn - kMegabyte) << "the tables are not seen";
}

TEST_F(ScanMemory, ManyReadsTakeNoMoreThanFew) {
  constexpr std::size_t kReads = 20000;
  constexpr std::size_t kMost = 4 * kMegabyte;
  std::string file;
  for (std::size_t i = 0; i < kReads; ++i) file += fastq_record(150);
  folder_.write("many.fq", file);
  ASSERT_GT(file.size(), kMost) << "a scan that holds the file is not seen";
  file = std::string();
  EXPECT_LT(growth_of_scan("many.fq", {}), kMost);
  EXPECT_EQ(scalar_of<double>(outputs_[4]), static_cast<double>(kReads));
}

}  // namespace
}  // namespace readkit::quality_scan_memory_test
