// How a source is cut into runs, and what becomes of them and of their files.
#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "bam/runs.h"
#include "support/expect_kind.h"
#include "support/folder_watch.h"
#include "support/sort_words.h"

namespace readkit::bam_process_runs_test {
namespace {

using Runs = std::vector<Names>;

Names names_of_run(const RunBuffer& run) {
  Names names;
  run.visit([&](const Alignment& record) {
    names.emplace_back(record.read_name_text());
    return true;
  });
  return names;
}

// A source of records in memory, with the base "t", and a memory of what was done with its runs.
class ProcessRuns : public testing::Test {
 protected:
  ProcessRuns() { bam_of({}).write(folder_, "source.bam"); }

  void add(const std::string& name, std::size_t size = 1) {
    const std::string text(size, 'x');
    records_.push_back(RecordBuilder(name).at(0, 5).tag_text("XX", 'Z', text).record());
  }
  void add_many(const std::string& names) {
    for (const char name : names) add(std::string(1, name));
  }

  void process(const RunLimits& limits, const std::string& base = "t") {
    const Path path = folder_.path(source_name_);
    const BamHeader header = BAM(folder_.path("source.bam")).header();
    Alignment current;
    std::size_t next = 0;
    const auto advance = [&] {
      if (next == fails_at_) throw std::runtime_error("the source fails");
      if (next == records_.size()) return false;
      current = records_[next++];
      return true;
    };
    process_runs({path, advance, current, header}, folder_.text(base), limits,
                 {[&](RunBuffer& run) { arranged_.push_back(run.size()); },
                  [&](const RunBuffer& run) { whole_.push_back(names_of_run(run)); },
                  [&](const std::vector<UString>& names) { join(names); }});
  }

  void join(const std::vector<UString>& names) {
    joined_ = names;
    for (const UString& name : names) {
      const DecodedBam file = decode_bam(read_file(to_bytes(name)));
      EXPECT_EQ(file.text, header_text());
      EXPECT_EQ(file.refs.size(), 3U);
      runs_.push_back(names_of(file.records));
    }
    if (join_fails_) throw std::runtime_error("the join fails");
  }

  TempDir folder_;
  std::vector<Alignment> records_;
  std::string source_name_ = "source.bam";
  std::size_t fails_at_ = static_cast<std::size_t>(-1);
  bool join_fails_ = false;

