// A SAM file as the stream that it is: state bits, positions, rewinding, moving.
#include <fstream>
#include <ios>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "sam/sam.h"
#include "support/expect_kind.h"
#include "support/sam_line.h"
#include "support/temp_dir.h"

namespace readkit::sam_sam_stream_test {
namespace {

using Names = std::vector<std::string>;

std::string named(const std::string& name) {
  SamLine line;
  line.qname = name;
  return line.text() + "\n";
}

const std::string kHeader = "@SQ\tSN:chr1\tLN:1000\n";

class SamStream : public testing::Test {
 protected:
  SAM open(const std::string& text) { return {folder_.write("a.sam", text), "r"}; }
  SAM open_three() { return open(kHeader + named("a") + named("b") + named("c")); }

  static std::string next(SAM& in) {
    return in.next_alignment() ? std::string(in.alignment().read_name_text()) : "end";
  }
  static Names rest(SAM& in) {
    Names names;
    while (in.next_alignment()) names.emplace_back(in.alignment().read_name_text());
    return names;
  }

  TempDir folder_;
};

// ---- State -------------------------------------------------------------------------------------

TEST_F(SamStream, StateIsGoodUntilTheEndIsMet) {
  SAM in = open_three();
  EXPECT_TRUE(in.good());
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(in.next_alignment());
    EXPECT_TRUE(in.good());
  }
  EXPECT_FALSE(in.next_alignment());
  EXPECT_TRUE(in.eof());
}

TEST_F(SamStream, EndOfFileBitEndsTheRecords) {
  SAM in = open_three();
  in.setstate(std::ios::eofbit);
  EXPECT_EQ(next(in), "end");
  in.clear();
  EXPECT_EQ(next(in), "a");
}

TEST_F(SamStream, FailBitEndsTheRecords) {
  SAM in = open_three();
  EXPECT_EQ(next(in), "a");
  in.setstate(std::ios::failbit);
  EXPECT_EQ(next(in), "end");
  in.clear();
  EXPECT_EQ(next(in), "b");
}

TEST_F(SamStream, ClosedFileHasNoRecords) {
  SAM in = open_three();
  EXPECT_EQ(next(in), "a");
  in.close();
  EXPECT_TRUE(in.good());
  EXPECT_EQ(next(in), "end");
  in.close();
  EXPECT_TRUE(in.fail());
}

// ---- Positions ---------------------------------------------------------------------------------

TEST_F(SamStream, HeaderLeavesTheStreamAtTheFirstRecordLine) {
  SAM in = open_three();
  EXPECT_EQ(in.tellg(), std::streampos(static_cast<std::streamoff>(kHeader.size())));
  std::string line;
  ASSERT_TRUE(std::getline(in, line));
  EXPECT_EQ(line + "\n", named("a"));
  EXPECT_EQ(next(in), "b");
}

TEST_F(SamStream, SeekingToALineReadsItsRecord) {
  SAM in = open_three();
  EXPECT_EQ(next(in), "a");
  const std::streampos second = in.tellg();
  EXPECT_EQ(rest(in), (Names{"b", "c"}));
  in.clear();
  in.seekg(second);
  EXPECT_EQ(rest(in), (Names{"b", "c"}));
}

TEST_F(SamStream, RewindLeadsToTheFirstRecordFromAnywhere) {
  SAM in = open_three();
  in.rewind();
  EXPECT_EQ(next(in), "a");
  in.rewind();
  EXPECT_EQ(rest(in), (Names{"a", "b", "c"}));
  EXPECT_EQ(next(in), "end");
  in.rewind();
  EXPECT_TRUE(in.good());
  EXPECT_EQ(rest(in), (Names{"a", "b", "c"}));
}

TEST_F(SamStream, RewindFindsTheFirstLineWithAndWithoutHeaderAndNewline) {
  const struct {
    std::string text;
    Names names;
  } rows[] = {
      {"", {}},
      {kHeader, {}},
      {"@HD\tVN:1.6", {}},
      {named("a"), {"a"}},
      {"\n\n" + named("a"), {"a"}},
      {kHeader + "\r\n" + named("a"), {"a"}},
      {SamLine().text(), {"r1"}},
      {kHeader + SamLine().text(), {"r1"}},
  };
  for (const auto& row : rows) {
    SAM in = open(row.text);
    for (int round = 0; round < 3; ++round) {
      EXPECT_EQ(rest(in), row.names) << row.text;
      in.rewind();
    }
  }
}

// ---- Moving ------------------------------------------------------------------------------------

static_assert(!std::is_copy_constructible_v<SAM> && !std::is_copy_assignable_v<SAM>);
static_assert(std::is_move_constructible_v<SAM> && std::is_move_assignable_v<SAM>);

TEST_F(SamStream, MovedFileGoesOnWhereItWas) {
  SAM first = open_three();
  EXPECT_EQ(next(first), "a");
  SAM second(std::move(first));
  EXPECT_FALSE(first.is_open());
  EXPECT_EQ(second.alignment().read_name_text(), "a");
  EXPECT_EQ(second.header().text(), kHeader);
  EXPECT_EQ(second.path().text(), folder_.text("a.sam"));
  EXPECT_EQ(next(second), "b");
  EXPECT_EQ(second.alignment().ref_id(), 0);
  second.rewind();
  EXPECT_EQ(rest(second), (Names{"a", "b", "c"}));
}

TEST_F(SamStream, AssignedFileReplacesTheOldOne) {
  SAM old(folder_.write("old.sam", named("x") + named("y")), "r");
  EXPECT_EQ(next(old), "x");
  {
    SAM in = open_three();
    EXPECT_EQ(next(in), "a");
    old = std::move(in);
    EXPECT_FALSE(in.is_open());
  }
  EXPECT_EQ(old.alignment().read_name_text(), "a");
  EXPECT_EQ(rest(old), (Names{"b", "c"}));
  old.rewind();
  EXPECT_EQ(next(old), "a");
  EXPECT_EQ(old.alignment().ref_id(), 0);
}

TEST_F(SamStream, ManyFilesMoveAboutInAList) {
  std::vector<SAM> list;
  for (int i = 0; i < 20; ++i) {
    const std::string name = "r" + std::to_string(i);
    list.emplace_back(folder_.write(name, named(name) + named("last")), "r");
    ASSERT_EQ(next(list.back()), name);
  }
  list.erase(list.begin() + 3);
  EXPECT_EQ(list[3].alignment().read_name_text(), "r4");
  for (SAM& in : list) EXPECT_EQ(rest(in), (Names{"last"}));
}

// Before, a pipe had no records, without an error.
TEST(SamPipe, CannotBePositionedAndRaisesSamRead) {
  const TempDir folder;
  const Path pipe = folder.path("pipe.sam");
  ASSERT_EQ(mkfifo(pipe.native().c_str(), 0600), 0);
  std::fstream writer(pipe.native());  // open for both, so that nobody waits for the other end
  writer << "@SQ\tSN:chr1\tLN:9\nr1\t0\n" << std::flush;
  EXPECT_KIND(SAM(pipe, "r"), SAMRead, pipe);
}

}  // namespace
}  // namespace readkit::sam_sam_stream_test
