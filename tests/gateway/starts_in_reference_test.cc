// getStartsInReference.
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/bam_builder.h"
#include "support/gateway_calls.h"
#include "support/index_model.h"

namespace readkit::gateway_starts_in_reference_test {
namespace {

using List = std::vector<std::uint32_t>;
using Flags = std::vector<std::uint16_t>;

class StartsInReference : public testing::Test {
 protected:
  StartsInReference() {
    BamBuilder()
        .refs(3, 100000)
        .record(RecordBuilder().at(0, 9).flag(0x10).cigar("5M"))
        .record(RecordBuilder().at(0, 9).flag(0x4))
        .record(RecordBuilder().at(0, 90000).flag(0xffff).cigar("2M3D1N1S"))
        .record(RecordBuilder().at(2, 0).cigar("1M"))
        .record(RecordBuilder().flag(4))
        .write(folder_, "a.bam");
    call_gateway("bamIndex", 0, inputs(text(folder_, "a.bam"), text(folder_, "a.bai")));
    folder_.write("none.bai", encode_bai({.refs = {}}));
  }

  Outputs call(host::Owned bam, host::Owned index, host::Owned reference, int nlhs = 3) {
    return call_gateway("getStartsInReference", nlhs,
                        inputs(std::move(bam), std::move(index), std::move(reference)));
  }
  Outputs call(double reference, const std::string& index = "a.bai", int nlhs = 3) {
    return call(text(folder_, "a.bam"), text(folder_, index), host::make_scalar(reference), nlhs);
  }
  List starts(double reference, const std::string& index = "a.bai") {
    return column_of<std::uint32_t>(call(reference, index)[0]);
  }

