// Arrays: reading scalars, changing shapes, and mistaken uses.
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

#include "host/array.h"
#include "tests/host/host_test_support.h"

namespace readkit::host::host_array_access_test {
namespace {

constexpr std::size_t kHuge = std::numeric_limits<std::size_t>::max();

class ArrayAccess : public NothingLeaks {};
class ArrayAccessMisuse : public NothingLeaks {};

template <typename T>
void expect_scalar(T value, double expected) {
  const Owned a = make_scalar(value);
  EXPECT_EQ(txGetScalar(a.get()), expected);
  EXPECT_EQ(data_of<T>(a.get())[0], value);
  EXPECT_EQ(numbers_of(a.get()), std::vector<double>{expected});
}

// ---- Numbers ---------------------------------------------------------------------------------

TEST_F(ArrayAccess, ScalarsOfEveryClassReadAsDouble) {
  expect_scalar(-2.5, -2.5);
  expect_scalar(0.5F, 0.5);
  expect_scalar(std::int8_t{-128}, -128);
  expect_scalar(std::uint8_t{255}, 255);
  expect_scalar(std::int16_t{-32768}, -32768);
  expect_scalar(std::uint16_t{65535}, 65535);
  expect_scalar(std::int32_t{-2147483647}, -2147483647);
  expect_scalar(std::uint32_t{4294967295U}, 4294967295.0);
  expect_scalar(std::int64_t{-5000000000}, -5e9);
  expect_scalar(std::uint64_t{5000000000}, 5e9);
  expect_scalar(true, 1);
}

TEST_F(ArrayAccess, GetScalarTakesTheFirstElement) {
  const Owned a = make_column<std::uint16_t>({7, 8, 9});
  EXPECT_EQ(txGetScalar(a.get()), 7.0);
}

TEST_F(ArrayAccess, ComplexArraysAreNotRealDense) {
  const std::vector<double> real = {1, 2};
  const std::vector<double> imaginary = {3, 4};
  const Owned a = make_complex({1, 2}, real, imaginary);
  EXPECT_FALSE(txIsRealDense(a.get()));
  EXPECT_EQ(numbers_of(a.get()), real);
  EXPECT_EQ(imaginary_of(a.get())[1], 4.0);
  const Owned zeros(txCreateDoubleMatrix(2, 2, txCOMPLEX));
  EXPECT_FALSE(txIsRealDense(zeros.get()));
  EXPECT_EQ(imaginary_of(zeros.get()).size(), 4U);
  EXPECT_TRUE(imaginary_of(make_scalar(1.0).get()).empty());
}

TEST_F(ArrayAccess, ContainersAndStringsAreNotRealDense) {
  EXPECT_FALSE(txIsRealDense(make_cell_of_texts({"a"}).get()));
  EXPECT_FALSE(txIsRealDense(make_struct({}).get()));
  EXPECT_FALSE(txIsRealDense(make_string(u"a").get()));
  EXPECT_TRUE(txIsRealDense(make_scalar(true).get()));
}

TEST_F(ArrayAccess, SetMAndSetNReshapeWithoutTouchingTheData) {
  const Owned a = make_column<double>({1, 2, 3, 4, 5, 6});
  const void* const data = txGetData(a.get());
  txSetM(a.get(), 2);
  txSetN(a.get(), 3);
  EXPECT_EQ(dims_of(a.get()), (Dims{2, 3}));
  EXPECT_EQ(txGetData(a.get()), data);
  EXPECT_EQ(numbers_of(a.get()), (std::vector<double>{1, 2, 3, 4, 5, 6}));
}

TEST_F(ArrayAccess, SetMKeepsFurtherDimensionsAndSetNFoldsThem) {
  const Owned a = matrix::create_numeric({4, 2, 3}, txDOUBLE_CLASS, txREAL);
  txSetM(a.get(), 3);
  EXPECT_EQ(dims_of(a.get()), (Dims{3, 2, 3}));
  txSetN(a.get(), 2);
  EXPECT_EQ(dims_of(a.get()), (Dims{3, 2}));
}

TEST_F(ArrayAccess, AShrunkArrayMayGrowBackWithinItsBlock) {
  const Owned a = make_column<double>({1, 2, 3});
  txSetM(a.get(), 1);
  EXPECT_EQ(numbers_of(a.get()), std::vector<double>{1});
  txSetM(a.get(), 3);
  EXPECT_EQ(numbers_of(a.get()), (std::vector<double>{1, 2, 3}));
}

TEST_F(ArrayAccess, AShrunkCellArrayStillDestroysAllItsCells) {
  const Owned a = make_cell_of_texts({"one", "two", "three"});
  txSetM(a.get(), 1);
  EXPECT_EQ(texts_of(a.get()), std::vector<std::string>{"one"});
  EXPECT_EQ(txGetCell(a.get(), 1), nullptr);
}  // the fixture counts

TEST_F(ArrayAccessMisuse, GrowingBeyondTheBlockIsRefused) {
  const Owned a = make_column<double>({1, 2, 3});
  EXPECT_HOST_ERROR(txSetM(a.get(), 4), id::kBlockTooSmall);
  EXPECT_HOST_ERROR(txSetN(a.get(), 2), id::kBlockTooSmall);
  EXPECT_HOST_ERROR(txSetN(a.get(), kHuge), id::kBlockTooSmall);
  EXPECT_EQ(dims_of(a.get()), (Dims{3, 1}));
  const Owned text = make_text("abc");
  EXPECT_HOST_ERROR(txSetN(text.get(), 4), id::kBlockTooSmall);
  const Owned strings = make_string_array({2, 1}, {u"a", u"b"});
  EXPECT_HOST_ERROR(txSetM(strings.get(), 3), id::kBlockTooSmall);
  const Owned structs = make_struct_array({2, 1}, {"x", "y"});
  EXPECT_HOST_ERROR(txSetM(structs.get(), 3), id::kBlockTooSmall);
  const Owned cells = make_cell_of_texts({"a", "b"});
  EXPECT_HOST_ERROR(txSetM(cells.get(), 3), id::kBlockTooSmall);
}

TEST_F(ArrayAccessMisuse, LookingAtNoArrayFindsNothing) {
  EXPECT_EQ(txGetClassID(nullptr), txUNKNOWN_CLASS);
  EXPECT_EQ(txGetM(nullptr), 0U);
  EXPECT_EQ(txGetN(nullptr), 0U);
  EXPECT_EQ(txGetNumberOfElements(nullptr), 0U);
  EXPECT_EQ(txGetElementSize(nullptr), 0U);
  EXPECT_EQ(txGetData(nullptr), nullptr);
  EXPECT_FALSE(txIsRealDense(nullptr));
}

TEST_F(ArrayAccessMisuse, ChangingOrReadingNoArrayRaises) {
  EXPECT_HOST_ERROR(txSetM(nullptr, 1), id::kNullArray);
  EXPECT_HOST_ERROR(txSetN(nullptr, 1), id::kNullArray);
  EXPECT_HOST_ERROR(txGetScalar(nullptr), id::kNullArray);
  EXPECT_HOST_ERROR(dims_of(nullptr), id::kNullArray);
  EXPECT_HOST_ERROR(data_of<double>(nullptr), id::kNullArray);
  EXPECT_HOST_ERROR(numbers_of(nullptr), id::kNullArray);
}

TEST_F(ArrayAccessMisuse, ScalarsComeFromNumbersAndTruthValuesOnly) {
  EXPECT_HOST_ERROR(txGetScalar(make_text("5").get()), id::kWrongClass);
  EXPECT_HOST_ERROR(txGetScalar(make_cell_of_texts({"5"}).get()), id::kWrongClass);
  EXPECT_HOST_ERROR(txGetScalar(make_column<double>({}).get()), id::kEmptyArray);
}

}  // namespace
}  // namespace readkit::host::host_array_access_test
