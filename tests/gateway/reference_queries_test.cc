// getNumReferences, getReferenceID, getReferenceString, getHeader.
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/bam_builder.h"
#include "support/bgzf_builder.h"
#include "support/gateway_calls.h"

namespace readkit::gateway_reference_queries_test {
namespace {

using Texts = std::vector<std::string>;

class ReferenceQueries : public testing::Test {
 protected:
  ReferenceQueries() {
    BamBuilder()
        .text("@HD\tVN:1.6\n@CO\tcaf\xc3\xa9 \xff\n")
        .ref("chr1", 1000)
        .ref("chr2", 4294967295U)
        .ref("HLA:DRB1*15", 5)
        .ref("chr2", 7)
        .write(folder_, "a.bam");
  }

  Outputs call(const char* gateway, int nlhs, const std::string& file) {
    return call_gateway(gateway, nlhs, inputs(text(folder_, file)));
  }
  int id_of(host::Owned name) {
    return scalar_of<std::int32_t>(
        call_gateway("getReferenceID", 1, inputs(text(folder_, "a.bam"), std::move(name)))[0]);
  }
  std::string name_of(host::Owned index) {
    return row_text_of(
        call_gateway("getReferenceString", 1, inputs(text(folder_, "a.bam"), std::move(index)))[0]);
  }

