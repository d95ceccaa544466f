// getFeatures: what it returns for each feature, and how it takes its arguments. Which records it
// picks is in get_features_selection_test.
#include "gateway/get_features.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/bam_builder.h"
#include "support/bgzf_builder.h"
#include "support/feature_file.h"
#include "support/gateway_calls.h"
#include "support/index_model.h"

namespace readkit::gateway_get_features_test {
namespace {

using Texts = std::vector<std::string>;
using Ordinals = std::vector<std::uint32_t>;

constexpr char kUnknownFeature[] = "seqlab:bamaccessgw:getfeaturesinrefbyindex:UnknownFeatureType";

// A file of three records on reference 1, with an index.
class GetFeatures : public testing::Test {
 protected:
  GetFeatures() {
    feature_file().write(folder_, "a.bam");
    call_gateway("bamIndex", 0, inputs(text(folder_, "a.bam"), text(folder_, "a.bai")));
  }

  // Inputs for a call that works.
  Inputs good(const Texts& names) {
    return inputs(text(folder_, "a.bam"), text(folder_, "a.bai"), host::make_cell_of_texts(names),
                  host::make_scalar(1.0), host::make_column<std::uint32_t>({1, 2, 3}),
                  host::make_column<std::uint32_t>({99, 100, 200}));
  }
  // The same with one input exchanged.
  Inputs with(std::size_t place, host::Owned input, const Texts& names = {"Position"}) {
    Inputs list = good(names);
    list.at(place) = std::move(input);
    return list;
  }
  Outputs call(const Inputs& list, int nlhs = 1) { return call_gateway("getFeatures", nlhs, list); }
  host::Owned feature(const char* name) { return std::move(call(good({name}))[0]); }

