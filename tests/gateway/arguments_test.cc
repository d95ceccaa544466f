#include "gateway/arguments.h"

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/gateway_calls.h"

namespace readkit::gateway_arguments_test {
namespace {

using host::Owned;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// ---- Counts ------------------------------------------------------------------------------------

TEST(ValidateArgcount, CountsWithinTheLimitsPass) {
  EXPECT_NO_THROW(validate_argcount(u"f", 2, 2, 3, 1, 1));
  EXPECT_NO_THROW(validate_argcount(u"f", 3, 2, 3, 0, 1));
}

TEST(ValidateArgcount, InputCountOutsideTheRangeRaisesInvalidArgCountWithTheName) {
  EXPECT_KIND(validate_argcount(u"f", 1, 2, 3, 0, 0), InvalidArgCount, u"f");
  EXPECT_KIND(validate_argcount(u"gé", 4, 2, 3, 0, 0), InvalidArgCount, u"gé");
}

TEST(ValidateArgcount, TooManyOutputsRaiseTooManyOutputsWithoutArguments) {
  EXPECT_KIND(validate_argcount(u"f", 2, 2, 3, 2, 1), TooManyOutputs);
}

TEST(ValidateArgcount, InputsAreCheckedFirst) {
  EXPECT_KIND(validate_argcount(u"f", 4, 2, 3, 9, 1), InvalidArgCount, u"f");
}

// Every gateway function, with the name that it reports and its limits.
struct Limits {
  const char* gateway;
  const char16_t* name;
  int min_in;
  int max_in;
  int max_out;
};
constexpr Limits kLimits[] = {
    {"getReferenceID", u"getReferenceID", 2, 2, 1},
    {"getNumReferences", u"getNumReferences", 1, 1, 1},
    {"getReferenceString", u"getReferenceString", 2, 2, 1},
    {"getFeatures", u"getFeatures", 6, 6, 11},
    {"getFeatureCountData", u"getFeatureCountData", 5, 5, 9},
    {"getStartsInReference", u"getStartsInReference", 3, 3, 3},
    {"getHeader", u"getHeader", 1, 1, 3},
    {"samWrite", u"samWrite", 6, 6, 0},
    {"samWriteUnaligned", u"samWriteUnaligned", 3, 3, 0},
    {"bamIndex", u"bamIndex", 2, 2, 0},
    {"convertFormat", u"convertFormat", 5, 6, 0},
    {"samToBam", u"samToBam", 2, 2, 0},
    {"bamSort", u"bamSort", 2, 2, 0},
    {"samSort", u"samSort", 2, 2, 0},
    {"kxBamIndexComplete", u"kxBamIndexComplete", 2, 2, 0},
    {"kxBamShuffle", u"bamshuffle", 2, 2, 0},
    {"kxBamShuffleSeeded", u"kxBamShuffleSeeded", 3, 3, 0},
    {"kxCheck", u"kxCheck", 1, 2, 1},
    {"kxFields", u"kxFields", 6, 7, 16},
    {"kxSamWriteRegions", u"kxSamWriteRegions", 7, 7, 0},
    {"bamInfo", u"bamInfo", 1, 1, 2},
    {"samInfo", u"samInfo", 1, 1, 3},
    {"scanQualities", u"scanQualities", 14, 14, 6},
};

class GatewayCounts : public testing::TestWithParam<Limits> {
 protected:
  // Numbers, which are no file names: a call whose counts pass fails on the first of them.
  static Inputs numbers(int count) {
    Inputs list;
    for (int i = 0; i < count; ++i) list.push_back(host::make_scalar(0.0));
    return list;
  }
  static std::string error_of(int nlhs, int nrhs) {
    try {
      call_gateway(GetParam().gateway, nlhs, numbers(nrhs));
    } catch (const host::HostError& error) {
      return error.identifier();
    }
    return "none";
  }
};

INSTANTIATE_TEST_SUITE_P(All, GatewayCounts, testing::ValuesIn(kLimits),
                         [](const auto& param) { return std::string(param.param.gateway); });

TEST_P(GatewayCounts, OneInputTooFewRaisesInvalidArgCountNamingTheGateway) {
  const Limits& limits = GetParam();
  EXPECT_CALL_FAILS(call_gateway(limits.gateway, 0, numbers(limits.min_in - 1)),
                    "seqlab:readkit:InvalidArgCount", limits.name);
  EXPECT_CALL_FAILS(call_gateway(limits.gateway, 0, {}), "seqlab:readkit:InvalidArgCount",
                    limits.name);
}

TEST_P(GatewayCounts, OneInputTooManyRaisesInvalidArgCountNamingTheGateway) {
  const Limits& limits = GetParam();
  EXPECT_CALL_FAILS(call_gateway(limits.gateway, 0, numbers(limits.max_in + 1)),
                    "seqlab:readkit:InvalidArgCount", limits.name);
}

TEST_P(GatewayCounts, OneOutputTooManyRaisesTooManyOutputs) {
  const Limits& limits = GetParam();
  EXPECT_CALL_FAILS(call_gateway(limits.gateway, limits.max_out + 1, numbers(limits.min_in)),
                    "seqlab:readkit:TooManyOutputs");
  EXPECT_CALL_FAILS(call_gateway(limits.gateway, 100, numbers(limits.min_in)),
                    "seqlab:readkit:TooManyOutputs");
}

TEST_P(GatewayCounts, InputCountIsCheckedBeforeTheOutputs) {
  const Limits& limits = GetParam();
  for (const int nrhs : {limits.min_in - 1, limits.max_in + 1}) {
    EXPECT_CALL_FAILS(call_gateway(limits.gateway, limits.max_out + 1, numbers(nrhs)),
                      "seqlab:readkit:InvalidArgCount", limits.name);
  }
}

TEST_P(GatewayCounts, EveryNumberOfOutputsUpToTheMostPasses) {
  const Limits& limits = GetParam();
  const std::string name = limits.gateway;
  const std::string expected =
      name == "scanQualities"         ? "seqlab:scanqualities:InvalidDataSourceType"
      : name == "getFeatureCountData" ? "seqlab:readkit:InvalidInputType"
                                      : "Tessel:string:MustBeStringScalarOrCharacterVector";
  for (int nlhs = 0; nlhs <= limits.max_out; ++nlhs) {
    EXPECT_EQ(error_of(nlhs, limits.min_in), expected) << nlhs;
  }
}

// ---- Text --------------------------------------------------------------------------------------

TEST(PathArgument, CharacterVectorsAndStringScalarsAreNames) {
  EXPECT_EQ(path_argument(host::make_text("a.bam").get()).text(), u"a.bam");
  EXPECT_EQ(path_argument(host::make_text(u"é𝄞").get()).text(), u"é𝄞");
  EXPECT_EQ(path_argument(host::make_string(u"b.bam").get()).text(), u"b.bam");
  EXPECT_EQ(path_argument(host::make_text("").get()).text(), u"");
}

TEST(PathArgument, CharacterMatricesAreTakenColumnByColumn) {
  const std::u16string_view units = u"abcdef";
  const Owned matrix = host::make_array<char16_t>({2, 3}, {units.data(), units.size()});
  EXPECT_EQ(path_argument(matrix.get()).text(), u"abcdef");
}

// Arrays that are no text.
std::vector<Owned> non_texts() {
  std::vector<Owned> arrays;
  arrays.push_back(host::make_scalar(1.0));
  arrays.push_back(host::make_scalar(true));
  arrays.push_back(host::make_column<std::uint8_t>({97, 98, 99, 100}));
  arrays.push_back(host::make_column<double>({}));
  arrays.push_back(host::make_cell_of_texts({"a.bam"}));
  arrays.push_back(host::make_struct({}));
  arrays.push_back(host::make_string_array({1, 2}, {u"a.bam", u"b.bam"}));
  arrays.push_back(host::make_string_array({0, 0}, {}));
  return arrays;
}

TEST(PathArgument, AnythingElseRaisesMustBeString) {
  for (const Owned& a : non_texts()) {
    EXPECT_KIND(path_argument(a.get()), MustBeStringScalarOrCharacterVector);
    EXPECT_KIND(index_path_argument(a.get()), MustBeStringScalarOrCharacterVector);
    EXPECT_KIND(text_argument(a.get()), MustBeStringScalarOrCharacterVector);
  }
}

TEST(PathArgument, MissingStringRaisesMissingNotSupported) {
  const Owned missing = host::make_string(std::nullopt);
  EXPECT_KIND(path_argument(missing.get()), MissingNotSupported);
  EXPECT_KIND(index_path_argument(missing.get()), MissingNotSupported);
  EXPECT_KIND(text_argument(missing.get()), MissingNotSupported);
}

UString index_name(std::u16string_view given) {
  return index_path_argument(host::make_text(given).get()).text();
}

TEST(IndexPathArgument, NameThatEndsInBaiIsUsedUnchanged) {
  EXPECT_EQ(index_name(u"a.bam.bai"), u"a.bam.bai");
  EXPECT_EQ(index_name(u".bai"), u".bai");
}

TEST(IndexPathArgument, BaiIsAppendedToAnyOtherName) {
  EXPECT_EQ(index_name(u"a.bam"), u"a.bam.bai");
  EXPECT_EQ(index_name(u"a.bai.gz"), u"a.bai.gz.bai");
  EXPECT_EQ(index_name(u"abai"), u"abai.bai");
}

TEST(IndexPathArgument, EndingIsComparedByCase) {
  EXPECT_EQ(index_name(u"a.BAI"), u"a.BAI.bai");
  EXPECT_EQ(index_name(u"a.Bai"), u"a.Bai.bai");
}

TEST(IndexPathArgument, NameShorterThanFourCharactersRaisesOutOfRange) {
  for (const std::u16string_view name : {u"", u"a", u"bai"}) {
    EXPECT_STD(index_name(name), std::out_of_range, "basic_string");
  }
  EXPECT_EQ(index_name(u"abcd"), u"abcd.bai");
}

TEST(TextArgument, TextBecomesBytesAndEscapedBytesComeBack) {
  EXPECT_EQ(text_argument(host::make_text(u"ch\u00e9").get()), "ch\xc3\xa9");
  EXPECT_EQ(text_argument(host::make_text("\xff\x80z").get()), "\xff\x80z");
  EXPECT_EQ(text_argument(host::make_string(u"chr1").get()), "chr1");
}

// ---- Numbers -----------------------------------------------------------------------------------

TEST(ScalarArgument, FirstElementOfAnyNumericOrLogicalClassIsTaken) {
  EXPECT_EQ(scalar_argument(host::make_scalar(1.5).get(), "x"), 1.5);
  EXPECT_EQ(scalar_argument(host::make_scalar(1.5F).get(), "x"), 1.5);
  EXPECT_EQ(scalar_argument(host::make_scalar(true).get(), "x"), 1.0);
  EXPECT_EQ(scalar_argument(host::make_scalar<std::int8_t>(-3).get(), "x"), -3.0);
  EXPECT_EQ(scalar_argument(host::make_scalar<std::uint64_t>(1ULL << 40).get(), "x"),
            1099511627776.0);
  EXPECT_EQ(scalar_argument(host::make_row<double>({7, 8, 9}).get(), "x"), 7.0);
}

TEST(ScalarArgument, NaNCountsAsZero) {
  EXPECT_EQ(scalar_argument(host::make_scalar(kNaN).get(), "x"), 0.0);
  EXPECT_EQ(scalar_argument(host::make_scalar(std::nanf("")).get(), "x"), 0.0);
}

TEST(ScalarArgument, EmptyArraysRaiseInvalidInputType) {
  EXPECT_KIND(scalar_argument(host::make_column<double>({}).get(), "option"), InvalidInputType,
              u"option", u"double");
  EXPECT_KIND(int32_argument(host::make_row<std::uint8_t>({}).get(), "index"), InvalidInputType,
              u"index", u"double");
}

TEST(ScalarArgument, ArraysThatAreNoNumbersRaiseInvalidInputType) {
  std::vector<Owned> arrays;
  arrays.push_back(host::make_text("1"));
  arrays.push_back(host::make_string(u"1"));
  arrays.push_back(host::make_cell_of_texts({"1"}));
  arrays.push_back(host::make_struct({}));
  for (const Owned& a : arrays) {
    EXPECT_KIND(scalar_argument(a.get(), "option"), InvalidInputType, u"option", u"double");
  }
}

TEST(ToInt32, TruncatesTowardZero) {
  EXPECT_EQ(to_int32(1.9), 1);
  EXPECT_EQ(to_int32(-1.9), -1);
  EXPECT_EQ(to_int32(-0.5), 0);
  EXPECT_EQ(to_int32(2147483646.99), 2147483646);
}

TEST(ToInt32, SaturatesAndTakesNaNForZero) {
  EXPECT_EQ(to_int32(2147483647.0), 2147483647);
  EXPECT_EQ(to_int32(2147483648.0), 2147483647);
  EXPECT_EQ(to_int32(kInfinity), 2147483647);
  EXPECT_EQ(to_int32(-2147483648.0), -2147483647 - 1);
  EXPECT_EQ(to_int32(-1e300), -2147483647 - 1);
  EXPECT_EQ(to_int32(-kInfinity), -2147483647 - 1);
  EXPECT_EQ(to_int32(kNaN), 0);
}

TEST(Int32Argument, IsTheTruncatedScalar) {
  EXPECT_EQ(int32_argument(host::make_scalar(-7.9).get(), "x"), -7);
  EXPECT_EQ(int32_argument(host::make_scalar<std::uint32_t>(4294967295U).get(), "x"), 2147483647);
}

std::vector<std::uint32_t> list_of(const Owned& a) {
  const auto list = uint32_list_argument(a.get(), "list");
  return {list.begin(), list.end()};
}

TEST(Uint32ListArgument, ElementsOfAUint32ArrayOfAnyShape) {
  EXPECT_EQ(list_of(host::make_column<std::uint32_t>({3, 4294967295U})),
            (std::vector<std::uint32_t>{3, 4294967295U}));
  const std::vector<std::uint32_t> six = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(list_of(host::make_array<std::uint32_t>({2, 3}, six)), six);
}

TEST(Uint32ListArgument, EmptyArraysOfAnyClassAreEmptyLists) {
  EXPECT_TRUE(list_of(host::make_column<std::uint32_t>({})).empty());
  EXPECT_TRUE(list_of(host::make_column<std::uint8_t>({})).empty());
  EXPECT_TRUE(list_of(host::make_cell({0, 0}, {})).empty());
}

TEST(Uint32ListArgument, WiderClassesAreReadAsTheirBytesStand) {
  EXPECT_EQ(list_of(host::make_column<std::int32_t>({-1, 2})),
            (std::vector<std::uint32_t>{4294967295U, 2}));
  // Two elements: the first eight bytes of sixteen.
  EXPECT_EQ(list_of(host::make_column<std::uint64_t>({1ULL << 32 | 5, 9})),
            (std::vector<std::uint32_t>{5, 1}));
  EXPECT_EQ(list_of(host::make_scalar(1.0)), (std::vector<std::uint32_t>{0}));
  EXPECT_EQ(list_of(host::make_scalar(1.0F)), (std::vector<std::uint32_t>{0x3f800000}));
}

TEST(Uint32ListArgument, ClassesThatStoreFewerBytesRaiseInvalidInputType) {
  std::vector<Owned> arrays;
  arrays.push_back(host::make_scalar<std::uint8_t>(1));
  arrays.push_back(host::make_scalar<std::int8_t>(1));
  arrays.push_back(host::make_scalar<std::uint16_t>(1));
  arrays.push_back(host::make_scalar<std::int16_t>(1));
  arrays.push_back(host::make_scalar(true));
  arrays.push_back(host::make_text("1"));
  arrays.push_back(host::make_string(u"1"));
  arrays.push_back(host::make_cell_of_texts({"1"}));
  arrays.push_back(host::make_struct({}));
  for (const Owned& a : arrays) {
    EXPECT_KIND(uint32_list_argument(a.get(), "ordinals"), InvalidInputType, u"ordinals",
                u"uint32");
  }
}

}  // namespace
}  // namespace readkit::gateway_arguments_test