  TempDir folder_;
  LeakCheck leaks_;
};

// ---- Every one of them -------------------------------------------------------------------------

class AnyReferenceQuery : public ReferenceQueries, public testing::WithParamInterface<const char*> {
 protected:
  static Inputs inputs_for(host::Owned file) {
    Inputs list = inputs(std::move(file));
    const std::string gateway = GetParam();
    if (gateway == "getReferenceID") list.push_back(text("chr1"));
    if (gateway == "getReferenceString") list.push_back(host::make_scalar(0.0));
    return list;
  }
};

INSTANTIATE_TEST_SUITE_P(Gateways, AnyReferenceQuery,
                         testing::Values("getNumReferences", "getReferenceID", "getReferenceString",
                                         "getHeader", "bamInfo"),
                         [](const auto& param) { return std::string(param.param); });

TEST_P(AnyReferenceQuery, MissingFileRaisesFileNotFoundWithItsName) {
  for (const int nlhs : {0, 1}) {
    EXPECT_CALL_FAILS(call_gateway(GetParam(), nlhs, inputs_for(text(folder_, "no.bam"))),
                      "seqlab:readkit:FileNotFound", folder_.path("no.bam"));
  }
}

TEST_P(AnyReferenceQuery, EmptyNameRaisesFileNotFoundWithTheEmptyName) {
  EXPECT_CALL_FAILS(call_gateway(GetParam(), 1, inputs_for(text(""))),
                    "seqlab:readkit:FileNotFound", u"");
}

TEST_P(AnyReferenceQuery, NumberForAFileNameRaisesMustBeString) {
  EXPECT_CALL_FAILS(call_gateway(GetParam(), 1, inputs_for(host::make_scalar(1.0))),
                    "Tessel:string:MustBeStringScalarOrCharacterVector");
}

TEST_P(AnyReferenceQuery, TwoStringsForAFileNameRaiseMustBeString) {
  EXPECT_CALL_FAILS(
      call_gateway(GetParam(), 1, inputs_for(host::make_string_array({1, 2}, {u"a", u"b"}))),
      "Tessel:string:MustBeStringScalarOrCharacterVector");
}

TEST_P(AnyReferenceQuery, MissingStringForAFileNameRaisesMissingNotSupported) {
  EXPECT_CALL_FAILS(call_gateway(GetParam(), 1, inputs_for(host::make_string(std::nullopt))),
                    "Tessel:string:MissingNotSupported");
}

TEST_P(AnyReferenceQuery, StringScalarIsAFileName) {
  EXPECT_NE(call_gateway(GetParam(), 1, inputs_for(host::make_string(folder_.text("a.bam"))))[0],
            nullptr);
}

TEST_P(AnyReferenceQuery, FileNameOutsideAsciiOpens) {
  folder_.write("r\xc3\xa9\xf0\x9f\xa7\xac.bam", folder_.read("a.bam"));
  const Inputs list = inputs_for(text(folder_, "r\xc3\xa9\xf0\x9f\xa7\xac.bam"));
  EXPECT_NE(call_gateway(GetParam(), 1, list)[0], nullptr);
}

TEST_P(AnyReferenceQuery, UnpairedSurrogateMakesANameThatNoFileHas) {
  const UString name = folder_.text("a") + char16_t{0xd800} + u".bam";
  EXPECT_CALL_FAILS(call_gateway(GetParam(), 1, inputs_for(host::make_text(name))),
                    "seqlab:readkit:FileNotFound", name);
}

TEST_P(AnyReferenceQuery, WithoutOutputsNothingIsMade) {
  const Outputs outputs = call_gateway(GetParam(), 0, inputs_for(text(folder_, "a.bam")));
  ASSERT_EQ(outputs.size(), 1U);
  EXPECT_EQ(outputs[0], nullptr);
}

TEST_P(AnyReferenceQuery, FileThatIsNoBamRaisesInvalidBamFormat) {
  folder_.write("b.bam", "not compressed at all, and long enough");
  folder_.write("c.bam", BgzfFile().block("BAI\1xxxxxxxx").marker().bytes());
  for (const char* name : {"b.bam", "c.bam"}) {
    EXPECT_CALL_FAILS(call_gateway(GetParam(), 0, inputs_for(text(folder_, name))),
                      "seqlab:readkit:InvalidBAMFormat", folder_.path(name));
  }
}

TEST_P(AnyReferenceQuery, HeaderCutShortRaisesBamRead) {
  folder_.write("b.bam", BgzfFile().block(std::string("BAM\1\x09\0\0\0x", 9)).marker().bytes());
  EXPECT_CALL_FAILS(call_gateway(GetParam(), 1, inputs_for(text(folder_, "b.bam"))),
                    "seqlab:readkit:BAMRead", folder_.path("b.bam"));
}

TEST_P(AnyReferenceQuery, NegativeReferenceCountIsTheContainersLengthError) {
  folder_.write(
      "b.bam", BgzfFile().block(std::string("BAM\1\0\0\0\0\xff\xff\xff\xff", 12)).marker().bytes());
  try {
    call_gateway(GetParam(), 1, inputs_for(text(folder_, "b.bam")));
    ADD_FAILURE() << "the call succeeded";
  } catch (const host::HostError& error) {
    EXPECT_EQ(error.identifier(), "Tessel:cpp:length_error");
  }
}

TEST_P(AnyReferenceQuery, NegativeTextLengthIsTheAllocationError) {
  folder_.write("b.bam", BgzfFile().block("BAM\1\xff\xff\xff\xff").marker().bytes());
  EXPECT_CALL_FAILS(call_gateway(GetParam(), 1, inputs_for(text(folder_, "b.bam"))),
                    "Tessel:cpp:bad_alloc", std::bad_alloc().what());
}

// ---- getNumReferences --------------------------------------------------------------------------

TEST_F(ReferenceQueries, NumberOfReferencesIsAnInt32Scalar) {
  EXPECT_EQ(scalar_of<std::int32_t>(call("getNumReferences", 1, "a.bam")[0]), 4);
}

TEST_F(ReferenceQueries, NumberOfReferencesMayBeZero) {
  BamBuilder().write(folder_, "none.bam");
  EXPECT_EQ(scalar_of<std::int32_t>(call("getNumReferences", 1, "none.bam")[0]), 0);
}

// ---- getReferenceID ----------------------------------------------------------------------------

TEST_F(ReferenceQueries, ReferenceIdIsTheIndexOfTheFirstReferenceOfThatName) {
  EXPECT_EQ(id_of(text("chr1")), 0);
  EXPECT_EQ(id_of(text("chr2")), 1);
  EXPECT_EQ(id_of(text("HLA:DRB1*15")), 2);
  EXPECT_EQ(id_of(host::make_string(u"chr2")), 1);
}

TEST_F(ReferenceQueries, UnknownNameGivesMinusOne) {
  EXPECT_EQ(id_of(text("chr3")), -1);
  EXPECT_EQ(id_of(text("Chr1")), -1);
  EXPECT_EQ(id_of(text("chr")), -1);
  EXPECT_EQ(id_of(text("")), -1);
}

TEST_F(ReferenceQueries, ReferenceNameOutsideAsciiIsFoundByItsBytes) {
  BamBuilder().ref("\xc3\xa9", 5).ref("\xff", 5).write(folder_, "b.bam");
  const auto id = [&](const char* name) {
    return scalar_of<std::int32_t>(
        call_gateway("getReferenceID", 1, inputs(text(folder_, "b.bam"), text(name)))[0]);
  };
  EXPECT_EQ(id("\xc3\xa9"), 0);
  EXPECT_EQ(id("\xff"), 1);
}

TEST_F(ReferenceQueries, ReferenceNameThatIsNoTextRaisesBeforeTheFileIsOpened) {
  EXPECT_CALL_FAILS(
      call_gateway("getReferenceID", 1, inputs(text(folder_, "no.bam"), host::make_scalar(1.0))),
      "Tessel:string:MustBeStringScalarOrCharacterVector");
}

TEST_F(ReferenceQueries, OtherErrorsOfLookingANameUpPassOn) {
  EXPECT_CALL_FAILS(call_gateway("getReferenceID", 1, inputs(text(folder_, "no.bam"), text("x"))),
                    "seqlab:readkit:FileNotFound", folder_.path("no.bam"));
}

// ---- getReferenceString ------------------------------------------------------------------------

TEST_F(ReferenceQueries, ReferenceStringIsTheNameAtTheIndex) {
  EXPECT_EQ(name_of(host::make_scalar(0.0)), "chr1");
  EXPECT_EQ(name_of(host::make_scalar(2.0)), "HLA:DRB1*15");
  EXPECT_EQ(name_of(host::make_scalar<std::int8_t>(3)), "chr2");
  EXPECT_EQ(name_of(host::make_row<double>({1, 9, 9})), "chr2");
}

TEST_F(ReferenceQueries, IndexIsTruncatedTowardZero) {
  EXPECT_EQ(name_of(host::make_scalar(1.9)), "chr2");
  EXPECT_EQ(name_of(host::make_scalar(-0.5)), "chr1");
}

TEST_F(ReferenceQueries, NaNAsIndexCountsAsZero) {
  EXPECT_EQ(name_of(host::make_scalar(std::numeric_limits<double>::quiet_NaN())), "chr1");
}

TEST_F(ReferenceQueries, IndexOutsideTheDictionaryRaisesReferenceIdNotFound) {
  EXPECT_CALL_FAILS(name_of(host::make_scalar(4.0)), "seqlab:readkit:ReferenceIDNotFound", u"4");
  EXPECT_CALL_FAILS(name_of(host::make_scalar(-1.0)), "seqlab:readkit:ReferenceIDNotFound", u"-1");
  EXPECT_CALL_FAILS(name_of(host::make_scalar(1e300)), "seqlab:readkit:ReferenceIDNotFound",
                    u"2147483647");
  EXPECT_CALL_FAILS(name_of(host::make_scalar(-1e300)), "seqlab:readkit:ReferenceIDNotFound",
                    u"-2147483648");
}

TEST_F(ReferenceQueries, IndexIsNotLookedAtWithoutAnOutput) {
  EXPECT_EQ(call_gateway("getReferenceString", 0,
                         inputs(text(folder_, "a.bam"), host::make_scalar(99.0)))[0],
            nullptr);
}

TEST_F(ReferenceQueries, IndexThatIsNoNumberRaisesInvalidInputType) {
  EXPECT_CALL_FAILS(name_of(text("0")), "seqlab:readkit:InvalidInputType", u"index", u"double");
  EXPECT_CALL_FAILS(name_of(host::make_row<double>({})), "seqlab:readkit:InvalidInputType",
                    u"index", u"double");
}

// ---- getHeader ---------------------------------------------------------------------------------

TEST_F(ReferenceQueries, HeaderWithOneOutputIsTheTextAlone) {
  const Outputs outputs = call("getHeader", 1, "a.bam");
  ASSERT_EQ(outputs.size(), 1U);
  EXPECT_EQ(row_text_of(outputs[0]), "@HD\tVN:1.6\n@CO\tcaf\xc3\xa9 \xff\n");
}

TEST_F(ReferenceQueries, HeaderBytesOutsideUtf8BecomeUnitsOfTheirOwn) {
  const Outputs outputs = call("getHeader", 1, "a.bam");
  const auto units = host::data_of<char16_t>(outputs[0].get());
  const std::u16string all(units.begin(), units.end());
  EXPECT_EQ(all.substr(15), std::u16string(u"caf\u00e9 ") + char16_t{0xdcff} + u"\n");
}

TEST_F(ReferenceQueries, HeaderWithTwoOutputsHasTheNames) {
  const Outputs outputs = call("getHeader", 2, "a.bam");
  ASSERT_EQ(outputs.size(), 2U);
  EXPECT_EQ(texts_of(outputs[1]), (Texts{"chr1", "chr2", "HLA:DRB1*15", "chr2"}));
}

TEST_F(ReferenceQueries, HeaderWithThreeOutputsHasTheLengthsToo) {
  const Outputs outputs = call("getHeader", 3, "a.bam");
  ASSERT_EQ(outputs.size(), 3U);
  EXPECT_EQ(row_text_of(outputs[0]).size(), 23U);
  EXPECT_EQ(texts_of(outputs[1]).size(), 4U);
  EXPECT_EQ(column_of<std::uint32_t>(outputs[2]),
            (std::vector<std::uint32_t>{1000, 4294967295U, 5, 7}));
}

TEST_F(ReferenceQueries, HeaderWithoutReferencesHasEmptyColumns) {
  BamBuilder().text("@CO\tx\n").write(folder_, "none.bam");
  const Outputs outputs = call("getHeader", 3, "none.bam");
  EXPECT_EQ(row_text_of(outputs[0]), "@CO\tx\n");
  expect_shape(outputs[1], txCELL_CLASS, 0, 1);
  expect_shape(outputs[2], txUINT32_CLASS, 0, 1);
}

TEST_F(ReferenceQueries, HeaderTextEndsAtItsFirstNul) {
  BamBuilder().text(std::string("@CO\tx\n\0\0@CO\ty\n", 14)).write(folder_, "nul.bam");
  EXPECT_EQ(row_text_of(call("getHeader", 1, "nul.bam")[0]), "@CO\tx\n");
}

TEST_F(ReferenceQueries, EmptyHeaderTextIsAnEmptyRow) {
  BamBuilder().refs(1, 5).write(folder_, "bare.bam");
  expect_shape(call("getHeader", 1, "bare.bam")[0], txCHAR_CLASS, 1, 0);
}

TEST_F(ReferenceQueries, HeaderOverManyBlocksIsReadWhole) {
  const std::string long_text(200000, 'h');
  BamBuilder().text(long_text).refs(3000, 5).block_size(700).write(folder_, "long.bam");
  const Outputs outputs = call("getHeader", 3, "long.bam");
  EXPECT_EQ(row_text_of(outputs[0]), long_text);
  EXPECT_EQ(texts_of(outputs[1]).at(2999), "chr3000");
  EXPECT_EQ(column_of<std::uint32_t>(outputs[2]).size(), 3000U);
}

}  // namespace
}  // namespace readkit::gateway_reference_queries_test