  TempDir folder_;
  LeakCheck leaks_;
};

// ---- Features ----------------------------------------------------------------------------------

TEST_F(GetFeatures, FlagIsUint16) {
  EXPECT_EQ(column_of<std::uint16_t>(feature("Flag")),
            (std::vector<std::uint16_t>{0x63, 0x4, 0xffff}));
}

TEST_F(GetFeatures, PositionIsOneBasedUint32) {
  EXPECT_EQ(column_of<std::uint32_t>(feature("Position")), (Ordinals{100, 101, 201}));
}

TEST_F(GetFeatures, MappingQualityIsUint8) {
  EXPECT_EQ(column_of<std::uint8_t>(feature("MappingQuality")),
            (std::vector<std::uint8_t>{60, 255, 0}));
}

TEST_F(GetFeatures, MatePositionIsOneBasedUint32AndZeroWithoutAMate) {
  EXPECT_EQ(column_of<std::uint32_t>(feature("MatePosition")), (Ordinals{500, 0, 2147483648U}));
}

TEST_F(GetFeatures, MateIndexIsTheMatesPositionToo) {
  EXPECT_EQ(column_of<std::uint32_t>(feature("MateIndex")),
            column_of<std::uint32_t>(feature("MatePosition")));
  EXPECT_EQ(column_of<std::uint32_t>(feature("MateIndex")).at(0), 500U);
}

TEST_F(GetFeatures, QueryLengthIsUint16) {
  EXPECT_EQ(column_of<std::uint16_t>(feature("QueryLength")),
            (std::vector<std::uint16_t>{9, 0, 5}));
}

TEST_F(GetFeatures, EndPositionIsTheExclusiveEndPlusOne) {
  EXPECT_EQ(column_of<std::uint32_t>(feature("EndPosition")), (Ordinals{117, 102, 206}));
}

TEST_F(GetFeatures, SignatureIsTheCigarAndAStarWithoutOps) {
  EXPECT_EQ(texts_of(feature("Signature")), (Texts{"2S3M1D2M10N1M1I", "*", "4=1X"}));
}

TEST_F(GetFeatures, SequenceIsText) {
  EXPECT_EQ(texts_of(feature("Sequence")), (Texts{"ACGTNACGT", "*", "=ACMG"}));
}

TEST_F(GetFeatures, HeaderIsTheReadName) {
  EXPECT_EQ(texts_of(feature("Header")), (Texts{"first", "second", "third"}));
}

TEST_F(GetFeatures, QualityIsTextAndAStarWhenAbsent) {
  EXPECT_EQ(texts_of(feature("Quality")), (Texts{"!\"#$%&'()", "*", "*"}));
}

TEST_F(GetFeatures, LongSequencesShowTheLowBitsOfTheirLength) {
  BamBuilder()
      .refs(2, 100000)
      .record(RecordBuilder().at(1, 99).seq(std::string(65536 + 7, 'A')).cigar("65543M"))
      .write(folder_, "a.bam");
  call_gateway("bamIndex", 0, inputs(text(folder_, "a.bam"), text(folder_, "a.bai")));
  Inputs list = good({"QueryLength"});
  list[4] = host::make_column<std::uint32_t>({1});
  EXPECT_EQ(column_of<std::uint16_t>(call(list)[0]), (std::vector<std::uint16_t>{7}));
}

TEST_F(GetFeatures, AllFeaturesAtOnceComeInTheOrderOfTheirNames) {
  const Outputs outputs =
      call(good({"Quality", "Header", "Sequence", "Signature", "EndPosition", "QueryLength",
                 "MateIndex", "MatePosition", "MappingQuality", "Position", "Flag"}),
           11);
  ASSERT_EQ(outputs.size(), 11U);
  EXPECT_EQ(texts_of(outputs[1]).at(2), "third");
  EXPECT_EQ(column_of<std::uint8_t>(outputs[8]).at(0), 60);
  EXPECT_EQ(column_of<std::uint16_t>(outputs[10]).at(0), 0x63);
  for (const host::Owned& output : outputs) {
    EXPECT_EQ(host::dims_of(output.get()), (host::Dims{3, 1}));
  }
}

TEST_F(GetFeatures, RepeatedNamesGiveRepeatedOutputs) {
  const Outputs outputs = call(good({"Flag", "Position", "Flag"}), 3);
  EXPECT_EQ(column_of<std::uint16_t>(outputs[0]), column_of<std::uint16_t>(outputs[2]));
  EXPECT_EQ(column_of<std::uint32_t>(outputs[1]).size(), 3U);
}

TEST_F(GetFeatures, OutputsAreMadeWhateverNumberIsAskedFor) {
  // More names than outputs: the host drops the rest. Fewer: the other slots stay empty.
  EXPECT_EQ(column_of<std::uint16_t>(call(good({"Flag", "Header", "Quality"}), 0)[0]).size(), 3U);
  const Outputs outputs = call(good({"Flag"}), 3);
  EXPECT_EQ(column_of<std::uint16_t>(outputs[0]).size(), 3U);
  EXPECT_EQ(outputs[1], nullptr);
  EXPECT_EQ(outputs[2], nullptr);
}

TEST_F(GetFeatures, TextsKeepBytesOutsideUtf8) {
  BamBuilder()
      .refs(2, 100000)
      .record(RecordBuilder("r\xff\xc3\xa9").at(1, 99).seq("AC").quals({200, 94}).cigar("2M"))
      .write(folder_, "a.bam");
  call_gateway("bamIndex", 0, inputs(text(folder_, "a.bam"), text(folder_, "a.bai")));
  Inputs list = good({"Header", "Quality"});
  list[4] = host::make_column<std::uint32_t>({1});
  const Outputs outputs = call(list, 2);
  EXPECT_EQ(texts_of(outputs[0]), (Texts{"r\xff\xc3\xa9"}));
  EXPECT_EQ(texts_of(outputs[1]), (Texts{"\xe9\x7f"}));
}

// ---- Names -------------------------------------------------------------------------------------

TEST_F(GetFeatures, NoNamesGiveNoOutputsButTheQueryRuns) {
  const Outputs outputs = call(good({}), 2);
  EXPECT_EQ(outputs[0], nullptr);
  EXPECT_EQ(outputs[1], nullptr);
  folder_.write("a.bam", BamBuilder()
                             .refs(2, 9)
                             .record(RecordBuilder().at(1, 99))
                             .record(RecordBuilder().l_seq(-1))
                             .bytes());
  folder_.write("a.bai", encode_bai({.refs = {}}));
  EXPECT_CALL_FAILS(call(good({})), "seqlab:readkit:InvalidBAMFormat", folder_.path("a.bam"));
}

TEST_F(GetFeatures, NamesComeAsACellAStringArrayOrOneText) {
  const Inputs strings = with(2, host::make_string_array({1, 2}, {u"Flag", u"Header"}));
  const Outputs outputs = call(strings, 2);
  EXPECT_EQ(column_of<std::uint16_t>(outputs[0]).size(), 3U);
  EXPECT_EQ(texts_of(outputs[1]).size(), 3U);
  EXPECT_EQ(column_of<std::uint16_t>(call(with(2, text("Flag")))[0]).size(), 3U);
  EXPECT_EQ(column_of<std::uint16_t>(call(with(2, host::make_string(u"Flag")))[0]).size(), 3U);
}

TEST_F(GetFeatures, UnknownNameIsReportedThroughTheHostsErrorCall) {
  for (const char* name : {"flag", "Flags", " Flag", "", "Flag\xc3\xa9"}) {
    EXPECT_CALL_FAILS(call(good({"Position", name})), kUnknownFeature);
    try {
      call(good({name}));
    } catch (const host::HostError& error) {
      EXPECT_EQ(error.text(), "getfeaturesinrefbyindex:Unknown feature type.");
    }
  }
}

TEST_F(GetFeatures, UnknownNameIsReportedAlsoWithoutOrdinals) {
  Inputs list = good({"Nothing"});
  list[4] = host::make_column<std::uint32_t>({});
  EXPECT_CALL_FAILS(call(list), kUnknownFeature);
}

TEST_F(GetFeatures, UnknownNameIsReportedAfterTheFilesAreOpened) {
  EXPECT_CALL_FAILS(call(with(0, text(folder_, "no.bam"), {"Nothing"})),
                    "seqlab:readkit:FileNotFound", folder_.path("no.bam"));
  EXPECT_CALL_FAILS(call(with(1, text(folder_, "no.bai"), {"Nothing"})),
                    "seqlab:readkit:FileNotFound", folder_.path("no.bai"));
}

TEST_F(GetFeatures, MoreThanElevenNamesRaiseTooManyOutputs) {
  EXPECT_EQ(texts_of(call(good(Texts(11, "Header")), 11)[10]).size(), 3U);
  EXPECT_CALL_FAILS(call(good(Texts(12, "Header"))), "seqlab:readkit:TooManyOutputs");
  EXPECT_CALL_FAILS(call(good(Texts(17, "Header")), 0), "seqlab:readkit:TooManyOutputs");
  EXPECT_CALL_FAILS(call(good(Texts(10000, "Flag"))), "seqlab:readkit:TooManyOutputs");
}

TEST_F(GetFeatures, NamesThatAreNoTextsRaiseMustBeString) {
  std::vector<host::Owned> cells;
  cells.push_back(text("Flag"));
  cells.push_back(host::make_scalar(1.0));
  EXPECT_CALL_FAILS(call(with(2, host::make_scalar(1.0))),
                    "Tessel:string:MustBeStringScalarOrCharacterVector");
  const Inputs mixed = with(2, host::make_cell({2, 1}, std::move(cells)));
  EXPECT_CALL_FAILS(call(mixed), "Tessel:string:MustBeStringScalarOrCharacterVector");
  EXPECT_CALL_FAILS(call(with(2, host::make_string_array({1, 2}, {u"Flag", std::nullopt}))),
                    "Tessel:string:MissingNotSupported");
}

// ---- File names --------------------------------------------------------------------------------

TEST_F(GetFeatures, BaiIsAppendedToAnIndexNameWithoutIt) {
  folder_.write("x.bai", folder_.read("a.bai"));
  EXPECT_NE(call(with(1, text(folder_, "x")))[0], nullptr);
  folder_.write("x.BAI.bai", folder_.read("a.bai"));
  EXPECT_NE(call(with(1, text(folder_, "x.BAI")))[0], nullptr);
  EXPECT_CALL_FAILS(call(with(1, text(folder_, "y.BAI"))), "seqlab:readkit:FileNotFound",
                    folder_.path("y.BAI.bai"));
}

TEST_F(GetFeatures, IndexNameShorterThanFourCharactersRaisesOutOfRangeBeforeAnyFileIsOpened) {
  Inputs list = with(1, text("bai"));
  list[0] = text(folder_, "no.bam");
  EXPECT_CALL_FAILS(call(list), "Tessel:cpp:out_of_range", "basic_string");
}

TEST_F(GetFeatures, IndexNameIsConvertedBeforeTheFilesName) {
  Inputs list = with(1, host::make_scalar(1.0));
  list[0] = host::make_string(std::nullopt);
  EXPECT_CALL_FAILS(call(list), "Tessel:string:MustBeStringScalarOrCharacterVector");
}

TEST_F(GetFeatures, EmptyFileNameRaisesFileNotFound) {
  EXPECT_CALL_FAILS(call(with(0, text(""))), "seqlab:readkit:FileNotFound", u"");
}

TEST_F(GetFeatures, ErrorsOfReadingTheIndexTravel) {
  folder_.write("bad.bai", "BAI\2xxxx");
  EXPECT_CALL_FAILS(call(with(1, text(folder_, "bad.bai"))), "seqlab:readkit:InvalidBAIFormat",
                    folder_.path("bad.bai"));
  folder_.write("bad.bai", std::string("BAI\1\1\0\0\0", 8));
  EXPECT_CALL_FAILS(call(with(1, text(folder_, "bad.bai"))), "seqlab:readkit:BAIRead",
                    folder_.path("bad.bai"));
}

TEST_F(GetFeatures, IndexOfAnotherFileIsTreatedAsNoIndex) {
  // One reference instead of two: without an index every record is read.
  folder_.write("other.bai", encode_bai({.refs = {{}}}));
  EXPECT_EQ(texts_of(call(with(1, text(folder_, "other.bai"), {"Header"}))[0]),
            (Texts{"first", "second", "third"}));
}

// ---- Numbers -----------------------------------------------------------------------------------

TEST_F(GetFeatures, ReferenceIsTruncatedTowardZero) {
  EXPECT_EQ(texts_of(call(with(3, host::make_scalar(1.99), {"Header"}))[0]).at(0), "first");
  Inputs list = with(3, host::make_scalar(-0.99), {"Header"});
  list[4] = host::make_column<std::uint32_t>({1});
  list[5] = host::make_column<std::uint32_t>({9});
  EXPECT_EQ(texts_of(call(list)[0]), (Texts{"other"}));
}

TEST_F(GetFeatures, ReferenceOutsideTheFileFindsNothing) {
  for (const double ref : {2.0, -1.0, 1e300, -1e300}) {
    EXPECT_EQ(column_of<std::uint32_t>(call(with(3, host::make_scalar(ref)))[0]),
              (Ordinals{0, 0, 0}))
        << ref;
  }
}

TEST_F(GetFeatures, ReferenceThatIsNoNumberRaisesInvalidInputType) {
  EXPECT_CALL_FAILS(call(with(3, text("1"))), "seqlab:readkit:InvalidInputType", u"reference",
                    u"double");
  EXPECT_CALL_FAILS(call(with(3, host::make_row<double>({}))), "seqlab:readkit:InvalidInputType",
                    u"reference", u"double");
}

TEST_F(GetFeatures, ListsOfNarrowerClassesRaiseInvalidInputType) {
  EXPECT_CALL_FAILS(call(with(4, host::make_row<std::uint16_t>({1, 2}))),
                    "seqlab:readkit:InvalidInputType", u"ordinals", u"uint32");
  EXPECT_CALL_FAILS(call(with(5, host::make_row<std::uint8_t>({1, 2}))),
                    "seqlab:readkit:InvalidInputType", u"starts", u"uint32");
  EXPECT_CALL_FAILS(call(with(4, text("1"))), "seqlab:readkit:InvalidInputType", u"ordinals",
                    u"uint32");
}

TEST_F(GetFeatures, ListsOfOtherClassesAreReadAsTheirBytesStand) {
  Inputs list = with(4, host::make_row<std::int32_t>({1, 3}));
  list[5] = host::make_row<std::int32_t>({99, 100, 200});
  EXPECT_EQ(column_of<std::uint32_t>(call(list)[0]), (Ordinals{100, 201}));
}

TEST_F(GetFeatures, RowsMatricesAndColumnsAreListsOfTheirElements) {
  const std::vector<std::uint32_t> ordinals = {1, 3};
  EXPECT_EQ(
      column_of<std::uint32_t>(call(with(4, host::make_array<std::uint32_t>({1, 2}, ordinals)))[0]),
      (Ordinals{100, 201}));
  const std::vector<std::uint32_t> four = {1, 2, 3, 3};
  EXPECT_EQ(
      column_of<std::uint32_t>(call(with(4, host::make_array<std::uint32_t>({2, 2}, four)))[0]),
      (Ordinals{100, 101, 201, 0}));
}

// ---- Failures after outputs were made ----------------------------------------------------------

TEST_F(GetFeatures, ErrorDuringTheQueryLeavesNoOutputBehind) {
  folder_.write("a.bam", BamBuilder()
                             .refs(2, 9)
                             .record(RecordBuilder("first").at(1, 99))
                             .record(RecordBuilder().l_seq(-1))
                             .bytes());
  folder_.write("a.bai", encode_bai({.refs = {}}));
  EXPECT_CALL_FAILS(call(good({"Header", "Flag", "Sequence"}), 3),
                    "seqlab:readkit:InvalidBAMFormat", folder_.path("a.bam"));
}

}  // namespace
}  // namespace readkit::gateway_get_features_test
