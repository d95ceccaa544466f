// The length of a run, met with files that have as many records.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/bgzf_builder.h"
#include "support/folder_watch.h"
#include "support/sort_words.h"

namespace readkit::bam_sort_run_length_test {
namespace {

constexpr std::size_t kRunLength = 2097153;
constexpr std::size_t kRecordSize = 36;  // the least that a record may have
constexpr std::size_t kInBlock = 1800;   // records
constexpr std::size_t kPositions = kInBlock;

// The n-th record: without a name, on a reference of its own kind, at a position that falls.
std::string nth_record(std::size_t n) {
  const auto place = static_cast<int>((kPositions - 1) - n % kPositions);
  return RecordBuilder().stored_name("").at(0, place).bin(4681).bytes();
}

// A file of `count` records. One block of them is made and repeated.
void write_records(const TempDir& folder, std::size_t count) {
  std::string records;
  for (std::size_t i = 0; i < kInBlock; ++i) records += nth_record(i);
  ASSERT_EQ(records.size(), kInBlock * kRecordSize);
  const std::string block = BgzfBlock(records).bytes();
  std::string file = BgzfBlock(bam_of({}).header_bytes()).bytes();
  for (std::size_t i = 0; i < count / kInBlock; ++i) file += block;
  const std::size_t rest = count % kInBlock;
  if (rest > 0) file += BgzfBlock(records.substr(0, rest * kRecordSize)).bytes();
  folder.write("a.bam", file + bgzf_marker());
}

// How many records a file has at each position; expects them in order.
std::vector<std::size_t> counts_in_order(const TempDir& folder, const std::string& name) {
  std::vector<std::size_t> counts(kPositions);
  BAM in(folder.path(name));
  int previous = 0;
  std::size_t falls = 0;
  while (in.next_alignment()) {
    if (in.pos() < previous) ++falls;
    previous = in.pos();
    ++counts.at(static_cast<std::size_t>(previous));
  }
  EXPECT_EQ(falls, 0U);
  return counts;
}

std::vector<std::size_t> expected_counts(std::size_t count) {
  std::vector<std::size_t> counts(kPositions, count / kPositions);
  for (std::size_t i = 0; i < count % kPositions; ++i) ++counts[kPositions - 1 - i];
  return counts;
}

TEST(SortRunLength, FileOfOneRecordLessIsSortedWithoutTemporaries) {
  const TempDir folder;
  write_records(folder, kRunLength - 1);
  FolderWatch watch(folder);
  BAM(folder.path("a.bam")).sort(folder.text("t"));
  EXPECT_EQ(without_readers(watch.events()), (Names{"write t.bam"}));
  EXPECT_EQ(counts_in_order(folder, "t.bam"), expected_counts(kRunLength - 1));
}

// The second temporary is linked to another name, under which it stays after it is removed.
TEST(SortRunLength, FileOfExactlyOneRunMakesTwoTemporariesTheSecondOneWithoutRecords) {
  const TempDir folder;
  write_records(folder, kRunLength);
  folder.write("kept", "");
  std::filesystem::create_hard_link(folder.native("kept"), folder.native("t.1.bam"));
  FolderWatch watch(folder);
  BAM(folder.path("a.bam")).sort(folder.text("t"));
  EXPECT_EQ(without_readers(watch.events()), (Names{"write t.0.bam", "write t.1.bam", "write t.bam",
                                                    "remove t.0.bam", "remove t.1.bam"}));
  EXPECT_EQ(decode_bgzf(folder.read("kept")), bam_of({}).header_bytes());
  EXPECT_EQ(counts_in_order(folder, "t.bam"), expected_counts(kRunLength));
}

}  // namespace
}  // namespace readkit::bam_sort_run_length_test
