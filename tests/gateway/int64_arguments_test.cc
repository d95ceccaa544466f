// Arguments that are 64-bit integers, of any numeric class.
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "gateway/arguments.h"
#include "support/gateway_calls.h"

namespace readkit::gateway_int64_arguments_test {
namespace {

using host::Owned;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

constexpr std::int64_t kLeastInt64 = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMostInt64 = std::numeric_limits<std::int64_t>::max();

template <typename T>
std::int64_t int64_of(T value) {
  return int64_argument(host::make_scalar(value).get(), "x");
}
template <typename T>
std::vector<std::int64_t> int64s_of(const std::vector<T>& values) {
  return int64_list_argument(host::make_column(values).get(), values.size(), "list");
}
using Int64s = std::vector<std::int64_t>;

TEST(Int64Argument, FirstElementOfAnyNumericOrLogicalClassIsTaken) {
  EXPECT_EQ(int64_of(true), 1);
  EXPECT_EQ(int64_of(false), 0);
  EXPECT_EQ(int64_of<std::int8_t>(-128), -128);
  EXPECT_EQ(int64_of<std::uint8_t>(255), 255);
  EXPECT_EQ(int64_of<std::int16_t>(-32768), -32768);
  EXPECT_EQ(int64_of<std::uint16_t>(65535), 65535);
  EXPECT_EQ(int64_of<std::int32_t>(-2147483647 - 1), -2147483648LL);
  EXPECT_EQ(int64_of<std::uint32_t>(4294967295U), 4294967295LL);
  EXPECT_EQ(int64_of(-3.0F), -3);
  EXPECT_EQ(int64_of(-3.0), -3);
  EXPECT_EQ(int64_argument(host::make_row<double>({7, 8, 9}).get(), "x"), 7);
}

TEST(Int64Argument, Integers64BitsWideAreExact) {
  for (const std::int64_t value :
       {kLeastInt64, kLeastInt64 + 1, (std::int64_t{1} << 53) + 1, kMostInt64 - 1, kMostInt64}) {
    EXPECT_EQ(int64_of(value), value);
  }
  EXPECT_EQ(int64_of<std::uint64_t>(9007199254740993U), 9007199254740993LL);
  EXPECT_EQ(int64_of<std::uint64_t>(9223372036854775806U), kMostInt64 - 1);
}

TEST(Int64Argument, ValuesBeyond64BitsSaturate) {
  EXPECT_EQ(int64_of<std::uint64_t>(9223372036854775807U), kMostInt64);
  EXPECT_EQ(int64_of<std::uint64_t>(9223372036854775808U), kMostInt64);
  EXPECT_EQ(int64_of<std::uint64_t>(18446744073709551615U), kMostInt64);
  EXPECT_EQ(int64_of(9223372036854775808.0), kMostInt64);
  EXPECT_EQ(int64_of(9223372036854774784.0), 9223372036854774784LL);  // the double below
  EXPECT_EQ(int64_of(-9223372036854775808.0), kLeastInt64);
  EXPECT_EQ(int64_of(-9223372036854777856.0), kLeastInt64);
  EXPECT_EQ(int64_of(1e300), kMostInt64);
  EXPECT_EQ(int64_of(-1e38F), kLeastInt64);
  EXPECT_EQ(int64_of(kInfinity), kMostInt64);
  EXPECT_EQ(int64_of(-kInfinity), kLeastInt64);
}

TEST(Int64Argument, FractionsAreCutTowardsZeroAndNaNIsZero) {
  EXPECT_EQ(int64_of(1.9), 1);
  EXPECT_EQ(int64_of(-1.9), -1);
  EXPECT_EQ(int64_of(-0.5), 0);
  EXPECT_EQ(int64_of(-2.5F), -2);
  EXPECT_EQ(int64_of(4503599627370495.5), 4503599627370495LL);
  EXPECT_EQ(int64_of(kNaN), 0);
  EXPECT_EQ(int64_of(std::nanf("")), 0);
}

TEST(Int64Argument, EmptyArraysRaiseInvalidInputType) {
  EXPECT_KIND(int64_argument(host::make_column<double>({}).get(), "offset"), InvalidInputType,
              u"offset", u"double");
  EXPECT_KIND(int64_argument(host::make_row<std::int64_t>({}).get(), "offset"), InvalidInputType,
              u"offset", u"double");
}

TEST(Int64ListArgument, ElementsOfAnyNumericOrLogicalClass) {
  EXPECT_EQ(int64s_of<std::int8_t>({-1, 2}), (Int64s{-1, 2}));
  EXPECT_EQ(int64s_of<std::uint8_t>({1, 255}), (Int64s{1, 255}));
  EXPECT_EQ(int64s_of<std::int16_t>({-1, 2}), (Int64s{-1, 2}));
  EXPECT_EQ(int64s_of<std::uint16_t>({1, 65535}), (Int64s{1, 65535}));
  EXPECT_EQ(int64s_of<std::int32_t>({-1, 2}), (Int64s{-1, 2}));
  EXPECT_EQ(int64s_of<std::uint32_t>({1, 4294967295U}), (Int64s{1, 4294967295LL}));
  EXPECT_EQ(int64s_of<std::int64_t>({kLeastInt64, kMostInt64}), (Int64s{kLeastInt64, kMostInt64}));
  EXPECT_EQ(int64s_of<std::uint64_t>({5, 18446744073709551615U}), (Int64s{5, kMostInt64}));
  EXPECT_EQ(int64s_of<float>({-1.5F, std::nanf("")}), (Int64s{-1, 0}));
  EXPECT_EQ(int64s_of<double>({2.9, -kInfinity, kNaN}), (Int64s{2, kLeastInt64, 0}));
  const bool truths[] = {true, false, true};
  const Owned logical = host::make_array<bool>({1, 3}, truths);
  EXPECT_EQ(int64_list_argument(logical.get(), 3, "list"), (Int64s{1, 0, 1}));
}

TEST(Int64ListArgument, OnlyTheFirstElementsAreTaken) {
  const Owned list = host::make_column<double>({4, 5, 6});
  EXPECT_EQ(int64_list_argument(list.get(), 2, "list"), (Int64s{4, 5}));
  EXPECT_EQ(int64_list_argument(list.get(), 3, "list"), (Int64s{4, 5, 6}));
  EXPECT_EQ(int64_list_argument(list.get(), 0, "list"), Int64s());
  EXPECT_EQ(int64_list_argument(host::make_column<double>({}).get(), 0, "list"), Int64s());
  const std::vector<std::int64_t> six = {1, 2, 3, 4, 5, 6};
  const Owned matrix = host::make_array<std::int64_t>({2, 3}, six);
  EXPECT_EQ(int64_list_argument(matrix.get(), 5, "list"), (Int64s{1, 2, 3, 4, 5}));
}

TEST(Int64ListArgument, ArraysThatAreNoNumbersRaiseInvalidInputType) {
  std::vector<Owned> arrays;
  arrays.push_back(host::make_text("1"));
  arrays.push_back(host::make_string(u"1"));
  arrays.push_back(host::make_cell_of_texts({"1"}));
  arrays.push_back(host::make_struct({}));
  for (const Owned& a : arrays) {
    EXPECT_KIND(int64_list_argument(a.get(), 1, "selected"), InvalidInputType, u"selected",
                u"int64");
    EXPECT_KIND(int64_list_argument(a.get(), 0, "selected"), InvalidInputType, u"selected",
                u"int64");
    EXPECT_KIND(int64_argument(a.get(), "option"), InvalidInputType, u"option", u"double");
  }
}

}  // namespace
}  // namespace readkit::gateway_int64_arguments_test
