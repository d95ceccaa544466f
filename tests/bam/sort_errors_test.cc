// A sort that cannot come to its end: which error is raised, and what stays behind.
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/bgzf_builder.h"
#include "support/expect_kind.h"
#include "support/hostile_calls.h"
#include "support/sort_words.h"

namespace readkit::bam_sort_errors_test {
namespace {

RecordBuilder read_at(const std::string& name, int ref, int pos) {
  return RecordBuilder(name).at(ref, pos);
}

const Reads kReads = {read_at("e", 2, 1), read_at("d", 1, 1), read_at("c", 0, 3),
                      read_at("b", 0, 2), read_at("a", 0, 1)};

class BamSortErrors : public testing::Test {
 protected:
  BamSortErrors() { bam_of(kReads).write(folder_, "a.bam"); }

  void sort(const RunLimits& limits, const std::string& base = "t") {
    BAM(folder_.path("a.bam")).sort(folder_.text(base), limits);
  }

  TempDir folder_;
  std::size_t open_files_ = open_files();
};

TEST_F(BamSortErrors, OutputThatCannotBeMadeRaisesFileNotFoundAndLeavesTheTemporaries) {
  std::filesystem::create_directory(folder_.native("t.bam"));
  EXPECT_KIND(sort(limit_of_records(2)), FileNotFound, folder_.path("t.bam"));
  EXPECT_EQ(folder_.names(), (Names{"a.bam", "t.0.bam", "t.1.bam", "t.2.bam", "t.bam"}));
  // Each is a sorted run with the file's header.
  EXPECT_EQ(names_in(folder_, "t.0.bam"), (Names{"d", "e"}));
  EXPECT_EQ(names_in(folder_, "t.1.bam"), (Names{"b", "c"}));
  EXPECT_EQ(names_in(folder_, "t.2.bam"), (Names{"a"}));
  EXPECT_EQ(decode_bam(folder_.read("t.2.bam")).text, header_text());
  EXPECT_EQ(open_files(), open_files_);
}

TEST_F(BamSortErrors, ExactMultipleOfTheRunLengthLeavesALastTemporaryOfOnlyAHeader) {
  std::filesystem::create_directory(folder_.native("t.bam"));
  EXPECT_KIND(sort(limit_of_records(5)), FileNotFound, folder_.path("t.bam"));
  EXPECT_EQ(folder_.names(), (Names{"a.bam", "t.0.bam", "t.1.bam", "t.bam"}));
  EXPECT_EQ(names_in(folder_, "t.0.bam"), (Names{"a", "b", "c", "d", "e"}));
  const DecodedBam last = decode_bam(folder_.read("t.1.bam"));
  EXPECT_EQ(last.text, header_text());
  EXPECT_EQ(last.refs.size(), 3U);
  EXPECT_TRUE(last.records.empty());
}

TEST_F(BamSortErrors, OneRunIntoAMissingFolderRaisesFileNotFoundWithTheOutput) {
  EXPECT_KIND(sort(limit_of_records(10), "no/t"), FileNotFound, folder_.path("no/t.bam"));
  EXPECT_EQ(folder_.names(), (Names{"a.bam"}));
}

TEST_F(BamSortErrors, ManyRunsIntoAMissingFolderRaiseFileNotFoundWithTheFirstTemporary) {
  EXPECT_KIND(sort(limit_of_records(2), "no/t"), FileNotFound, folder_.path("no/t.0.bam"));
}

TEST_F(BamSortErrors, LaterTemporaryThatCannotBeMadeLeavesTheEarlierOnes) {
  std::filesystem::create_directory(folder_.native("t.1.bam"));
  EXPECT_KIND(sort(limit_of_records(2)), FileNotFound, folder_.path("t.1.bam"));
  EXPECT_EQ(folder_.names(), (Names{"a.bam", "t.0.bam", "t.1.bam"}));
  EXPECT_EQ(names_in(folder_, "t.0.bam"), (Names{"d", "e"}));
  EXPECT_EQ(open_files(), open_files_);
}

// ---- The input as a temporary ----------------------------------------------------------------

TEST_F(BamSortErrors, TemporaryThatIsTheInputIsRefusedAndTheInputStays) {
  for (const std::string name : {"t.0.bam", "t.1.bam"}) {
    const Path path = bam_of(kReads).write(folder_, name);
    const std::string before = folder_.read(name);
    EXPECT_KIND(BAM(path).sort(folder_.text("t"), limit_of_records(2)), CannotOpenOutFile, path);
    EXPECT_EQ(folder_.read(name), before);
  }
  EXPECT_FALSE(folder_.exists("t.bam"));
}

TEST_F(BamSortErrors, TemporaryThatIsALinkToTheInputIsRefusedAndTheInputStays) {
  const std::string before = folder_.read("a.bam");
  std::filesystem::create_symlink(folder_.native("a.bam"), folder_.native("s.0.bam"));
  std::filesystem::create_hard_link(folder_.native("a.bam"), folder_.native("h.0.bam"));
  EXPECT_KIND(sort(limit_of_records(2), "s"), CannotOpenOutFile, folder_.path("s.0.bam"));
  EXPECT_KIND(sort(limit_of_records(2), "h"), CannotOpenOutFile, folder_.path("h.0.bam"));
  EXPECT_EQ(folder_.read("a.bam"), before);
}

TEST_F(BamSortErrors, InputThatIsALinkToATemporaryIsRefused) {
  bam_of(kReads).write(folder_, "t.0.bam");
  std::filesystem::create_symlink(folder_.native("t.0.bam"), folder_.native("link.bam"));
  const std::string before = folder_.read("t.0.bam");
  EXPECT_KIND(BAM(folder_.path("link.bam")).sort(folder_.text("t"), limit_of_records(2)),
              CannotOpenOutFile, folder_.path("t.0.bam"));
  EXPECT_EQ(folder_.read("t.0.bam"), before);
}

TEST_F(BamSortErrors, InputOfOneRunMayHaveTheNameOfATemporary) {
  BAM(bam_of(kReads).write(folder_, "t.0.bam")).sort(folder_.text("t"), limit_of_records(9));
  EXPECT_EQ(names_in(folder_, "t.bam"), (Names{"a", "b", "c", "d", "e"}));
  EXPECT_EQ(names_in(folder_, "t.0.bam"), (Names{"e", "d", "c", "b", "a"}));
}

// ---- Damaged input ---------------------------------------------------------------------------

// A file of blocks of one record each, of which the fourth is replaced.
std::string with_fourth_block(const std::string& block) {
  BgzfFile file;
  file.block(bam_of({}).header_bytes());
  for (std::size_t i = 0; i < kReads.size(); ++i) {
    i == 3 ? file.raw(block) : file.block(kReads[i].bytes());
  }
  return file.marker().bytes();
}

TEST_F(BamSortErrors, DamagedBlockPassesThroughAndLeavesTheTemporariesAlreadyWritten) {
  const std::string record = kReads[3].bytes();
  const Path path = folder_.path("a.bam");
  const auto sort_damaged = [&](const std::string& block) {
    folder_.write("a.bam", with_fourth_block(block));
    sort(limit_of_records(2));
  };
  EXPECT_KIND(sort_damaged(BgzfBlock::around("\xff\xff").bytes()), ZLIBInflate, path);
  EXPECT_EQ(folder_.names(), (Names{"a.bam", "t.0.bam"}));
  EXPECT_EQ(names_in(folder_, "t.0.bam"), (Names{"d", "e"}));
  EXPECT_KIND(sort_damaged("no block at all, and long enough"), InvalidBAMFormat, path);
  EXPECT_KIND(sort_damaged(BgzfBlock(read_at("b", 0, 2).l_seq(-1).bytes()).bytes()),
              InvalidBAMFormat, path);
  EXPECT_KIND(sort_damaged(BgzfBlock(read_at("b", 0, 2).block_size(31).bytes()).bytes()),
              InvalidBAMFormat, path);
  EXPECT_EQ(folder_.names(), (Names{"a.bam", "t.0.bam"}));
  EXPECT_EQ(open_files(), open_files_);
}

TEST_F(BamSortErrors, DamagedFileOfOneRunLeavesNothing) {
  folder_.write("a.bam", with_fourth_block(BgzfBlock::around("\xff\xff").bytes()));
  EXPECT_KIND(sort(limit_of_records(10)), ZLIBInflate, folder_.path("a.bam"));
  EXPECT_EQ(folder_.names(), (Names{"a.bam"}));
}

TEST_F(BamSortErrors, FileCutShortAtAnyPlaceIsSortedOrRaises) {
  const std::string file = bam_of(kReads).one_block_each().bytes();
  const std::string header = bam_of({}).without_marker().bytes();
  int sorted = 0;
  for (std::size_t size = header.size(); size < file.size(); ++size) {
    for (const std::string& name : folder_.names()) {
      std::filesystem::remove(folder_.native(name));  // quicker than to empty it
    }
    folder_.write("a.bam", file.substr(0, size));
    try {
      sort(limit_of_records(2));
      ++sorted;
    } catch (const InvalidBAMFormat&) {  // a block header cut short, or no marker
    } catch (const BAMRead&) {           // a block cut short
    }
    EXPECT_FALSE(folder_.exists("t.bam")) << size;
  }
  EXPECT_EQ(sorted, 0);
  EXPECT_EQ(open_files(), open_files_);
}

TEST_F(BamSortErrors, LastRecordCutShortIsTheEnd) {
  const std::string content = bam_of(kReads).content();
  folder_.write("a.bam", BgzfFile().block(content.substr(0, content.size() - 1)).marker().bytes());
  sort(limit_of_records(2));
  EXPECT_EQ(names_in(folder_, "t.bam"), (Names{"b", "c", "d", "e"}));
  EXPECT_EQ(folder_.names(), (Names{"a.bam", "t.bam"}));
}

}  // namespace
}  // namespace readkit::bam_sort_errors_test
