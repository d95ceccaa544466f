// Merging sorted files.
#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/bgzf_builder.h"
#include "support/expect_kind.h"
#include "support/hostile_calls.h"
#include "support/sort_words.h"

namespace readkit::bam_merge_test {
namespace {

RecordBuilder read_at(const std::string& name, int ref, int pos) {
  return RecordBuilder(name).at(ref, pos).bin(0);
}

// The written algorithm, one step after the other, over records in memory.
class SlowMerge {
 public:
  explicit SlowMerge(const std::vector<std::vector<DecodedRecord>>& inputs) {
    for (const auto& input : inputs) {
      // Into the array by the order of current records, behind those that are not greater.
      const Reader reader = {&input, 0};
      std::size_t place = readers_.size();
      while (place > 0 && comes_first(reader, readers_[place - 1])) --place;
      readers_.insert(readers_.begin() + static_cast<std::ptrdiff_t>(place), reader);
    }
  }

  Names run() {
    while (!readers_.at(0).at_end()) {
      while (!readers_[0].at_end() && not_greater(readers_[0], readers_.at(1))) {
        written_.push_back(readers_[0].record().name);
        ++readers_[0].next;
      }
      move_down();
    }
    return written_;
  }

 private:
  struct Reader {
    const std::vector<DecodedRecord>* records;
    std::size_t next;
    bool at_end() const { return next == records->size(); }
    const DecodedRecord& record() const { return (*records)[next]; }
  };

  static bool comes_first(const Reader& a, const Reader& b) {
    if (a.at_end()) return false;
    return b.at_end() || goes_before(a.record(), b.record());
  }
  // Of two readers of which the first has a record.
  static bool not_greater(const Reader& a, const Reader& b) {
    return b.at_end() || !goes_before(b.record(), a.record());
  }

  void move_down() {
    for (std::size_t i = 0; i + 1 < readers_.size(); ++i) {
      const Reader moving = readers_[i];
      const Reader successor = readers_[i + 1];
      if (successor.at_end()) return;
      if (!moving.at_end() && not_greater(moving, successor)) return;
      readers_[i] = successor;
      readers_[i + 1] = moving;
    }
  }

  std::vector<Reader> readers_;
  Names written_;
};

class BamMerge : public testing::Test {
 protected:
  // Writes input files "0.bam", "1.bam"...
  void write(const std::vector<Reads>& inputs) {
    names_.clear();
    for (const std::string& name : folder_.names()) {
      std::filesystem::remove(folder_.native(name));  // quicker than to empty it
    }
    for (const Reads& reads : inputs) {
      const std::string name = std::to_string(names_.size()) + ".bam";
      names_.push_back(bam_of(reads).write(folder_, name).text());
    }
  }
  void merge(const std::string& out = "out.bam") { BAM::merge_bams(names_, folder_.text(out)); }
  Names merged(const std::vector<Reads>& inputs) {
    write(inputs);
    merge();
    return names_in(folder_, "out.bam");
  }
  std::vector<std::vector<DecodedRecord>> inputs() const {
    std::vector<std::vector<DecodedRecord>> all;
    for (const UString& name : names_) all.push_back(decode_bam(read_file(to_bytes(name))).records);
    return all;
  }

