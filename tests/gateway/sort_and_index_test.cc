// bamIndex: makes an index file from a BAM file.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/bam_builder.h"
#include "support/bgzf_builder.h"
#include "support/gateway_calls.h"
#include "support/index_model.h"
#include "support/memory.h"

namespace readkit {
namespace {

RecordBuilder read_at(int ref, int pos) {
  return RecordBuilder("read").at(ref, pos).seq("ACGTA").cigar("5M");
}

class BamIndexGateway : public testing::Test {
 protected:
  void write(const std::vector<RecordBuilder>& records) {
    BamBuilder file;
    file.refs(3, 536870911);
    for (const RecordBuilder& record : records) file.record(record);
    file.write(folder_, "a.bam");
  }
  Outputs index(const std::string& bam = "a.bam", const std::string& bai = "a.bai") {
    return call_gateway("bamIndex", 0, inputs(text(folder_, bam), text(folder_, bai)));
  }

  TempDir folder_;
  LeakCheck leaks_;
};

TEST_F(BamIndexGateway, WritesTheIndexOfTheModelAndReturnsNothing) {
  write({read_at(0, 5), read_at(0, 20000), read_at(2, 7), RecordBuilder().flag(4)});
  const Outputs outputs = index();
  ASSERT_EQ(outputs.size(), 1U);
  EXPECT_EQ(outputs[0], nullptr);
  EXPECT_EQ(decode_bai(folder_.read("a.bai")), model_index_of(folder_.read("a.bam")).index);
}

TEST_F(BamIndexGateway, IndexNameIsUsedExactlyAsGiven) {
  write({read_at(0, 5)});
  index("a.bam", "x");
  index("a.bam", "a.BAI");
  EXPECT_EQ(folder_.names(), (std::vector<std::string>{"a.BAI", "a.bam", "x"}));
}

TEST_F(BamIndexGateway, FileWithoutRecordsGivesAnIndexOfSixteenBytes) {
  write({});
  index();
  EXPECT_EQ(folder_.read("a.bai"), std::string("BAI\1\0\0\0\0\0\0\0\0\0\0\0\0", 16));
}

TEST_F(BamIndexGateway, IndexEndsWithTheHighestReferenceThatHasRecords) {
  write({read_at(1, 5)});
  index();
  EXPECT_EQ(decode_bai(folder_.read("a.bai")).refs.size(), 2U);
}

TEST_F(BamIndexGateway, ExistingIndexIsReplaced) {
  write({read_at(0, 5)});
  folder_.write("a.bai", std::string(100000, 'x'));
  index();
  EXPECT_LT(folder_.read("a.bai").size(), 1000U);
}

TEST_F(BamIndexGateway, SameFileGivesTheSameBytes) {
  write({read_at(0, 5), read_at(0, 70000), read_at(1, 5)});
  index("a.bam", "one.bai");
  index("a.bam", "two.bai");
  EXPECT_EQ(folder_.read("one.bai"), folder_.read("two.bai"));
}

TEST_F(BamIndexGateway, StringScalarsAreNames) {
  write({read_at(0, 5)});
  call_gateway(
      "bamIndex", 0,
      inputs(host::make_string(folder_.text("a.bam")), host::make_string(folder_.text("s.bai"))));
  EXPECT_TRUE(folder_.exists("s.bai"));
}

TEST_F(BamIndexGateway, UnsortedFileRaisesBamUnsortedAndWritesNoIndex) {
  write({read_at(0, 6), read_at(0, 5)});
  EXPECT_CALL_FAILS(index(), "seqlab:readkit:BAMUnsorted");
  write({read_at(2, 6), read_at(1, 6)});
  EXPECT_CALL_FAILS(index(), "seqlab:readkit:BAMUnsorted");
  write({RecordBuilder().flag(4), read_at(0, 6)});
  EXPECT_CALL_FAILS(index(), "seqlab:readkit:BAMUnsorted");
  EXPECT_FALSE(folder_.exists("a.bai"));
}

TEST_F(BamIndexGateway, ChangeBackToReferenceZeroIsAccepted) {
  write({read_at(0, 6), read_at(2, 6), read_at(0, 1)});
  index();
  EXPECT_EQ(decode_bai(folder_.read("a.bai")).refs.at(0).chunks(4681).size(), 2U);
}

TEST_F(BamIndexGateway, PositionBeyondTheSchemeRaisesPositionTooBigWithTheReadName) {
  write({read_at(0, 536870907)});
  EXPECT_CALL_FAILS(index(), "seqlab:readkit:PositionTooBig", u"read");
  EXPECT_FALSE(folder_.exists("a.bai"));
}

TEST_F(BamIndexGateway, ReferenceBeyondAllLimitsRaisesReferenceIdNotFound) {
  write({read_at(2147483647, 5)});
  const auto build = [&] {
    EXPECT_CALL_FAILS(index(), "seqlab:readkit:ReferenceIDNotFound", u"2147483647");
  };
  EXPECT_LT(memory_growth(build), kMuchMemory);
}

TEST_F(BamIndexGateway, MissingBamRaisesFileNotFoundAndWritesNoIndex) {
  EXPECT_CALL_FAILS(index("no.bam"), "seqlab:readkit:FileNotFound", folder_.path("no.bam"));
  EXPECT_CALL_FAILS(call_gateway("bamIndex", 0, inputs(text(""), text(folder_, "a.bai"))),
                    "seqlab:readkit:FileNotFound", u"");
  EXPECT_FALSE(folder_.exists("a.bai"));
}

TEST_F(BamIndexGateway, IndexThatCannotBeMadeRaisesCannotOpenOutFile) {
  write({read_at(0, 5)});
  EXPECT_CALL_FAILS(index("a.bam", "no/a.bai"), "seqlab:readkit:CannotOpenOutFile",
                    folder_.path("no/a.bai"));
  EXPECT_CALL_FAILS(call_gateway("bamIndex", 0, inputs(text(folder_, "a.bam"), text(""))),
                    "seqlab:readkit:CannotOpenOutFile", u"");
}

TEST_F(BamIndexGateway, FullDiskRaisesFileWrite) {
  write({read_at(0, 5)});
  EXPECT_CALL_FAILS(call_gateway("bamIndex", 0, inputs(text(folder_, "a.bam"), text("/dev/full"))),
                    "seqlab:readkit:FileWrite", u"/dev/full");
}

TEST_F(BamIndexGateway, DamagedRecordRaisesInvalidBamFormatAndWritesNoIndex) {
  write({read_at(0, 5), read_at(0, 6).l_seq(-1)});
  EXPECT_CALL_FAILS(index(), "seqlab:readkit:InvalidBAMFormat", folder_.path("a.bam"));
  EXPECT_FALSE(folder_.exists("a.bai"));
}

TEST_F(BamIndexGateway, FirstNameIsConvertedFirst) {
  EXPECT_CALL_FAILS(
      call_gateway("bamIndex", 0, inputs(host::make_string(std::nullopt), host::make_scalar(1.0))),
      "Tessel:string:MissingNotSupported");
}

TEST_F(BamIndexGateway, IndexNameThatIsNoTextRaisesBeforeTheFileIsOpened) {
  EXPECT_CALL_FAILS(
      call_gateway("bamIndex", 0, inputs(text(folder_, "no.bam"), host::make_scalar(1.0))),
      "Tessel:string:MustBeStringScalarOrCharacterVector");
  EXPECT_CALL_FAILS(
      call_gateway("bamIndex", 0, inputs(text(folder_, "no.bam"), host::make_string(std::nullopt))),
      "Tessel:string:MissingNotSupported");
}

TEST_F(BamIndexGateway, IndexThatWasBuiltAnswersQueries) {
  write({read_at(0, 5), read_at(0, 20000), read_at(2, 7), read_at(2, 8)});
  index();
  const Outputs outputs =
      call_gateway("getStartsInReference", 1,
                   inputs(text(folder_, "a.bam"), text(folder_, "a.bai"), host::make_scalar(2.0)));
  EXPECT_EQ(column_of<std::uint32_t>(outputs[0]), (std::vector<std::uint32_t>{8, 9}));
}

}  // namespace
}  // namespace readkit
