#include "sam/sam.h"

#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/expect_kind.h"
#include "support/sam_line.h"
#include "support/temp_dir.h"

namespace readkit::sam_sam_test {
namespace {

using Names = std::vector<std::string>;

const char kHeader[] = "@HD\tVN:1.6\n@SQ\tSN:chr1\tLN:1000\n@SQ\tSN:chr2\tLN:2000\n";

std::string named(const std::string& name, const std::string& tags = {}) {
  SamLine line;
  line.qname = name;
  line.tags = tags;
  return line.text();
}

Names names_of(SAM& in) {
  Names names;
  while (in.next_alignment()) names.emplace_back(in.alignment().read_name_text());
  return names;
}

class SamFile : public testing::Test {
 protected:
  SAM open(const std::string& text) { return {folder_.write("a.sam", text), "r"}; }
  Names read(const std::string& text) {
    SAM in = open(text);
    return names_of(in);
  }
  Path path() const { return folder_.path("a.sam"); }

  TempDir folder_;
};

// ---- Opening -----------------------------------------------------------------------------------

TEST_F(SamFile, HeaderIsReadWhenTheFileIsOpened) {
  const SAM in = open(kHeader + named("a") + "\n");
  EXPECT_EQ(in.header().text(), kHeader);
  EXPECT_EQ(in.get_num_refs(), 2);
  EXPECT_EQ(in.get_ref_name(0), "chr1");
  EXPECT_EQ(in.get_ref_name(1), "chr2");
  EXPECT_EQ(in.path().text(), path().text());
  EXPECT_EQ(in.refs(), (ReferenceMap{{"chr1", 0}, {"chr2", 1}}));
}

TEST_F(SamFile, OnlyTheModeWOpensForWriting) {
  for (const char* mode : {"r", "rb", "wb", "", "W", "ww", "w ", " w", "a", "w+"}) {
    const Path file = folder_.write("a.sam", named("a") + "\n");
    SAM in(file, mode);
    ASSERT_TRUE(in.next_alignment()) << mode;
    EXPECT_EQ(in.alignment().read_name_text(), "a") << mode;
    EXPECT_KIND(SAM(folder_.path("missing"), mode), FileNotFound, folder_.path("missing"));
    EXPECT_FALSE(folder_.exists("missing")) << mode;
  }
}

TEST_F(SamFile, ModeMayHoldANul) {
  const SAM in(folder_.write("a.sam", kHeader), std::string_view("w\0", 2));
  EXPECT_EQ(in.get_num_refs(), 2);
}

TEST_F(SamFile, ModeWMakesTheFileOrEmptiesIt) {
  { const SAM out(path(), "w"); }
  EXPECT_EQ(folder_.read("a.sam"), "");
  folder_.write("a.sam", kHeader);
  const SAM out(path(), "w");
  EXPECT_EQ(folder_.read("a.sam"), "");
  EXPECT_EQ(out.get_num_refs(), 0);
  EXPECT_EQ(out.refs().size(), 0u);
}

TEST_F(SamFile, FileThatCannotBeOpenedRaisesFileNotFoundInEveryMode) {
  for (const char* mode : {"r", "w"}) {
    const Path inside = folder_.path("missing/a.sam");
    EXPECT_KIND(SAM(inside, mode), FileNotFound, inside);
    EXPECT_KIND(SAM(Path(), mode), FileNotFound, u"");
    EXPECT_KIND(SAM(Path(u"\xd800"), mode), FileNotFound, u"\xd800");
  }
  const Path folder = to_path(folder_.folder());
  EXPECT_KIND(SAM(folder, "w"), FileNotFound, folder);
}

TEST_F(SamFile, LaterIndexOfANameThatOccursTwiceCounts) {
  SAM in = open("@SQ\tSN:chr1\tLN:5\n@SQ\tSN:chr2\tLN:5\n@SQ\tSN:chr1\tLN:7\n" + named("a") + "\n");
  EXPECT_EQ(in.get_num_refs(), 3);
  EXPECT_EQ(in.refs(), (ReferenceMap{{"chr1", 2}, {"chr2", 1}}));
  ASSERT_TRUE(in.next_alignment());
  EXPECT_EQ(in.alignment().ref_id(), 2);
}

// ---- Records -----------------------------------------------------------------------------------

TEST_F(SamFile, RecordsAreReadOneAfterTheOther) {
  SAM in = open(kHeader + named("a") + "\n" + named("b", "\tNM:i:1") + "\n" + named("c") + "\n");
  for (const char* name : {"a", "b", "c"}) {
    ASSERT_TRUE(in.next_alignment());
    EXPECT_EQ(in.alignment().read_name_text(), name);
    EXPECT_EQ(in.alignment().ref_id(), 0);
    EXPECT_EQ(in.alignment().pos(), 99);
  }
  EXPECT_FALSE(in.next_alignment());
  EXPECT_FALSE(in.next_alignment());
  EXPECT_EQ(in.alignment().read_name_text(), "c");
}

TEST_F(SamFile, FileWithoutRecordsEndsAtOnce) {
  for (const std::string& text :
       {std::string(), std::string(kHeader), std::string("@HD\tVN:1.6"), std::string("\n"),
        std::string("\n\n\n"), std::string("\r\n\r\n\r"), kHeader + std::string("\n\n")}) {
    EXPECT_EQ(read(text), Names()) << text;
    SAM in = open(text);
    EXPECT_FALSE(in.next_alignment());
    EXPECT_FALSE(in.next_alignment());
  }
}

TEST_F(SamFile, FileWithoutHeaderHasNoReferences) {
  SAM in = open(named("a") + "\n");
  EXPECT_EQ(in.header().text(), "");
  EXPECT_EQ(in.refs().size(), 0u);
  ASSERT_TRUE(in.next_alignment());
  EXPECT_EQ(in.alignment().ref_id(), -1);
  EXPECT_EQ(in.alignment().next_ref_id(), -1);
}

TEST_F(SamFile, ReferenceThatTheHeaderLacksIsNone) {
  SamLine line;
  line.rname = "chr7";
  line.rnext = "chr2";
  SAM in = open(kHeader + line.text() + "\n");
  ASSERT_TRUE(in.next_alignment());
  EXPECT_EQ(in.alignment().ref_id(), -1);
  EXPECT_EQ(in.alignment().next_ref_id(), 1);
}

TEST_F(SamFile, LastLineNeedsNoNewline) {
  EXPECT_EQ(read(kHeader + named("a") + "\n" + named("b")), (Names{"a", "b"}));
  EXPECT_EQ(read(kHeader + named("a") + "\r\n" + named("b") + "\r"), (Names{"a", "b"}));
}

TEST_F(SamFile, EmptyLinesAreSkipped) {
  const std::string lines = "\n\n" + named("a") + "\n\n\r\n\n" + named("b") + "\n\n\r\n";
  EXPECT_EQ(read(kHeader + lines), (Names{"a", "b"}));
  EXPECT_EQ(read(lines + "\r"), (Names{"a", "b"}));
}

TEST_F(SamFile, LineOfBlanksIsNotEmpty) {
  SAM in = open(named("a") + "\n \n");
  ASSERT_TRUE(in.next_alignment());
  EXPECT_KIND(in.next_alignment(), InvalidSAMFormat, path());
}

TEST_F(SamFile, OneCarriageReturnBeforeTheLinesEndIsRemoved) {
  SAM in = open(named("a", "\tXZ:Z:x") + "\r\n" + named("b", "\tXZ:Z:x") + "\r\r\n" +
                named("c", "\tXZ:Z:x\ry") + "\n" + named("d", "\tXZ:Z:x") + "\r");
  const BamHeader none;
  for (const char* value : {"x", "x\r", "x\ry", "x"}) {
    ASSERT_TRUE(in.next_alignment());
    const std::string line = in.alignment().to_sam(none);
    EXPECT_EQ(line.substr(line.rfind(':') + 1), value);
  }
  EXPECT_FALSE(in.next_alignment());
}

TEST_F(SamFile, CarriageReturnsOfTheHeaderStay) {
  SAM in = open("@SQ\tSN:chr1\tLN:5\r\n@SQ\tLN:5\tSN:chr2\r\n" + named("a") + "\r\n");
  EXPECT_EQ(in.header().text(), "@SQ\tSN:chr1\tLN:5\r\n@SQ\tLN:5\tSN:chr2\r\n");
  EXPECT_EQ(in.refs(), (ReferenceMap{{"chr1", 0}, {"chr2\r", 1}}));
  ASSERT_TRUE(in.next_alignment());
  EXPECT_EQ(in.alignment().qual_string(), SamLine().qual);
}

TEST_F(SamFile, HeaderLineBehindARecordIsNoHeader) {
  SAM in = open(kHeader + named("a") + "\n@SQ\tSN:chr3\tLN:7\n");
  EXPECT_EQ(in.get_num_refs(), 2);
  ASSERT_TRUE(in.next_alignment());
  EXPECT_KIND(in.next_alignment(), InvalidSAMFormat, path());
}

TEST_F(SamFile, LinesMayBeLongerThanTheBufferOfTheStream) {
  const std::string value(700000, 'v');
  SAM in = open(kHeader + named("a", "\tXZ:Z:" + value) + "\n" + named("b") + "\n" +
                named("c", "\tXZ:Z:" + value));
  for (const bool is_long : {true, false, true}) {
    ASSERT_TRUE(in.next_alignment());
    const std::string line = in.alignment().to_sam(in.header());
    EXPECT_EQ(line.find(value) != std::string::npos, is_long);
  }
  EXPECT_FALSE(in.next_alignment());
}

TEST_F(SamFile, ManyLinesAcrossTheBufferAreAllRead) {
  std::string text = kHeader;
  Names expected;
  for (int i = 0; text.size() < 1000000; ++i) {
    expected.push_back("r" + std::to_string(i));
    text += named(expected.back()) + (i % 3 == 0 ? "\r\n" : "\n");
  }
  EXPECT_EQ(read(text), expected);
}

TEST_F(SamFile, SequenceOf300LettersKeepsItsFirst44) {
  SamLine line;
  line.seq = "ACGT" + std::string(296, 'N');
  line.qual = std::string(300, 'I');
  SAM in = open(line.text() + "\n");
  ASSERT_TRUE(in.next_alignment());
  EXPECT_EQ(in.alignment().seq_string(), "ACGT" + std::string(40, 'N'));
  EXPECT_EQ(in.alignment().qual_string(), std::string(44, 'I'));
}

// ---- Errors ------------------------------------------------------------------------------------

// A line that fails between two that do not.
class SamErrors : public SamFile {
 protected:
  SAM open_with(const std::string& bad) {
    SAM in = open(kHeader + named("a") + "\n" + bad + "\n" + named("b") + "\n");
    EXPECT_TRUE(in.next_alignment());
    return in;
  }
  // The current record is the one before, and the next call reads the one behind.
  static void expect_rest(SAM& in) {
    EXPECT_EQ(in.alignment().read_name_text(), "a");
    EXPECT_EQ(in.alignment().to_sam(in.header()), named("a"));
    EXPECT_EQ(names_of(in), (Names{"b"}));
  }
};

TEST_F(SamErrors, MalformedLineRaisesInvalidSamFormatWithThePath) {
  for (const char* bad :
       {"r", "\t\t", "r\t0\tchr1\t1\t1\t1m\t*\t0\t0\tA\tI", "r\t0\tchr1\t1\t1\t1M\t*\t0\t0\ta\tI",
        "r\t0\tchr1\t1\t1\t1M\t*\t0\t0\t*\t*", "r\t0\tchr1\t1\t1\t1M\t*\t0\t0\tA",
        "r\t0\tchr1\t1\t1\t1M\t*\t0\t0\tA\tI\tNM"}) {
    SAM in = open_with(bad);
    EXPECT_KIND(in.next_alignment(), InvalidSAMFormat, path()) << bad;
    expect_rest(in);
  }
}

TEST_F(SamErrors, StandardErrorsOfTheParserPassUnchanged) {
  SamLine line;
  line.tags = "\tXB:B:c,1,2";
  SAM array = open_with(line.text());
  EXPECT_STD(array.next_alignment(), std::invalid_argument, "stol");
  expect_rest(array);
  line.tags = "\tXB:B:f,1,2";
  SAM floats = open_with(line.text());
  EXPECT_STD(floats.next_alignment(), std::invalid_argument, "stof");
  expect_rest(floats);
  line.tags.clear();
  line.cigar = "10M5";
  SAM digits = open_with(line.text());
  EXPECT_STD(digits.next_alignment(), std::out_of_range, "basic_string");
  expect_rest(digits);
}

TEST_F(SamErrors, FirstLineMayFailAndThereIsNoRecordThen) {
  SAM in = open("bad\n" + named("b"));
  EXPECT_KIND(in.next_alignment(), InvalidSAMFormat, path());
  EXPECT_EQ(in.alignment().data(), nullptr);
  EXPECT_EQ(names_of(in), (Names{"b"}));
}

TEST_F(SamErrors, FolderRaisesSamReadWhenARecordIsRead) {
  const Path folder = to_path(folder_.folder());
  SAM in(folder, "r");
  EXPECT_EQ(in.get_num_refs(), 0);
  EXPECT_KIND(in.next_alignment(), SAMRead, folder);
  EXPECT_KIND(in.next_alignment(), SAMRead, folder);
  in.rewind();
  EXPECT_KIND(in.next_alignment(), SAMRead, folder);
}

}  // namespace
}  // namespace readkit::sam_sam_test