  TempDir folder_;
  std::vector<UString> names_;
};

// ---- Which output ----------------------------------------------------------------------------

TEST_F(BamMerge, ExtensionChoosesTheKindOfTheOutput) {
  write({{read_at("a", 0, 1).seq("ACG")}, {read_at("b", 1, 2)}});
  merge("out.bam");
  merge("out.x.sam");
  EXPECT_EQ(names_in(folder_, "out.bam"), (Names{"a", "b"}));
  EXPECT_EQ(folder_.read("out.x.sam"), header_text() +
                                           "a\t0\tchr1\t2\t0\t*\t*\t0\t0\tACG\t*\n"
                                           "b\t0\tchr2\t3\t0\t*\t*\t0\t0\t*\t*\n");
}

TEST_F(BamMerge, AnotherExtensionRaisesInvalidInputFormatBeforeAnyFileIsOpened) {
  names_ = {folder_.text("missing.bam"), folder_.text("missing too.bam")};
  for (const std::string name : {"out", "out.", "out.ba", "out.bam.gz", "out.bai", "out.bam ",
                                 "outbam", "out.bam/x", "sam", "out.sam.", ""}) {
    EXPECT_KIND(BAM::merge_bams(names_, to_path(name).text()), InvalidInputFormat);
  }
  EXPECT_TRUE(folder_.names().empty());
}

TEST_F(BamMerge, HeaderIsThatOfTheFirstInputEvenWhenItIsEmpty) {
  BamBuilder first;
  first.text("@CO\tfirst\n").ref("one", 10).ref("two", 20);
  names_ = {first.write(folder_, "0.bam").text(),
            bam_of({read_at("a", 0, 1)}).write(folder_, "1.bam").text()};
  merge();
  merge("out.sam");
  const DecodedBam merged = decode_bam(folder_.read("out.bam"));
  EXPECT_EQ(merged.text, "@CO\tfirst\n");
  EXPECT_EQ(merged.refs,
            (std::vector<std::pair<std::string, std::uint32_t>>{{"one", 10}, {"two", 20}}));
  EXPECT_EQ(names_of(merged.records), (Names{"a"}));
  EXPECT_TRUE(folder_.read("out.sam").ends_with("\na\t0\tone\t2\t0\t*\t*\t0\t0\t*\t*\n"));
}

TEST_F(BamMerge, SamLinesAreThoseOfTheRecords) {
  Random random(11);
  const auto sorted = [&](const std::string& prefix) {
    Reads reads = random_reads(random, 30, prefix);
    for (RecordBuilder& read : reads) read.tag_text("XZ", 'Z', "text").tag_floats("XF", {1, 2.5});
    return reads;
  };
  write({sorted("a"), sorted("b"), sorted("c")});
  merge("out.bam");
  merge("out.sam");
  std::string expected = header_text();
  const DecodedBam merged = decode_bam(folder_.read("out.bam"));
  for (const DecodedRecord& record : merged.records)
    expected += decoded_line(record, merged) + '\n';
  EXPECT_EQ(merged.records.size(), 90U);
  EXPECT_EQ(folder_.read("out.sam"), expected);
}

TEST_F(BamMerge, ExistingOutputIsReplaced) {
  write({{read_at("a", 0, 1)}, {read_at("b", 0, 2)}});
  merge("new.sam");
  for (const std::string name : {"out.bam", "out.sam"}) {
    folder_.write(name, std::string(100000, 'x'));
    merge(name);
  }
  EXPECT_EQ(names_in(folder_, "out.bam"), (Names{"a", "b"}));
  EXPECT_EQ(folder_.read("out.sam"), folder_.read("new.sam"));
}

// ---- How many inputs -------------------------------------------------------------------------

TEST_F(BamMerge, NoInputRaisesOutOfRange) {
  EXPECT_THROW(merge("out.bam"), std::out_of_range);
  EXPECT_THROW(merge("out.sam"), std::out_of_range);
}

TEST_F(BamMerge, SingleInputWithARecordRaisesOutOfRange) {
  write({{read_at("a", 0, 1)}});
  EXPECT_THROW(merge("out.bam"), std::out_of_range);
  EXPECT_THROW(merge("out.sam"), std::out_of_range);
}

TEST_F(BamMerge, SingleInputWithoutRecordsGivesItsHeader) {
  write({{}});
  merge("out.bam");
  merge("out.sam");
  EXPECT_EQ(decode_bgzf(folder_.read("out.bam")), bam_of({}).header_bytes());
  EXPECT_EQ(folder_.read("out.sam"), header_text());
}

TEST_F(BamMerge, InputsWithoutRecordsAreDrainedAndAddNothing) {
  EXPECT_EQ(merged({{}, {}}), Names{});
  EXPECT_EQ(merged({{}, {read_at("a", 0, 1)}, {}}), (Names{"a"}));
  EXPECT_EQ(merged({{read_at("b", 0, 2)}, {}, {read_at("a", 0, 1), read_at("c", 0, 3)}, {}}),
            (Names{"a", "b", "c"}));
}

TEST_F(BamMerge, ExhaustedReaderSinksBelowThoseThatHaveRecords) {
  EXPECT_EQ(merged({{read_at("a", 0, 1)},
                    {read_at("b", 0, 2), read_at("e", 0, 5)},
                    {read_at("c", 0, 3)},
                    {read_at("d", 0, 4), read_at("f", -1, -1)}}),
            (Names{"a", "b", "c", "d", "e", "f"}));
}

TEST_F(BamMerge, SameFileTwiceGivesItsRecordsTwice) {
  write({{read_at("a", 0, 1), read_at("b", 0, 2)}});
  names_.push_back(names_[0]);
  merge();
  EXPECT_EQ(names_in(folder_, "out.bam"), (Names{"a", "a", "b", "b"}));
}

// ---- Equal records ---------------------------------------------------------------------------

TEST_F(BamMerge, ReaderInFrontKeepsWritingEqualRecords) {
  EXPECT_EQ(merged({{read_at("a0", 0, 1), read_at("a1", 0, 1)},
                    {read_at("b0", 0, 1), read_at("b1", 0, 1)}}),
            (Names{"a0", "a1", "b0", "b1"}));
}

TEST_F(BamMerge, ReadersWithEqualFirstRecordsBeginInTheOrderOfTheInputs) {
  std::vector<Reads> inputs;
  Names expected;
  for (int i = 0; i < 40; ++i) {  // more than a short insertion sort would keep in order
    inputs.push_back({read_at(std::to_string(i), 0, 1)});
    expected.push_back(std::to_string(i));
  }
  EXPECT_EQ(merged(inputs), expected);
}

// The first reader writes a0, and moves down with a1; it stops in front of c0, which equals a1.
TEST_F(BamMerge, ReaderThatMovesDownStopsInFrontOfAnEqualRecord) {
  EXPECT_EQ(merged({{read_at("a0", 0, 1), read_at("a1", 0, 5)},
                    {read_at("b0", 0, 3)},
                    {read_at("c0", 0, 5)},
                    {read_at("d0", 0, 5)}}),
            (Names{"a0", "b0", "a1", "c0", "d0"}));
  EXPECT_EQ(merged({{read_at("c0", 0, 5)},
                    {read_at("b0", 0, 3)},
                    {read_at("a0", 0, 1), read_at("a1", 0, 5)}}),
            (Names{"a0", "b0", "a1", "c0"}));
}

TEST_F(BamMerge, RecordsWithoutAReferenceAreEqualByTheirReferenceAndPosition) {
  EXPECT_EQ(merged({{read_at("a", -1, 5)}, {read_at("b", -1, 2)}, {read_at("c", -1, 5)}}),
            (Names{"b", "a", "c"}));
}

TEST_F(BamMerge, RecordSequenceIsThatOfTheWrittenAlgorithm) {
  Random random(12);
  for (int round = 0; round < 60; ++round) {
    const bool sorted = round % 4 != 0;  // others lead through the same steps
    std::vector<Reads> inputs_given;
    const auto count = random_number(random, 2, 7);
    for (int i = 0; i < count; ++i) {
      const auto size = static_cast<int>(random_number(random, 0, 25));
      Reads reads = random_reads(random, size, std::to_string(i) + ".");
      if (sorted) {
        std::stable_sort(reads.begin(), reads.end(), [](const auto& a, const auto& b) {
          return goes_before(decode_record(a.bytes()), decode_record(b.bytes()));
        });
      }
      inputs_given.push_back(reads);
    }
    const Names names = merged(inputs_given);
    const std::vector<std::vector<DecodedRecord>> read_back = inputs();
    ASSERT_EQ(names, SlowMerge(read_back).run()) << round;
    EXPECT_TRUE(!sorted || is_in_order(records_in(folder_, "out.bam"))) << round;
  }
}

// ---- Errors ----------------------------------------------------------------------------------

TEST_F(BamMerge, MissingInputRaisesFileNotFoundBeforeTheOutputIsMade) {
  write({{read_at("a", 0, 1)}, {read_at("b", 0, 2)}});
  names_.push_back(folder_.text("missing.bam"));
  EXPECT_KIND(merge("out.bam"), FileNotFound, folder_.path("missing.bam"));
  EXPECT_KIND(merge("out.sam"), FileNotFound, folder_.path("missing.bam"));
  EXPECT_EQ(folder_.names(), (Names{"0.bam", "1.bam"}));
}

// Before the check, the input was emptied while it was being read.
TEST_F(BamMerge, OutputThatIsAnInputIsRefusedAndTheInputStays) {
  write({{read_at("a", 0, 1)}, {read_at("b", 0, 2)}});
  std::filesystem::create_hard_link(folder_.native("1.bam"), folder_.native("link.sam"));
  EXPECT_KIND(merge("0.bam"), CannotOpenOutFile, folder_.path("0.bam"));
  EXPECT_KIND(merge("link.sam"), CannotOpenOutFile, folder_.path("link.sam"));
  EXPECT_EQ(names_in(folder_, "0.bam"), (Names{"a"}));
  EXPECT_EQ(names_in(folder_, "1.bam"), (Names{"b"}));
}

TEST_F(BamMerge, OutputThatCannotBeMadeRaisesFileNotFound) {
  write({{read_at("a", 0, 1)}, {read_at("b", 0, 2)}});
  EXPECT_KIND(merge("no/out.bam"), FileNotFound, folder_.path("no/out.bam"));
  EXPECT_KIND(merge("no/out.sam"), FileNotFound, folder_.path("no/out.sam"));
}

TEST_F(BamMerge, DamagedInputRaisesItsErrorWithItsName) {
  const std::size_t files = open_files();
  write({{read_at("a", 0, 1)}, {}});
  const Path path = folder_.path("1.bam");
  const auto merge_with = [&](const std::string& bytes) {
    folder_.write("1.bam", bytes);
    merge();
  };
  EXPECT_KIND(merge_with("no BAM file, and long enough for a header"), InvalidBAMFormat, path);
  EXPECT_KIND(merge_with(bam_of({read_at("b", 0, 2)}).without_marker().bytes()), InvalidBAMFormat,
              path);
  EXPECT_KIND(merge_with(bam_of({read_at("b", 0, 2), read_at("c", 0, 3).l_seq(-1)}).bytes()),
              InvalidBAMFormat, path);
  const std::string header = bam_of({}).header_bytes();
  EXPECT_KIND(
      merge_with(BgzfFile().block(header).block(BgzfBlock::around("\xff\xff")).marker().bytes()),
      ZLIBInflate, path);
  const std::string whole = bam_of({read_at("b", 0, 2)}).without_marker().bytes();
  EXPECT_KIND(merge_with(whole.substr(0, whole.size() - 1)), BAMRead, path);
  EXPECT_EQ(open_files(), files);
}

TEST_F(BamMerge, ReferenceBeyondTheDictionaryStopsSamTextAndPassesIntoABamFile) {
  write({{read_at("a", 0, 1)}, {read_at("b", 3, 2)}});
  EXPECT_KIND(merge("out.sam"), ReferenceIDNotFound, u"3");
  EXPECT_EQ(merged({{read_at("a", 0, 1)}, {read_at("b", 3, 2)}}), (Names{"a", "b"}));
}

}  // namespace
}  // namespace readkit::bam_merge_test
