// Sorting, merging and shuffling onto a disk that gets full: never a short file without an error,
// and the error names the file that could not be written.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/expect_kind.h"
#include "support/full_disk.h"
#include "support/hostile_calls.h"
#include "support/sort_words.h"

namespace readkit::bam_disk_full_test {
namespace {

// A file "a.bam" of two runs, of three reads and of two, the second larger than a file's buffer and
// the first one much smaller.
class DiskFull : public testing::Test {
 protected:
  DiskFull() {
    Random random(41);
    Reads reads = bulky_reads(random, 3, 10000);
    for (const RecordBuilder& read : bulky_reads(random, 2, 180000)) reads.push_back(read);
    bam_of(reads).write(folder_, "a.bam");
  }

  void sort(const RunLimits& limits) { BAM(folder_.path("a.bam")).sort(folder_.text("t"), limits); }
  void shuffle(const RunLimits& limits) {
    const auto seeds = [seed = std::uint32_t{1}]() mutable { return seed++; };
    BAM(folder_.path("a.bam")).shuffle(folder_.text("t"), seeds, limits);
  }
  // The two runs as sorted files.
  std::vector<UString> two_inputs() {
    Random random(42);
    std::vector<UString> names;
    for (const std::string name : {"0.bam", "1.bam"}) {
      Reads reads = {bulky_reads(random, 1, 200000)[0].at(0, 5)};
      names.push_back(bam_of(reads).write(folder_, name).text());
    }
    return names;
  }
  void expect_at_every_limit(const Names& files, const std::function<void()>& run) {
    const std::size_t open_before = open_files();
    expect_file_write_at_every_limit(folder_, written_files(folder_, files, run), run);
    EXPECT_EQ(open_files(), open_before);
  }

