// The inputs of scanQualities: their classes and ranges, and the order in which they are looked at.
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/quality_scan_calls.h"

namespace readkit::quality_scan_arguments_test {
namespace {

constexpr char kWrongType[] = "seqlab:readkit:InvalidInputType";
constexpr char kInvalidData[] = "seqlab:scanqualities:InvalidData";
constexpr char kWrongSource[] = "seqlab:scanqualities:InvalidDataSourceType";

constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max();

class ScanArguments : public SmallScans {
 protected:
  // Inputs of a call that works, with one exchanged.
  Inputs with(std::size_t place, host::Owned input) const {
    Inputs list = options_.inputs(folder_);
    list.at(place) = std::move(input);
    return list;
  }
  static Outputs call(const Inputs& list) { return call_gateway("scanQualities", 6, list); }
  // The number of reads of a call, or the identifier of its error.
  static std::string outcome(const Inputs& list) {
    try {
      return std::to_string(static_cast<int>(scalar_of<double>(call(list)[4])));
    } catch (const host::HostError& error) {
      return error.identifier();
    }
  }
};

// ---- Counts ------------------------------------------------------------------------------------

TEST_F(ScanArguments, WrongCountsRaiseTheErrorsOfCounts) {
  for (const int change : {-14, -1, 1}) {
    Inputs list = options_.inputs(folder_);
    list.resize(static_cast<std::size_t>(14 + change));
    if (change > 0) list.back() = host::make_scalar(1.0);
    EXPECT_CALL_FAILS(call(list), "seqlab:readkit:InvalidArgCount", u"scanQualities");
    EXPECT_CALL_FAILS(call_gateway("scanQualities", 7, list), "seqlab:readkit:InvalidArgCount",
                      u"scanQualities");
  }
  EXPECT_CALL_FAILS(scan(7), "seqlab:readkit:TooManyOutputs");
}

// ---- Classes -----------------------------------------------------------------------------------

template <typename T>
class ScanNumbers : public SmallScans {};
using NumberTypes =
    testing::Types<double, float, std::int8_t, std::uint8_t, std::int16_t, std::uint16_t,
                   std::int32_t, std::uint32_t, std::int64_t, std::uint64_t>;
TYPED_TEST_SUITE(ScanNumbers, NumberTypes);

TYPED_TEST(ScanNumbers, EveryNumericClassIsTakenByValue) {
  const auto number = [](int value) { return host::make_scalar(static_cast<TypeParam>(value)); };
  this->options_.selected = {0, 2};
  this->options_.selected_count = 2;
  this->options_.ignore_value = 1;
  this->options_.min_average = 1;
  this->options_.min_length = 2;
  this->options_.scan_end = 3;
  const Inputs plain = this->options_.inputs(this->folder_);
  const Outputs expected = call_gateway("scanQualities", 6, plain);
  EXPECT_EQ(matrix_of(expected[5], 2, 2), (Values{2, 4, 1, 1}));
  // A read length of four fixes the same span.
  const Outputs found =
      call_gateway("scanQualities", 6,
                   inputs(number(1), text(this->folder_, "a.fastq"), number(0), number(3),
                          number(33), number(1), number(4), number(1), number(2),
                          host::make_column(std::vector<TypeParam>{TypeParam{0}, TypeParam{2}}),
                          number(2), number(9), number(9), number(0)));
  EXPECT_EQ(values_of(found), values_of(expected));
}

TYPED_TEST(ScanNumbers, SpanIsTakenByValue) {
  const auto number = [](int value) { return host::make_scalar(static_cast<TypeParam>(value)); };
  Inputs list = this->options_.inputs(this->folder_);
  list[11] = number(1);
  list[12] = number(2);
  EXPECT_EQ(matrix_of(call_gateway("scanQualities", 6, list)[5], 2, 2), (Values{1, 2, 1, 3}));
}

TEST_F(ScanArguments, TruthValuesAreNumbers) {
  EXPECT_EQ(outcome(with(0, host::make_scalar(true))), "4");
  EXPECT_EQ(outcome(with(11, host::make_scalar(true))), "4");
  Inputs list = with(8, host::make_scalar(true));
  const bool selected[] = {true};
  list[9] = host::make_array<bool>({1, 1}, selected);
  EXPECT_EQ(matrix_of(call(list)[5], 1, 2), (Values{3, 1}));
}

TEST_F(ScanArguments, FractionsAreCutOff) {
  EXPECT_EQ(outcome(with(0, host::make_scalar(1.9))), "4");
  EXPECT_EQ(outcome(with(4, host::make_scalar(33.9))), "4");
  EXPECT_EQ(matrix_of(call(with(3, host::make_scalar(3.9)))[0], 1, 3), (Values{0, 2, 2}));
}

TEST_F(ScanArguments, FirstElementOfALongerArrayCounts) {
  EXPECT_EQ(outcome(with(10, host::make_row<std::int64_t>({3, 9}))), "3");
  EXPECT_EQ(outcome(with(7, host::make_column<double>({3, 0}))), "1");
}

struct Setting {
  std::size_t place;
  const char16_t* name;
};
constexpr Setting kSettings[] = {{0, u"sourceType"}, {2, u"minQuality"},    {3, u"maxQuality"},
                                 {4, u"offset"},     {5, u"ignoreValue"},   {6, u"readLength"},
                                 {7, u"minAverage"}, {8, u"selectedCount"}, {10, u"minLength"},
                                 {11, u"scanStart"}, {12, u"scanEnd"},      {13, u"flag"}};

TEST_F(ScanArguments, WhatIsNoNumberRaisesInvalidInputType) {
  for (const auto& [place, name] : kSettings) {
    SCOPED_TRACE(place);
    std::vector<host::Owned> bad;
    bad.push_back(text("1"));
    bad.push_back(host::make_string(u"1"));
    bad.push_back(host::make_string(std::nullopt));
    bad.push_back(host::make_cell_of_texts({"1"}));
    bad.push_back(host::make_struct({}));
    bad.push_back(host::make_row<double>({}));
    bad.push_back(host::make_row<std::int64_t>({}));
    for (host::Owned& input : bad) {
      const Inputs list = with(place, std::move(input));
      EXPECT_CALL_FAILS(call(list), kWrongType, name, u"double");
    }
  }
}

TEST_F(ScanArguments, SettingsAreLookedAtInTheirOrder) {
  Inputs list = options_.inputs(folder_);
  list[9] = text("1");
  for (std::size_t i = std::size(kSettings); i-- > 0;) {
    const auto& [place, name] = kSettings[i];
    list.at(place) = text("1");
    EXPECT_CALL_FAILS(call(list), kWrongType, name, u"double");
  }
}

// ---- Selected numbers --------------------------------------------------------------------------

TEST_F(ScanArguments, ListShorterThanAnnouncedRaisesInvalidData) {
  options_.selected = {0, 1};
  for (const std::int64_t count : {std::int64_t{3}, std::int64_t{1} << 40, kHighest}) {
    options_.selected_count = count;
    EXPECT_CALL_FAILS(scan(6), kInvalidData);
  }
  options_.selected = {};
  options_.selected_count = 1;
  EXPECT_CALL_FAILS(scan(6), kInvalidData);
}

TEST_F(ScanArguments, ListIsNotLookedAtWhereNoneIsAnnounced) {
  for (const std::int64_t count : {0, -1}) {
    options_.selected_count = count;
    const std::string expected = count == 0 ? "0" : "4";
    EXPECT_EQ(outcome(with(9, text("x"))), expected);
    EXPECT_EQ(outcome(with(9, host::make_cell_of_texts({"1"}))), expected);
    EXPECT_EQ(outcome(with(9, host::make_struct({}))), expected);
  }
}

TEST_F(ScanArguments, ListThatHoldsNoNumbersRaisesInvalidInputType) {
  options_.selected_count = 1;
  std::vector<host::Owned> bad;
  bad.push_back(text("1"));
  bad.push_back(host::make_string(u"1"));
  bad.push_back(host::make_cell_of_texts({"1"}));
  bad.push_back(host::make_struct({}));
  for (host::Owned& input : bad) {
    const Inputs list = with(9, std::move(input));
    EXPECT_CALL_FAILS(call(list), kWrongType, u"selected", u"int64");
  }
}

// ---- Sources -----------------------------------------------------------------------------------

TEST_F(ScanArguments, UnknownSourceTypeRaisesInvalidDataSourceType) {
  for (const std::int64_t type : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{5},
                                  (std::int64_t{1} << 32) + 1, kLowest, kHighest}) {
    options_.type = type;
    EXPECT_CALL_FAILS(scan(6), kWrongSource);
    EXPECT_CALL_FAILS(call(with(1, host::make_scalar(1.0))), kWrongSource);
  }
  EXPECT_CALL_FAILS(call(with(0, host::make_scalar(0.9))), kWrongSource);
  EXPECT_CALL_FAILS(call(with(0, host::make_scalar(std::nan("")))), kWrongSource);
}

TEST_F(ScanArguments, SettingsComeBeforeTheSource) {
  options_.type = 9;
  EXPECT_CALL_FAILS(call(with(13, text("1"))), kWrongType, u"flag", u"double");
  options_.selected_count = 1;
  EXPECT_CALL_FAILS(scan(6), kInvalidData);
  options_.selected_count = -1;
  options_.max_quality = -1;
  EXPECT_CALL_FAILS(scan(6), kInvalidData);
  options_.type = 1;
  options_.source = "no.fastq";
  EXPECT_CALL_FAILS(scan(6), kInvalidData);
  options_.max_quality = 3;
  EXPECT_CALL_FAILS(scan(6), "seqlab:scanqualities:UnableToOpenFile", folder_.path("no.fastq"));
}

TEST_F(ScanArguments, FileNameThatIsNoTextRaisesTheErrorsOfText) {
  for (options_.type = 1; options_.type <= 3; ++options_.type) {
    EXPECT_CALL_FAILS(call(with(1, host::make_scalar(1.0))),
                      "Tessel:string:MustBeStringScalarOrCharacterVector");
    EXPECT_CALL_FAILS(call(with(1, small_struct())),
                      "Tessel:string:MustBeStringScalarOrCharacterVector");
    EXPECT_CALL_FAILS(call(with(1, host::make_string(std::nullopt))),
                      "Tessel:string:MissingNotSupported");
  }
}

TEST_F(ScanArguments, ErrorsOfTheSourcePassOnAndLeaveNothing) {
  folder_.write("bad.fastq", "@\nAC\n+\n##\n@\nAC\n+\n#\n");
  options_.source = "bad.fastq";
  EXPECT_CALL_FAILS(scan(6), kInvalidData);
  options_.source = "no";
  options_.type = 2;
  EXPECT_CALL_FAILS(scan(6), "seqlab:readkit:FileNotFound", folder_.path("no"));
  options_.type = 3;
  EXPECT_CALL_FAILS(scan(6), "seqlab:readkit:FileNotFound", folder_.path("no"));
  options_.source = "a.sam";
  EXPECT_CALL_FAILS(scan(6), "seqlab:readkit:InvalidBAMFormat", folder_.path("a.sam"));
  options_.source = "a.fastq";
  options_.type = 2;
  EXPECT_CALL_FAILS(scan(6), "seqlab:readkit:InvalidSAMFormat", folder_.path("a.fastq"));
  options_.type = 4;
  EXPECT_CALL_FAILS(scan(6), "seqlab:scanqualities:MemoryDataInvalid");
}

TEST_F(ScanArguments, AverageWithoutAPlaceRaisesOutOfRange) {
  folder_.write("a.fastq", "@\nAC\n+\n##\n");
  options_.min_quality = options_.max_quality = 2;
  const LeakCheck leaks;
  EXPECT_EQ(outcome(options_.inputs(folder_)), "Tessel:cpp:out_of_range");
}

// ---- Numbers out of range ----------------------------------------------------------------------

TEST_F(ScanArguments, NumbersAtTheEndsOfTheirRange) {
  struct Row {
    std::size_t place;
    std::string lowest;
    std::string highest;
  };
  const Row rows[] = {
      {2, kInvalidData, kInvalidData},  // a table that nothing can hold; more than the most
      {3, kInvalidData, kInvalidData},
      {4, kInvalidData, kInvalidData},  // no character is in range
      {5, "4", "4"},                    // nothing is ignored
      {6, kInvalidData, kInvalidData},
      {8, "4", kInvalidData},  // no selection; a list that is shorter
      {10, "4", "0"},
      {11, "4", kInvalidData},
      {12, kInvalidData, kInvalidData},
      {13, "4", "4"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.place);
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(outcome(with(row.place, host::make_scalar(kLowest))), row.lowest);
    EXPECT_EQ(outcome(with(row.place, host::make_scalar(-infinity))), row.lowest);
    EXPECT_EQ(outcome(with(row.place, host::make_scalar(-1e300))), row.lowest);
    EXPECT_EQ(outcome(with(row.place, host::make_scalar(kHighest))), row.highest);
    EXPECT_EQ(outcome(with(row.place, host::make_scalar(infinity))), row.highest);
    EXPECT_EQ(
        outcome(with(row.place, host::make_scalar(std::numeric_limits<std::uint64_t>::max()))),
        row.highest);
  }
}

TEST_F(ScanArguments, LeastAverageMayBeInfinite) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(outcome(with(7, host::make_scalar(infinity))), "0");
  EXPECT_EQ(outcome(with(7, host::make_scalar(-infinity))), "4");
}