  TempDir folder_;
  LeakCheck leaks_;
};

TEST_F(StartsInReference, StartsEndsAndFlagsOfTheReferencesRecords) {
  for (const char* index : {"a.bai", "none.bai"}) {
    const Outputs outputs = call(0, index);
    ASSERT_EQ(outputs.size(), 3U);
    EXPECT_EQ(column_of<std::uint32_t>(outputs[0]), (List{10, 10, 90001}));
    EXPECT_EQ(column_of<std::uint32_t>(outputs[1]), (List{14, 10, 90006}));
    EXPECT_EQ(column_of<std::uint16_t>(outputs[2]), (Flags{0x10, 0x4, 0xffff}));
  }
}

TEST_F(StartsInReference, OneOutputGivesTheStartsOnly) {
  const Outputs outputs = call(0, "a.bai", 1);
  ASSERT_EQ(outputs.size(), 1U);
  EXPECT_EQ(column_of<std::uint32_t>(outputs[0]).size(), 3U);
}

TEST_F(StartsInReference, TwoOutputsGiveStartsAndEnds) {
  const Outputs outputs = call(0, "a.bai", 2);
  ASSERT_EQ(outputs.size(), 2U);
  EXPECT_EQ(column_of<std::uint32_t>(outputs[1]).size(), 3U);
}

TEST_F(StartsInReference, WithoutOutputsNothingIsMadeButTheFilesAreRead) {
  EXPECT_EQ(call(0, "a.bai", 0)[0], nullptr);
  EXPECT_CALL_FAILS(call(0, "no.bai", 0), "seqlab:readkit:FileNotFound", folder_.path("no.bai"));
}

TEST_F(StartsInReference, ReferenceWithoutRecordsGivesEmptyColumns) {
  for (const char* index : {"a.bai", "none.bai"}) {
    const Outputs outputs = call(1, index);
    expect_shape(outputs[0], txUINT32_CLASS, 0, 1);
    expect_shape(outputs[1], txUINT32_CLASS, 0, 1);
    expect_shape(outputs[2], txUINT16_CLASS, 0, 1);
  }
}

TEST_F(StartsInReference, ReferenceOutsideTheFileGivesEmptyColumns) {
  for (const double ref : {3.0, 4.0, -1.0, -2.0, 1e300, -1e300}) {
    EXPECT_EQ(starts(ref), List{}) << ref;
    EXPECT_EQ(starts(ref, "none.bai"), List{}) << ref;
  }
}

TEST_F(StartsInReference, ReferenceIsTruncatedTowardZero) {
  EXPECT_EQ(starts(2.99), (List{1}));
  EXPECT_EQ(starts(-0.99).size(), 3U);
  EXPECT_EQ(starts(std::numeric_limits<double>::quiet_NaN()).size(), 3U);
}

TEST_F(StartsInReference, ReferenceOfAnyNumericClassIsTaken) {
  const Outputs outputs =
      call(text(folder_, "a.bam"), text(folder_, "a.bai"), host::make_scalar<std::uint8_t>(2), 1);
  EXPECT_EQ(column_of<std::uint32_t>(outputs[0]), (List{1}));
}

TEST_F(StartsInReference, ReferenceThatIsNoNumberRaisesInvalidInputType) {
  EXPECT_CALL_FAILS(call(text(folder_, "a.bam"), text(folder_, "a.bai"), text("2")),
                    "seqlab:readkit:InvalidInputType", u"reference", u"double");
  EXPECT_CALL_FAILS(
      call(text(folder_, "a.bam"), text(folder_, "a.bai"), host::make_row<double>({})),
      "seqlab:readkit:InvalidInputType", u"reference", u"double");
}

TEST_F(StartsInReference, IndexOfAnotherFileIsTreatedAsNoIndex) {
  folder_.write("other.bai", encode_bai({.refs = {{}, {}}}));
  EXPECT_EQ(starts(0, "other.bai"), (List{10, 10, 90001}));
}

TEST_F(StartsInReference, IndexThatHidesRecordsHidesThem) {
  folder_.write("hides.bai", encode_bai({.refs = {{}, {}, {}}}));
  EXPECT_EQ(starts(0, "hides.bai"), List{});
}

TEST_F(StartsInReference, BaiIsAppendedToAnIndexNameWithoutIt) {
  EXPECT_EQ(starts(2, "a.bai"), (List{1}));
  EXPECT_EQ(starts(2, "none").size(), 1U);
  EXPECT_CALL_FAILS(starts(2, "none.BAI"), "seqlab:readkit:FileNotFound",
                    folder_.path("none.BAI.bai"));
}

TEST_F(StartsInReference, IndexNameShorterThanFourCharactersRaisesOutOfRangeBeforeAnyFileIsOpened) {
  EXPECT_CALL_FAILS(call(text(folder_, "no.bam"), text("a"), host::make_scalar(0.0)),
                    "Tessel:cpp:out_of_range", "basic_string");
}

TEST_F(StartsInReference, IndexNameIsConvertedBeforeTheFilesName) {
  EXPECT_CALL_FAILS(
      call(host::make_scalar(1.0), host::make_string(std::nullopt), host::make_scalar(0.0)),
      "Tessel:string:MissingNotSupported");
  EXPECT_CALL_FAILS(call(host::make_scalar(1.0), text("a.bai"), host::make_scalar(0.0)),
                    "Tessel:string:MustBeStringScalarOrCharacterVector");
}

TEST_F(StartsInReference, ErrorsOfTheFilesPassOn) {
  EXPECT_CALL_FAILS(call(text(folder_, "no.bam"), text(folder_, "no.bai"), host::make_scalar(0.0)),
                    "seqlab:readkit:FileNotFound", folder_.path("no.bam"));
  EXPECT_CALL_FAILS(call(text(""), text(folder_, "a.bai"), host::make_scalar(0.0)),
                    "seqlab:readkit:FileNotFound", u"");
  folder_.write("bad.bai", "BAI");
  EXPECT_CALL_FAILS(starts(0, "bad.bai"), "seqlab:readkit:BAIRead", folder_.path("bad.bai"));
  folder_.write("bad.bai", "bai\1");
  EXPECT_CALL_FAILS(starts(0, "bad.bai"), "seqlab:readkit:InvalidBAIFormat",
                    folder_.path("bad.bai"));
}

TEST_F(StartsInReference, DamagedRecordRaisesInvalidBamFormat) {
  BamBuilder()
      .refs(3, 9)
      .record(RecordBuilder().at(0, 1))
      .record(RecordBuilder().l_seq(-1))
      .write(folder_, "a.bam");
  EXPECT_CALL_FAILS(call(0, "none.bai"), "seqlab:readkit:InvalidBAMFormat", folder_.path("a.bam"));
}

TEST_F(StartsInReference, RecordsBeforePositionZeroAreFoundByTheirEnd) {
  BamBuilder()
      .refs(3, 9)
      .record(RecordBuilder().at(0, -1))
      .record(RecordBuilder().at(0, -1).cigar("5M"))
      .write(folder_, "a.bam");
  const Outputs outputs = call(0, "none.bai");
  EXPECT_EQ(column_of<std::uint32_t>(outputs[0]), (List{0}));
  EXPECT_EQ(column_of<std::uint32_t>(outputs[1]), (List{4}));
}

TEST_F(StartsInReference, EndBeyondAllPositionsIsTheLargest32BitInteger) {
  RecordBuilder record = RecordBuilder().at(0, 5);
  for (int i = 0; i < 20; ++i) record.cigar_op((1U << 28) - 1, 0);
  BamBuilder().refs(3, 9).record(record).write(folder_, "a.bam");
  EXPECT_EQ(column_of<std::uint32_t>(call(0, "none.bai")[1]), (List{2147483647}));
}

TEST_F(StartsInReference, RecordsThatStartBeyondTwoToThe29AreLeftOut) {
  BamBuilder()
      .refs(3, 2147483647)
      .record(RecordBuilder().at(0, 536870911).bin(0))
      .record(RecordBuilder().at(0, 536870912).bin(0))
      .write(folder_, "a.bam");
  EXPECT_EQ(starts(0, "none.bai"), (List{536870912}));
}

TEST_F(StartsInReference, StartsLessOneAreTheStartsThatGetFeaturesTakes) {
  List starts_of_records = starts(0);
  for (std::uint32_t& start : starts_of_records) --start;
  const Outputs outputs = call_gateway(
      "getFeatures", 1,
      inputs(text(folder_, "a.bam"), text(folder_, "a.bai"), text("Flag"), host::make_scalar(0.0),
             host::make_column<std::uint32_t>({2, 3}), host::make_column(starts_of_records)));
  EXPECT_EQ(column_of<std::uint16_t>(outputs[0]), (Flags{0x4, 0xffff}));
}

}  // namespace
}  // namespace readkit::gateway_starts_in_reference_test
