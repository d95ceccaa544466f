// bamIndex and kxBamIndexComplete: make an index file from a BAM file.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/bam_builder.h"
#include "support/bgzf_builder.h"
#include "support/gateway_calls.h"
#include "support/index_model.h"
#include "support/memory.h"

namespace readkit::gateway_sort_and_index_test {
namespace {

RecordBuilder read_at(int ref, int pos) {
  return RecordBuilder("read").at(ref, pos).seq("ACGTA").cigar("5M");
}

class IndexFixture {
 protected:
  void write(const std::vector<RecordBuilder>& records) {
    BamBuilder file;
    file.refs(3, 536870911);
    for (const RecordBuilder& record : records) file.record(record);
    file.write(folder_, "a.bam");
  }
  Outputs index_with(const std::string& gateway, const std::string& bam, const std::string& bai) {
    return call_gateway(gateway, 0, inputs(text(folder_, bam), text(folder_, bai)));
  }

  TempDir folder_;
  LeakCheck leaks_;
};

class BamIndexGateway : public IndexFixture, public testing::Test {
 protected:
  Outputs index() { return index_with("bamIndex", "a.bam", "a.bai"); }
};

class CompleteIndexGateway : public IndexFixture, public testing::Test {
 protected:
  Outputs index() { return index_with("kxBamIndexComplete", "a.bam", "a.bai"); }
};

// What both have in common.
class IndexGateways : public IndexFixture, public testing::TestWithParam<std::string> {
 protected:
  Outputs index(const std::string& bam = "a.bam", const std::string& bai = "a.bai") {
    return index_with(GetParam(), bam, bai);
  }
  Outputs call(Inputs given) { return call_gateway(GetParam(), 0, given); }
};

INSTANTIATE_TEST_SUITE_P(Gateways, IndexGateways, testing::Values("bamIndex", "kxBamIndexComplete"),
                         [](const auto& param) { return param.param; });

TEST_F(BamIndexGateway, WritesTheIndexOfTheModelAndReturnsNothing) {
  write({read_at(0, 5), read_at(0, 20000), read_at(2, 7), RecordBuilder().flag(4)});
  const Outputs outputs = index();
  ASSERT_EQ(outputs.size(), 1U);
  EXPECT_EQ(outputs[0], nullptr);
  EXPECT_EQ(decode_bai(folder_.read("a.bai")), model_index_of(folder_.read("a.bam")).index);
}

TEST_F(CompleteIndexGateway, WritesTheCompleteIndexOfTheModelAndReturnsNothing) {
  write({read_at(0, 5), read_at(0, 20000), read_at(1, 7).flag(4), RecordBuilder().flag(4)});
  const Outputs outputs = index();
  ASSERT_EQ(outputs.size(), 1U);
  EXPECT_EQ(outputs[0], nullptr);
  const std::string bam = folder_.read("a.bam");
  const ModelIndex expected =
      model_complete_index(model_records(bam), 3, std::uint64_t{bam.size()} << 16);
  EXPECT_EQ(decode_bai(folder_.read("a.bai")), expected);
}

TEST_F(CompleteIndexGateway, FileWithoutRecordsGivesAnEmptyIndexOfEveryReference) {
  write({});
  index();
  EXPECT_EQ(folder_.read("a.bai"),
            "BAI\1" + little_endian(3, 4) + std::string(3 * 8, '\0') + std::string(8, '\0'));
}

TEST_F(CompleteIndexGateway, ReferenceBeyondTheDictionaryRaisesReferenceIdNotFound) {
  write({read_at(0, 5), read_at(3, 5)});
  EXPECT_CALL_FAILS(index(), "seqlab:readkit:ReferenceIDNotFound", u"3");
  EXPECT_FALSE(folder_.exists("a.bai"));
}

TEST_P(IndexGateways, IndexNameIsUsedExactlyAsGiven) {
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

TEST_P(IndexGateways, ExistingIndexIsReplaced) {
  write({read_at(0, 5)});
  folder_.write("a.bai", std::string(100000, 'x'));
  index();
  EXPECT_LT(folder_.read("a.bai").size(), 1000U);
}

TEST_P(IndexGateways, SameFileGivesTheSameBytes) {
  write({read_at(0, 5), read_at(0, 70000), read_at(1, 5)});
  index("a.bam", "one.bai");
  index("a.bam", "two.bai");
  EXPECT_EQ(folder_.read("one.bai"), folder_.read("two.bai"));
}

TEST_P(IndexGateways, StringScalarsAreNames) {
  write({read_at(0, 5)});
  call(inputs(host::make_string(folder_.text("a.bam")), host::make_string(folder_.text("s.bai"))));
  EXPECT_TRUE(folder_.exists("s.bai"));
}

TEST_P(IndexGateways, UnsortedFileRaisesBamUnsortedAndWritesNoIndex) {
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

TEST_P(IndexGateways, PositionBeyondTheSchemeRaisesPositionTooBigWithTheReadName) {
  write({read_at(0, 536870907)});
  EXPECT_CALL_FAILS(index(), "seqlab:readkit:PositionTooBig", u"read");
  EXPECT_FALSE(folder_.exists("a.bai"));
}

TEST_P(IndexGateways, ReferenceBeyondAllLimitsRaisesReferenceIdNotFound) {
  write({read_at(2147483647, 5)});
  const auto build = [&] {
    EXPECT_CALL_FAILS(index(), "seqlab:readkit:ReferenceIDNotFound", u"2147483647");
  };
  EXPECT_LT(memory_growth(build), kMuchMemory);
}

TEST_P(IndexGateways, MissingBamRaisesFileNotFoundAndWritesNoIndex) {
  EXPECT_CALL_FAILS(index("no.bam"), "seqlab:readkit:FileNotFound", folder_.path("no.bam"));
  EXPECT_CALL_FAILS(call(inputs(text(""), text(folder_, "a.bai"))), "seqlab:readkit:FileNotFound",
                    u"");
  EXPECT_FALSE(folder_.exists("a.bai"));
}

TEST_P(IndexGateways, IndexThatCannotBeMadeRaisesCannotOpenOutFile) {
  write({read_at(0, 5)});
  EXPECT_CALL_FAILS(index("a.bam", "no/a.bai"), "seqlab:readkit:CannotOpenOutFile",
                    folder_.path("no/a.bai"));
  EXPECT_CALL_FAILS(call(inputs(text(folder_, "a.bam"), text(""))),
                    "seqlab:readkit:CannotOpenOutFile", u"");
}

TEST_P(IndexGateways, FullDiskRaisesFileWrite) {
  write({read_at(0, 5)});
  EXPECT_CALL_FAILS(call(inputs(text(folder_, "a.bam"), text("/dev/full"))),
                    "seqlab:readkit:FileWrite", u"/dev/full");
}

TEST_P(IndexGateways, DamagedRecordRaisesInvalidBamFormatAndWritesNoIndex) {
  write({read_at(0, 5), read_at(0, 6).l_seq(-1)});
  EXPECT_CALL_FAILS(index(), "seqlab:readkit:InvalidBAMFormat", folder_.path("a.bam"));
  EXPECT_FALSE(folder_.exists("a.bai"));
}

TEST_P(IndexGateways, FirstNameIsConvertedFirst) {
  EXPECT_CALL_FAILS(call(inputs(host::make_string(std::nullopt), host::make_scalar(1.0))),
                    "Tessel:string:MissingNotSupported");
}

TEST_P(IndexGateways, IndexNameThatIsNoTextRaisesBeforeTheFileIsOpened) {
  EXPECT_CALL_FAILS(call(inputs(text(folder_, "no.bam"), host::make_scalar(1.0))),
                    "Tessel:string:MustBeStringScalarOrCharacterVector");
  EXPECT_CALL_FAILS(call(inputs(text(folder_, "no.bam"), host::make_string(std::nullopt))),
                    "Tessel:string:MissingNotSupported");
}

TEST_P(IndexGateways, IndexThatWasBuiltAnswersQueries) {
  write({read_at(0, 5), read_at(0, 20000), read_at(2, 7), read_at(2, 8)});
  index();
  const Outputs outputs =
      call_gateway("getStartsInReference", 1,
                   inputs(text(folder_, "a.bam"), text(folder_, "a.bai"), host::make_scalar(2.0)));
  EXPECT_EQ(column_of<std::uint32_t>(outputs[0]), (std::vector<std::uint32_t>{8, 9}));
}

}  // namespace
}  // namespace readkit::gateway_sort_and_index_test