  TempDir folder_;
  const RunLimits one_run_ = limit_of_records(100);
  const RunLimits two_runs_ = limit_of_records(3);
};

const Names kOutput = {"t.bam"};
const Names kTemporariesAndOutput = {"t.0.bam", "t.1.bam", "t.bam"};

// ---- A limit of the size of files ------------------------------------------------------------

TEST_F(DiskFull, SortOfOneRun) {
  expect_at_every_limit(kOutput, [&] { sort(one_run_); });
}

TEST_F(DiskFull, SortOfTwoRuns) {
  expect_at_every_limit(kTemporariesAndOutput, [&] { sort(two_runs_); });
}

TEST_F(DiskFull, ShuffleOfOneRun) {
  expect_at_every_limit(kOutput, [&] { shuffle(one_run_); });
}

TEST_F(DiskFull, ShuffleOfTwoRuns) {
  expect_at_every_limit(kTemporariesAndOutput, [&] { shuffle(two_runs_); });
}

TEST_F(DiskFull, MergeIntoABamFile) {
  const std::vector<UString> inputs = two_inputs();
  expect_at_every_limit(kOutput, [&] { BAM::merge_bams(inputs, folder_.text("t.bam")); });
}

TEST_F(DiskFull, MergeIntoSamText) {
  const std::vector<UString> inputs = two_inputs();
  expect_at_every_limit({"t.sam"}, [&] { BAM::merge_bams(inputs, folder_.text("t.sam")); });
}

TEST_F(DiskFull, MergeOfShuffledFiles) {
  const std::vector<UString> inputs = two_inputs();
  expect_at_every_limit(kOutput, [&] { merge_shuffled_bams(inputs, folder_.text("t.bam"), 7); });
}

TEST_F(DiskFull, SmallFilesFailWhenTheyAreClosed) {
  Random random(43);
  bam_of(random_reads(random, 20)).write(folder_, "a.bam");
  expect_at_every_limit(kOutput, [&] { sort(one_run_); });
  expect_at_every_limit(
      {"t.0.bam", "t.1.bam", "t.2.bam", "t.3.bam", "t.4.bam", "t.5.bam", "t.6.bam", "t.bam"},
      [&] { sort(two_runs_); });
}

TEST_F(DiskFull, TemporariesAlreadyWrittenStay) {
  const std::vector<WrittenFile> files =
      written_files(folder_, kTemporariesAndOutput, [&] { sort(two_runs_); });
  std::string outcome;
  {
    const FileSizeLimit in_force(files[1].size - 1);
    outcome = outcome_of([&] { sort(two_runs_); });
  }
  EXPECT_EQ(outcome, file_write(folder_, "t.1.bam"));
  EXPECT_EQ(records_in(folder_, "t.0.bam").size(), 3U);
}

// ---- A full device ---------------------------------------------------------------------------

TEST_F(DiskFull, FullDeviceBehindTheOutputRaisesFileWriteWithTheOutput) {
  link_to_full_device(folder_, "t.bam");
  for (const RunLimits& limits : {one_run_, two_runs_, limit_of_bytes(1)}) {
    EXPECT_KIND(sort(limits), FileWrite, folder_.path("t.bam"));
    EXPECT_KIND(shuffle(limits), FileWrite, folder_.path("t.bam"));
  }
  EXPECT_KIND(BAM::merge_bams(two_inputs(), folder_.text("t.bam")), FileWrite,
              folder_.path("t.bam"));
  link_to_full_device(folder_, "t.sam");
  EXPECT_KIND(BAM::merge_bams(two_inputs(), folder_.text("t.sam")), FileWrite,
              folder_.path("t.sam"));
}

TEST_F(DiskFull, FullDeviceBehindATemporaryRaisesFileWriteWithTheTemporary) {
  link_to_full_device(folder_, "t.1.bam");
  EXPECT_KIND(sort(two_runs_), FileWrite, folder_.path("t.1.bam"));
  EXPECT_KIND(shuffle(two_runs_), FileWrite, folder_.path("t.1.bam"));
  EXPECT_EQ(records_in(folder_, "t.0.bam").size(), 3U);
  link_to_full_device(folder_, "u.0.bam");
  EXPECT_KIND(BAM(folder_.path("a.bam")).sort(folder_.text("u"), two_runs_), FileWrite,
              folder_.path("u.0.bam"));
  EXPECT_FALSE(folder_.exists("u.bam"));
}

TEST_F(DiskFull, HeaderAloneOnAFullDeviceRaisesFileWrite) {
  bam_of({}).write(folder_, "a.bam");
  link_to_full_device(folder_, "t.bam");
  link_to_full_device(folder_, "t.sam");
  EXPECT_KIND(sort(one_run_), FileWrite, folder_.path("t.bam"));
  EXPECT_KIND(shuffle(one_run_), FileWrite, folder_.path("t.bam"));
  EXPECT_KIND(BAM::merge_bams({folder_.text("a.bam")}, folder_.text("t.sam")), FileWrite,
              folder_.path("t.sam"));
}

TEST_F(DiskFull, RunWrittenToAFullDeviceRaisesFileWrite) {
  link_to_full_device(folder_, "t.bam");
  BAM out(folder_.path("t.bam"), "w");
  RunBuffer run(one_run_);
  for (BAM in(folder_.path("a.bam")); in.next_alignment();) run.add(in);
  EXPECT_KIND(run.write(out), FileWrite, folder_.path("t.bam"));
}

// ---- A small disk ----------------------------------------------------------------------------

constexpr std::size_t kPage = 4096;

std::size_t pages_of(const WrittenFile& file) { return (file.size + kPage - 1) / kPage; }

// The bare name of the file that could not be written, or "whole".
std::string sort_there(const Path& source, const RunLimits& limits, const std::string& folder,
                       std::size_t expected_size) {
  try {
    BAM(source).sort(to_path(folder + "/t").text(), limits);
  } catch (const FileWrite& error) {
    const std::string name = to_bytes(std::get<UString>(error.arguments().at(0)));
    return name.substr(name.rfind('/') + 1);
  } catch (const std::exception&) {
    return describe_current_exception();
  }
  return read_file(folder + "/t.bam").size() == expected_size ? "whole" : "short";
}

TEST_F(DiskFull, SmallDiskRaisesFileWriteWithTheFileThatFillsIt) {
  const std::vector<WrittenFile> files =
      written_files(folder_, kTemporariesAndOutput, [&] { sort(two_runs_); });
  const std::size_t first = pages_of(files[0]);
  const std::size_t both = first + pages_of(files[1]);
  const std::size_t all = both + pages_of(files[2]);
  const std::vector<std::pair<std::size_t, std::string>> rows = {
      {1, "t.0.bam"},  {first - 1, "t.0.bam"},      {first, "t.1.bam"}, {both - 1, "t.1.bam"},
      {both, "t.bam"}, {(both + all) / 2, "t.bam"}, {all - 1, "t.bam"}, {all, "whole"},
  };
  for (const auto& [pages, expected] : rows) {
    const auto outcome = on_small_disk(pages * kPage, [&](const std::string& folder) {
      return sort_there(folder_.path("a.bam"), two_runs_, folder, files[2].size);
    });
    if (!outcome) GTEST_SKIP() << "this system lets no process mount a disk";
    EXPECT_EQ(*outcome, expected) << pages << " pages";
  }
}

}  // namespace
}  // namespace readkit::bam_disk_full_test
