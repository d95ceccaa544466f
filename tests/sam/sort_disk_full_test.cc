// Sorting a SAM file onto a disk that gets full.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sam/sam.h"
#include "support/expect_kind.h"
#include "support/full_disk.h"
#include "support/hostile_calls.h"
#include "support/sort_words.h"

namespace readkit::sam_sort_disk_full_test {
namespace {

// A file "a.sam" of three small reads and of many with long texts, which make up a second run
// larger than the first one and an output larger than a file's buffer.
class SamDiskFull : public testing::Test {
 protected:
  SamDiskFull() {
    Random random(51);
    Reads reads = random_reads(random, 3, "small");
    for (RecordBuilder& read : random_reads(random, 3, "large")) {
      std::string letters = random_bytes(random, 150000);
      for (char& letter : letters) {
        letter = static_cast<char>('!' + static_cast<unsigned char>(letter) % 94);
      }
      reads.push_back(read.tag_text("XX", 'Z', letters));
    }
    folder_.write("a.sam", sam_of(reads));
  }

  void sort(const RunLimits& limits) {
    SAM(folder_.path("a.sam"), "r").sort(folder_.text("t"), limits);
  }
  void expect_at_every_limit(const Names& files, const RunLimits& limits) {
    const std::size_t open_before = open_files();
    const auto run = [&] { sort(limits); };
    expect_file_write_at_every_limit(folder_, written_files(folder_, files, run), run);
    EXPECT_EQ(open_files(), open_before);
  }

  TempDir folder_;
  const RunLimits one_run_ = limit_of_records(100);
  const RunLimits two_runs_ = limit_of_records(4);
};

TEST_F(SamDiskFull, SortOfOneRun) { expect_at_every_limit({"t.sam"}, one_run_); }

TEST_F(SamDiskFull, SortOfTwoRuns) {
  expect_at_every_limit({"t.0.bam", "t.1.bam", "t.sam"}, two_runs_);
}

TEST_F(SamDiskFull, SmallOutputFailsWhenItIsClosed) {
  Random random(52);
  folder_.write("a.sam", sam_of(random_reads(random, 5)));
  expect_at_every_limit({"t.sam"}, one_run_);
  expect_at_every_limit({"t.0.bam", "t.1.bam", "t.sam"}, two_runs_);
}

TEST_F(SamDiskFull, FullDeviceRaisesFileWriteWithTheFile) {
  link_to_full_device(folder_, "t.sam");
  EXPECT_KIND(sort(one_run_), FileWrite, folder_.path("t.sam"));
  EXPECT_KIND(sort(two_runs_), FileWrite, folder_.path("t.sam"));
  link_to_full_device(folder_, "u.1.bam");
  EXPECT_KIND(SAM(folder_.path("a.sam"), "r").sort(folder_.text("u"), two_runs_), FileWrite,
              folder_.path("u.1.bam"));
  EXPECT_EQ(records_in(folder_, "u.0.bam").size(), 4U);
  EXPECT_FALSE(folder_.exists("u.sam"));
}

TEST_F(SamDiskFull, HeaderAloneOnAFullDeviceRaisesFileWrite) {
  folder_.write("a.sam", header_text());
  link_to_full_device(folder_, "t.sam");
  EXPECT_KIND(sort(one_run_), FileWrite, folder_.path("t.sam"));
}

}  // namespace
}  // namespace readkit::sam_sort_disk_full_test