  std::vector<std::size_t> arranged_;  // the sizes of the runs
  Runs whole_;                         // what was written without temporaries
  std::vector<UString> joined_;        // the temporaries
  Runs runs_;                          // and their records
};

const Names kOnlySource = {"source.bam"};

TEST_F(ProcessRuns, EmptySourceIsOneEmptyRunWithoutATemporary) {
  process(limit_of_records(3));
  EXPECT_EQ(whole_, (Runs{{}}));
  EXPECT_EQ(arranged_, (std::vector<std::size_t>{0}));
  EXPECT_TRUE(joined_.empty());
}

TEST_F(ProcessRuns, SourceShorterThanARunIsWrittenWhole) {
  add_many("ab");
  FolderWatch watch(folder_);
  process(limit_of_records(3));
  EXPECT_EQ(whole_, (Runs{{"a", "b"}}));
  EXPECT_TRUE(joined_.empty());
  EXPECT_EQ(without_readers(watch.events()), Names{});
}

TEST_F(ProcessRuns, RunsHaveTheLimitOfRecords) {
  add_many("abcdefg");
  process(limit_of_records(3));
  EXPECT_EQ(runs_, (Runs{{"a", "b", "c"}, {"d", "e", "f"}, {"g"}}));
  EXPECT_EQ(arranged_, (std::vector<std::size_t>{3, 3, 1}));
  EXPECT_TRUE(whole_.empty());
}

TEST_F(ProcessRuns, ExactMultipleEndsWithAnEmptyTemporary) {
  add_many("abcd");
  process(limit_of_records(2));
  EXPECT_EQ(runs_, (Runs{{"a", "b"}, {"c", "d"}, {}}));
}

TEST_F(ProcessRuns, ExactlyOneRunOfRecordsMakesTwoTemporaries) {
  add_many("ab");
  process(limit_of_records(2));
  EXPECT_EQ(runs_, (Runs{{"a", "b"}, {}}));
  EXPECT_TRUE(whole_.empty());
}

TEST_F(ProcessRuns, RecordThatARunCannotHoldBeginsTheNextOne) {
  add_many("abc");
  process(limit_of_bytes(1));
  EXPECT_EQ(runs_, (Runs{{"a"}, {"b"}, {"c"}}));
}

TEST_F(ProcessRuns, SingleRecordOverTheLimitOfBytesIsWrittenWhole) {
  add_many("a");
  process(limit_of_bytes(1));
  EXPECT_EQ(whole_, (Runs{{"a"}}));
}

TEST_F(ProcessRuns, LargeRecordIsAloneInItsRun) {
  add("a");
  add("b");
  add("large", 5000000);
  add("c");
  add("d");
  process(limit_of_bytes(4900000));
  EXPECT_EQ(runs_, (Runs{{"a", "b"}, {"large"}, {"c", "d"}}));
}

TEST_F(ProcessRuns, BothLimitsHold) {
  add_many("ab");
  process({.records = 1, .bytes = 1});
  EXPECT_EQ(runs_, (Runs{{"a"}, {"b"}, {}}));
  joined_.clear();
  runs_.clear();
  add("large", 5000000);
  add_many("cdef");
  process({.records = 3, .bytes = 4900000});
  EXPECT_EQ(runs_, (Runs{{"a", "b"}, {"large"}, {"c", "d", "e"}, {"f"}}));
}

TEST_F(ProcessRuns, MoreThanTenRunsAreJoinedInTheOrderInWhichTheyWereRead) {
  add_many("abcdefghijkl");
  process(limit_of_bytes(1), "x.y");
  std::vector<UString> expected;
  for (int i = 0; i < 12; ++i) expected.push_back(tmp_bamname(folder_.text("x.y"), i));
  EXPECT_EQ(joined_, expected);
  EXPECT_EQ(runs_.front(), Names{"a"});
  EXPECT_EQ(runs_.back(), Names{"l"});
}

TEST_F(ProcessRuns, TemporariesAreRemovedInTheOrderInWhichTheyWereMade) {
  add_many("abcde");
  FolderWatch watch(folder_);
  process(limit_of_records(2));
  EXPECT_EQ(without_readers(watch.events()),
            (Names{"write t.0.bam", "write t.1.bam", "write t.2.bam", "remove t.0.bam",
                   "remove t.1.bam", "remove t.2.bam"}));
  EXPECT_EQ(folder_.names(), kOnlySource);
}

TEST_F(ProcessRuns, OlderTemporariesAreReplaced) {
  folder_.write("t.0.bam", std::string(100000, 'x'));
  folder_.write("t.2.bam", "another one");
  add_many("abc");
  process(limit_of_records(2));
  EXPECT_EQ(runs_, (Runs{{"a", "b"}, {"c"}}));
  EXPECT_EQ(folder_.names(), (Names{"source.bam", "t.2.bam"}));
}

// ---- Errors ----------------------------------------------------------------------------------

TEST_F(ProcessRuns, FailingJoinLeavesAllTemporaries) {
  add_many("abc");
  join_fails_ = true;
  EXPECT_STD(process(limit_of_records(2)), std::runtime_error, "the join fails");
  EXPECT_EQ(folder_.names(), (Names{"source.bam", "t.0.bam", "t.1.bam"}));
}

TEST_F(ProcessRuns, FailingSourceLeavesTheTemporariesAlreadyWritten) {
  add_many("abcdef");
  fails_at_ = 5;
  EXPECT_STD(process(limit_of_records(2)), std::runtime_error, "the source fails");
  EXPECT_EQ(folder_.names(), (Names{"source.bam", "t.0.bam", "t.1.bam"}));
  EXPECT_EQ(names_in(folder_, "t.1.bam"), (Names{"c", "d"}));
}

TEST_F(ProcessRuns, FailingSourceOfOneRunLeavesNothing) {
  add_many("ab");
  fails_at_ = 2;
  EXPECT_STD(process(limit_of_records(3)), std::runtime_error, "the source fails");
  EXPECT_EQ(folder_.names(), kOnlySource);
}

TEST_F(ProcessRuns, TemporaryThatCannotBeMadeRaisesFileNotFoundWithItsName) {
  add_many("abc");
  EXPECT_KIND(process(limit_of_records(2), "no/t"), FileNotFound, folder_.path("no/t.0.bam"));
  std::filesystem::create_directory(folder_.native("t.1.bam"));
  EXPECT_KIND(process(limit_of_records(2)), FileNotFound, folder_.path("t.1.bam"));
  EXPECT_EQ(names_in(folder_, "t.0.bam"), (Names{"a", "b"}));
}

// Before the check, the source was emptied while it was being read.
TEST_F(ProcessRuns, TemporaryThatIsTheSourceIsRefused) {
  const std::string source = folder_.read("source.bam");
  add_many("abcde");
  for (const std::string name : {"t.0.bam", "t.1.bam", "t.2.bam"}) {
    folder_.write(name, source);
    source_name_ = name;
    EXPECT_KIND(process(limit_of_records(2)), CannotOpenOutFile, folder_.path(name));
    EXPECT_EQ(folder_.read(name), source);
  }
  EXPECT_TRUE(joined_.empty());
}

TEST_F(ProcessRuns, TemporaryThatLeadsToTheSourceIsRefused) {
  const std::string source = folder_.read("source.bam");
  add_many("abc");
  std::filesystem::create_symlink("source.bam", folder_.native("s.0.bam"));
  std::filesystem::create_hard_link(folder_.native("source.bam"), folder_.native("h.1.bam"));
  EXPECT_KIND(process(limit_of_records(2), "s"), CannotOpenOutFile, folder_.path("s.0.bam"));
  EXPECT_KIND(process(limit_of_records(2), "h"), CannotOpenOutFile, folder_.path("h.1.bam"));
  EXPECT_EQ(folder_.read("source.bam"), source);
}

// Before the check, the second run replaced the first one.
TEST_F(ProcessRuns, TemporaryThatLeadsToAnEarlierOneIsRefused) {
  add_many("abc");
  folder_.write("t.0.bam", "");
  std::filesystem::create_hard_link(folder_.native("t.0.bam"), folder_.native("t.1.bam"));
  EXPECT_KIND(process(limit_of_records(2)), CannotOpenOutFile, folder_.path("t.1.bam"));
  EXPECT_EQ(names_in(folder_, "t.0.bam"), (Names{"a", "b"}));
}

TEST_F(ProcessRuns, SourceOfOneRunMayHaveTheNameOfATemporary) {
  folder_.write("t.0.bam", folder_.read("source.bam"));
  source_name_ = "t.0.bam";
  add_many("ab");
  process(limit_of_records(3));
  EXPECT_EQ(whole_, (Runs{{"a", "b"}}));
}

}  // namespace
}  // namespace readkit::bam_process_runs_test