TEST_F(ScanArguments, NanCountsAsZero) {
  const auto nan = [] { return host::make_scalar(std::nan("")); };
  EXPECT_EQ(outcome(with(2, nan())), "4");
  EXPECT_EQ(outcome(with(4, nan())), kInvalidData);
  EXPECT_EQ(outcome(with(7, nan())), "4");
  EXPECT_EQ(outcome(with(8, nan())), "0");
  EXPECT_EQ(outcome(with(10, nan())), "4");
  EXPECT_EQ(outcome(with(11, nan())), "4");
  // The first position alone.
  EXPECT_EQ(matrix_of(call(with(12, nan()))[5], 1, 2), (Values{1, 4}));
  options_.type = 2;
  folder_.write("a.fastq", "r\t4\t*\t0\t0\t*\t*\t0\t0\tACG\t###\n");
  EXPECT_EQ(outcome(with(13, nan())), "0");
}

TEST_F(ScanArguments, RangeUpsideDownRaisesInvalidData) {
  options_.min_quality = 4;
  EXPECT_CALL_FAILS(scan(6), kInvalidData);
  options_.min_quality = 41;
  options_.max_quality = -5;
  EXPECT_CALL_FAILS(scan(6), kInvalidData);
}

TEST_F(ScanArguments, TablesBeyondTheirLimitRaiseInvalidData) {
  // Four rows of 2^31 entries at most, and 2^31 / 1000 rows.
  options_.read_length = (std::int64_t{1} << 29) + 1;
  EXPECT_CALL_FAILS(scan(6), kInvalidData);
  options_.read_length = std::int64_t{1} << 32;  // 0 in 32 bits
  EXPECT_CALL_FAILS(scan(6), kInvalidData);
  options_.read_length = -2;
  EXPECT_CALL_FAILS(scan(6), kInvalidData);
  options_.read_length = -1;
  options_.max_quality = (std::int64_t{1} << 31) / 1000;
  EXPECT_CALL_FAILS(scan(6), kInvalidData);
}

TEST_F(ScanArguments, SpanOutside32BitsRaisesInvalidData) {
  for (const std::int64_t position : {std::int64_t{1} << 31, std::int64_t{1} << 32}) {
    EXPECT_EQ(outcome(with(11, host::make_scalar(position))), kInvalidData);
    EXPECT_EQ(outcome(with(12, host::make_scalar(position))), kInvalidData);
  }
  EXPECT_EQ(outcome(with(12, host::make_scalar((std::int64_t{1} << 31) - 1))), "4");
  EXPECT_EQ(outcome(with(11, host::make_scalar((std::int64_t{1} << 31) - 1))), "4");
}

}  // namespace
}  // namespace readkit::quality_scan_arguments_test
