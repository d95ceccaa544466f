// What a sort makes of a SAM file.
#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "sam/sam.h"
#include "support/expect_kind.h"
#include "support/folder_watch.h"
#include "support/hostile_calls.h"
#include "support/sort_words.h"

namespace readkit::sam_sort_test {
namespace {

// SAM text has no form of a record without a base that can be read back.
RecordBuilder read_at(const std::string& name, int ref, int pos) {
  return RecordBuilder(name).at(ref, pos).seq("A").qual("I");
}

const Reads kReads = {read_at("e", -1, -1), read_at("d", 1, 1), read_at("c", 0, 3),
                      read_at("b", 0, 2), read_at("a", 0, 1)};

std::string line_of(const std::string& name, const std::string& ref, int pos) {
  return name + "\t0\t" + ref + '\t' + std::to_string(pos) + "\t0\t*\t*\t0\t0\tA\tI\n";
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> sorted_lines(const std::string& text) {
  std::vector<std::string> lines = lines_of(text);
  std::sort(lines.begin(), lines.end());
  return lines;
}

// The names of the records of a SAM text.
Names names_in_text(const std::string& text) {
  Names names;
  for (const std::string& line : lines_of(text)) {
    if (line[0] != '@') names.push_back(line.substr(0, line.find('\t')));
  }
  return names;
}

class SamSort : public testing::Test {
 protected:
  void write(const Reads& reads) { folder_.write("a.sam", sam_of(reads)); }
  // Sorts "a.sam" into base + ".sam".
  void sort(const RunLimits& limits, const std::string& base = "t") {
    SAM(folder_.path("a.sam"), "r").sort(folder_.text(base), limits);
  }
  void sort_at_once(const std::string& base = "t") {
    SAM(folder_.path("a.sam"), "r").sort(folder_.text(base));
  }
  std::string sorted() const { return folder_.read("t.sam"); }

  TempDir folder_;
  Random random_{31};
};

// ---- One run ---------------------------------------------------------------------------------

TEST_F(SamSort, FewRecordsAreSortedWithoutABamFile) {
  write(kReads);
  FolderWatch watch(folder_);
  sort_at_once();
  EXPECT_EQ(without_readers(watch.events()), (Names{"write t.sam"}));
  EXPECT_EQ(sorted(), header_text() + line_of("a", "chr1", 2) + line_of("b", "chr1", 3) +
                          line_of("c", "chr1", 4) + line_of("d", "chr2", 2) + line_of("e", "*", 0));
}

TEST_F(SamSort, HeaderAloneGivesTheHeader) {
  write({});
  sort_at_once();
  EXPECT_EQ(sorted(), header_text());
  EXPECT_EQ(folder_.names(), (Names{"a.sam", "t.sam"}));
}

// An empty header is written as an empty line.
TEST_F(SamSort, FileWithoutAHeaderGetsAnEmptyLine) {
  const std::string records = line_of("b", "*", 5) + line_of("a", "*", 0);
  folder_.write("a.sam", records);
  for (const std::size_t length : {10U, 1U}) {
    sort(limit_of_records(length));
    EXPECT_EQ(sorted(), '\n' + line_of("a", "*", 0) + line_of("b", "*", 5)) << length;
  }
}

TEST_F(SamSort, EmptyFileGivesAnEmptyLine) {
  folder_.write("a.sam", "");
  sort_at_once();
  EXPECT_EQ(sorted(), "\n");
}

TEST_F(SamSort, EqualRecordsOfOneRunKeepTheirOrder) {
  const Reads reads = random_reads(random_, 500);
  write(reads);
  sort_at_once();
  DecodedBam expected = decode_bam(bam_of(reads).bytes());
  expected.records = in_order(expected.records);
  std::string text = header_text();
  for (const DecodedRecord& record : expected.records)
    text += decoded_line(record, expected) + '\n';
  EXPECT_EQ(sorted(), text);
}

// ---- Many runs -------------------------------------------------------------------------------

TEST_F(SamSort, ManyRunsGiveTheSameLinesInOrderWhateverTheirLength) {
  write(random_reads(random_, 120));
  const std::vector<std::string> lines = sorted_lines(folder_.read("a.sam"));
  for (const std::size_t length : {1U, 2U, 7U, 40U, 60U, 119U, 120U}) {
    sort(limit_of_records(length));
    EXPECT_TRUE(sorted().starts_with(header_text())) << length;
    EXPECT_EQ(sorted_lines(sorted()), lines) << length;
    EXPECT_EQ(folder_.names(), (Names{"a.sam", "t.sam"})) << length;
  }
}

TEST_F(SamSort, RecordsComeAsInASortOfTheSameRecordsInABamFile) {
  const Reads reads = random_reads(random_, 120);
  write(reads);
  const Path bam = bam_of(reads).write(folder_, "a.bam");
  for (const RunLimits& limits : {limit_of_records(7), limit_of_records(60), limit_of_bytes(1)}) {
    sort(limits);
    BAM(bam).sort(folder_.text("t"), limits);
    EXPECT_TRUE(is_in_order(records_in(folder_, "t.bam")));
    EXPECT_EQ(names_in_text(sorted()), names_in(folder_, "t.bam"));
  }
}

TEST_F(SamSort, TemporariesAreBamFilesAndAreRemovedInOrder) {
  write(kReads);
  FolderWatch watch(folder_);
  sort(limit_of_records(2));
  EXPECT_EQ(without_readers(watch.events()),
            (Names{"write t.0.bam", "write t.1.bam", "write t.2.bam", "write t.sam",
                   "remove t.0.bam", "remove t.1.bam", "remove t.2.bam"}));
}

TEST_F(SamSort, SecondSortWritesTheSameBytes) {
  write(random_reads(random_, 100));
  sort(limit_of_records(9), "one");
  sort(limit_of_records(9), "two");
  EXPECT_EQ(folder_.read("one.sam"), folder_.read("two.sam"));
}

TEST_F(SamSort, ExistingOutputIsReplaced) {
  write(kReads);
  for (const std::size_t length : {2U, 10U}) {
    folder_.write("t.sam", std::string(100000, 'x'));
    sort(limit_of_records(length));
    EXPECT_EQ(names_in_text(sorted()), (Names{"a", "b", "c", "d", "e"})) << length;
  }
}

TEST_F(SamSort, FileMayBeSortedOntoItself) {
  for (const std::size_t length : {10U, 5U, 2U}) {
    write(kReads);
    sort(limit_of_records(length), "a");
    EXPECT_EQ(names_in_text(folder_.read("a.sam")), (Names{"a", "b", "c", "d", "e"})) << length;
    EXPECT_EQ(folder_.names(), (Names{"a.sam"})) << length;
  }
}

// ---- Errors ----------------------------------------------------------------------------------

TEST_F(SamSort, MalformedLinePassesThroughAndLeavesTheTemporariesAlreadyWritten) {
  folder_.write("a.sam", sam_of(kReads) + "a line that is no record\n");
  const std::size_t files = open_files();
  EXPECT_KIND(sort(limit_of_records(2)), InvalidSAMFormat, folder_.path("a.sam"));
  EXPECT_EQ(folder_.names(), (Names{"a.sam", "t.0.bam", "t.1.bam"}));
  EXPECT_EQ(names_in(folder_, "t.1.bam"), (Names{"b", "c"}));
  EXPECT_EQ(open_files(), files);
}

TEST_F(SamSort, MalformedLineInAFileOfOneRunLeavesNothing) {
  folder_.write("a.sam", sam_of(kReads) + "a line that is no record\n");
  EXPECT_KIND(sort_at_once(), InvalidSAMFormat, folder_.path("a.sam"));
  EXPECT_EQ(folder_.names(), (Names{"a.sam"}));
}

TEST_F(SamSort, OutputThatCannotBeMadeRaisesFileNotFoundAndLeavesTheTemporaries) {
  write(kReads);
  std::filesystem::create_directory(folder_.native("t.sam"));
  EXPECT_KIND(sort_at_once(), FileNotFound, folder_.path("t.sam"));
  EXPECT_KIND(sort(limit_of_records(5)), FileNotFound, folder_.path("t.sam"));
  EXPECT_EQ(folder_.names(), (Names{"a.sam", "t.0.bam", "t.1.bam", "t.sam"}));
  EXPECT_EQ(names_in(folder_, "t.0.bam"), (Names{"a", "b", "c", "d", "e"}));
  EXPECT_EQ(decode_bam(folder_.read("t.0.bam")).text, header_text());
  const DecodedBam last = decode_bam(folder_.read("t.1.bam"));
  EXPECT_EQ(last.text, header_text());
  EXPECT_EQ(last.refs.size(), 3U);
  EXPECT_TRUE(last.records.empty());
}

TEST_F(SamSort, MissingFolderRaisesFileNotFoundWithTheFirstFileThatIsMade) {
  write(kReads);
  EXPECT_KIND(sort_at_once("no/t"), FileNotFound, folder_.path("no/t.sam"));
  EXPECT_KIND(sort(limit_of_records(2), "no/t"), FileNotFound, folder_.path("no/t.0.bam"));
}

TEST_F(SamSort, TemporaryThatIsTheInputIsRefusedAndTheInputStays) {
  const std::string text = sam_of(kReads);
  folder_.write("t.0.bam", text);
  EXPECT_KIND(SAM(folder_.path("t.0.bam"), "r").sort(folder_.text("t"), limit_of_records(2)),
              CannotOpenOutFile, folder_.path("t.0.bam"));
  EXPECT_EQ(folder_.read("t.0.bam"), text);
}

}  // namespace
}  // namespace readkit::sam_sort_test
