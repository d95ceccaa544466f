// samInfo: whether a SAM file is sorted, and how many lines name each reference.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/gateway_calls.h"
#include "support/temp_dir.h"

namespace readkit::gateway_sam_info_test {
namespace {

using Counts = std::vector<double>;
using Names = std::vector<std::string>;

const char kText[] =
    "@HD\tVN:1.6\n@SQ\tSN:unused\tLN:9\n"
    "r\t0\tchr1\t5\nr\t0\tchr1\t9\nr\t0\tchr2\t1\n";
const char kUnsorted[] = "r\t0\tb\t5\nr\t0\tb\t4\nr\t0\ta\t1\nr\t4\t*\t0\n";

class SamInfoGateway : public testing::Test {
 protected:
  Outputs call(int nlhs, std::string_view name = "a.sam") {
    return call_gateway("samInfo", nlhs, inputs(text(folder_, name)));
  }
  void write(std::string_view bytes) { folder_.write("a.sam", bytes); }

  TempDir folder_;
  LeakCheck leaks_;
};

TEST_F(SamInfoGateway, ThreeOutputsAreFlagCountsAndNames) {
  write(kText);
  const Outputs out = call(3);
  ASSERT_EQ(out.size(), 3U);
  EXPECT_TRUE(scalar_of<bool>(out[0]));
  EXPECT_EQ(column_of<double>(out[1]), (Counts{0, 2, 1}));
  EXPECT_EQ(texts_of(out[2]), (Names{"*", "chr1", "chr2"}));
}

TEST_F(SamInfoGateway, TwoOutputsAreFlagAndCounts) {
  write(kUnsorted);
  const Outputs out = call(2);
  ASSERT_EQ(out.size(), 2U);
  EXPECT_FALSE(scalar_of<bool>(out[0]));
  EXPECT_EQ(column_of<double>(out[1]), (Counts{1, 2, 1}));
}

TEST_F(SamInfoGateway, FlagIsMadeEvenWhenNoOutputIsAskedFor) {
  for (const int nlhs : {0, 1}) {
    write(kText);
    Outputs out = call(nlhs);
    ASSERT_EQ(out.size(), 1U);
    EXPECT_TRUE(scalar_of<bool>(out[0]));
    write(kUnsorted);
    out = call(nlhs);
    EXPECT_FALSE(scalar_of<bool>(out[0]));
  }
}

TEST_F(SamInfoGateway, EveryLineOfAnUnsortedFileIsCounted) {
  write(kUnsorted);
  const Outputs out = call(3);
  EXPECT_FALSE(scalar_of<bool>(out[0]));
  EXPECT_EQ(column_of<double>(out[1]), (Counts{1, 2, 1}));
  EXPECT_EQ(texts_of(out[2]), (Names{"*", "b", "a"}));
}

TEST_F(SamInfoGateway, FileWithoutRecordsIsSortedAndHasOneRow) {
  for (const char* bytes : {"", "@HD\tVN:1.6\n", "not\na\nsam file\n"}) {
    write(bytes);
    const Outputs out = call(3);
    EXPECT_TRUE(scalar_of<bool>(out[0])) << bytes;
    EXPECT_EQ(column_of<double>(out[1]), (Counts{0})) << bytes;
    EXPECT_EQ(texts_of(out[2]), (Names{"*"})) << bytes;
  }
}

TEST_F(SamInfoGateway, NamesKeepEveryByte) {
  write("r\t0\tch\xc3\xa9\t5\nr\t0\t\xff\x80\t5\n");
  EXPECT_EQ(texts_of(call(3)[2]), (Names{"*", "ch\xc3\xa9", "\xff\x80"}));
}

TEST_F(SamInfoGateway, RecordsThatCouldNotBeParsedAreCounted) {
  write("r\t0\tchr1\t5\tnothing more\nr\tx\tchr1\t6\nr\t0\tchr1\t7\n");
  EXPECT_EQ(column_of<double>(call(2)[1]), (Counts{0, 2}));
}

TEST_F(SamInfoGateway, FileNameMayBeAStringScalar) {
  write(kText);
  const Outputs out = call_gateway("samInfo", 1, inputs(host::make_string(folder_.text("a.sam"))));
  EXPECT_TRUE(scalar_of<bool>(out[0]));
}

TEST_F(SamInfoGateway, WrongCountsRaiseTheErrorsOfCounts) {
  EXPECT_CALL_FAILS(call_gateway("samInfo", 1, {}), "seqlab:readkit:InvalidArgCount", u"samInfo");
  EXPECT_CALL_FAILS(call_gateway("samInfo", 9, inputs(text("a"), text("b"))),
                    "seqlab:readkit:InvalidArgCount", u"samInfo");
  EXPECT_CALL_FAILS(call(4), "seqlab:readkit:TooManyOutputs");
}

TEST_F(SamInfoGateway, MissingFileRaisesFileNotFoundHoweverManyOutputsAreAskedFor) {
  for (int nlhs = 0; nlhs <= 3; ++nlhs) {
    EXPECT_CALL_FAILS(call(nlhs, "no.sam"), "seqlab:readkit:FileNotFound", folder_.path("no.sam"));
    EXPECT_CALL_FAILS(call_gateway("samInfo", nlhs, inputs(text(""))),
                      "seqlab:readkit:FileNotFound", u"");
  }
}

TEST_F(SamInfoGateway, FolderRaisesSamRead) {
  for (int nlhs = 0; nlhs <= 3; ++nlhs) {
    EXPECT_CALL_FAILS(call_gateway("samInfo", nlhs, inputs(text(folder_.folder()))),
                      "seqlab:readkit:SAMRead", to_path(folder_.folder()));
  }
}

TEST_F(SamInfoGateway, NameThatIsNoTextRaisesTheErrorsOfText) {
  EXPECT_CALL_FAILS(call_gateway("samInfo", 1, inputs(host::make_scalar(1.0))),
                    "Tessel:string:MustBeStringScalarOrCharacterVector");
  EXPECT_CALL_FAILS(call_gateway("samInfo", 1, inputs(host::make_cell_of_texts({"a.sam"}))),
                    "Tessel:string:MustBeStringScalarOrCharacterVector");
  EXPECT_CALL_FAILS(call_gateway("samInfo", 1, inputs(host::make_string(std::nullopt))),
                    "Tessel:string:MissingNotSupported");
}

TEST_F(SamInfoGateway, FileIsLeftAsItWas) {
  write(kUnsorted);
  call(3);
  EXPECT_EQ(folder_.read("a.sam"), kUnsorted);
  EXPECT_EQ(folder_.names(), (Names{"a.sam"}));
}

}  // namespace
}  // namespace readkit::gateway_sam_info_test
