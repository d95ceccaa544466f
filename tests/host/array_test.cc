// Arrays: shapes, ownership and mistaken uses.
#include "host/array.h"

#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

#include "tests/host/host_test_support.h"

namespace readkit::host {
namespace {

constexpr std::size_t kHuge = std::numeric_limits<std::size_t>::max();

class Array : public NothingLeaks {};
class ArrayMisuse : public NothingLeaks {};

constexpr txClassID kNumericClasses[] = {
    txDOUBLE_CLASS, txSINGLE_CLASS, txINT8_CLASS,   txUINT8_CLASS, txINT16_CLASS,
    txUINT16_CLASS, txINT32_CLASS,  txUINT32_CLASS, txINT64_CLASS, txUINT64_CLASS};

bool all_zero(const txArray* a) {
  const auto* const bytes = static_cast<const char*>(txGetData(a));
  const std::size_t count = txGetNumberOfElements(a) * txGetElementSize(a);
  for (std::size_t i = 0; i < count; ++i) {
    if (bytes[i] != 0) return false;
  }
  return true;
}

// ---- Numbers ---------------------------------------------------------------------------------

TEST_F(Array, NumericMatricesOfEveryClassAreZeroAndHaveTheirShape) {
  for (const txClassID class_id : kNumericClasses) {
    const Owned a(txCreateNumericMatrix(300, 2, class_id, txREAL));
    EXPECT_EQ(txGetClassID(a.get()), class_id);
    EXPECT_EQ(dims_of(a.get()), (Dims{300, 2}));
    EXPECT_TRUE(all_zero(a.get())) << class_name(class_id);
    EXPECT_TRUE(txIsRealDense(a.get()));
  }
}

TEST_F(Array, ElementSizesAreThoseOfTheClasses) {
  const std::size_t expected[] = {8, 4, 1, 1, 2, 2, 4, 4, 8, 8};
  for (std::size_t i = 0; i < std::size(kNumericClasses); ++i) {
    const Owned a(txCreateNumericMatrix(1, 1, kNumericClasses[i], txREAL));
    EXPECT_EQ(txGetElementSize(a.get()), expected[i]);
  }
  EXPECT_EQ(txGetElementSize(make_scalar(true).get()), 1U);
  EXPECT_EQ(txGetElementSize(make_text("x").get()), 2U);
  EXPECT_EQ(txGetElementSize(make_cell({0, 0}, {}).get()), 0U);
  EXPECT_EQ(txGetElementSize(make_struct({}).get()), 0U);
  EXPECT_EQ(txGetElementSize(make_string(u"x").get()), 0U);
}

TEST_F(Array, DataBlocksSuitAnyElementType) {
  for (std::size_t n = 0; n < 100; ++n) {
    const Owned a(txCreateDoubleMatrix(n, 1, txREAL));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(txGetData(a.get())) % 16, 0U);
  }
}

template <typename T>
void expect_scalar(T value, double expected) {
  const Owned a = make_scalar(value);
  EXPECT_EQ(txGetScalar(a.get()), expected);
  EXPECT_EQ(data_of<T>(a.get())[0], value);
  EXPECT_EQ(numbers_of(a.get()), std::vector<double>{expected});
}

TEST_F(Array, ScalarsOfEveryClassReadAsDouble) {
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

TEST_F(Array, ScalarConstructorsStoreTheirValue) {
  const Owned number(txCreateDoubleScalar(6.25));
  const Owned truth(txCreateLogicalScalar(true));
  const Owned untruth(txCreateLogicalScalar(false));
  EXPECT_EQ(txGetScalar(number.get()), 6.25);
  EXPECT_EQ(txGetClassID(truth.get()), txLOGICAL_CLASS);
  EXPECT_EQ(txGetScalar(truth.get()), 1.0);
  EXPECT_EQ(txGetScalar(untruth.get()), 0.0);
}

TEST_F(Array, GetScalarTakesTheFirstElement) {
  const Owned a = make_column<std::uint16_t>({7, 8, 9});
  EXPECT_EQ(txGetScalar(a.get()), 7.0);
}

TEST_F(Array, ColumnsAreTheProductOfAllDimensionsButTheFirst) {
  const Owned a = matrix::create_numeric({2, 3, 4}, txUINT8_CLASS, txREAL);
  EXPECT_EQ(txGetM(a.get()), 2U);
  EXPECT_EQ(txGetN(a.get()), 12U);
  EXPECT_EQ(txGetNumberOfElements(a.get()), 24U);
  EXPECT_EQ(dims_of(a.get()), (Dims{2, 3, 4}));
}

TEST_F(Array, DimensionListsAreCompletedAndTrailingOnesDropped) {
  const auto dims = [](const Dims& wanted) { return dims_of(matrix::create_cell(wanted).get()); };
  EXPECT_EQ(dims({}), (Dims{0, 0}));
  EXPECT_EQ(dims({5}), (Dims{5, 1}));
  EXPECT_EQ(dims({2, 1, 1}), (Dims{2, 1}));
  EXPECT_EQ(dims({2, 1, 3, 1}), (Dims{2, 1, 3}));
}

TEST_F(Array, EmptyArraysKeepTheirDimensions) {
  const Owned a(txCreateNumericMatrix(0, 5, txINT32_CLASS, txREAL));
  EXPECT_EQ(dims_of(a.get()), (Dims{0, 5}));
  EXPECT_TRUE(data_of<std::int32_t>(a.get()).empty());
  const Owned b(txCreateCellMatrix(kHuge, 0));
  EXPECT_EQ(txGetM(b.get()), kHuge);
  EXPECT_EQ(txGetNumberOfElements(b.get()), 0U);
}

TEST_F(Array, UninitializedNumbersCanBeWrittenToTheLast) {
  const Owned a = matrix::create_uninitialized_numeric({1000, 3}, txUINT32_CLASS, txREAL);
  std::memset(txGetData(a.get()), 0xFF, 12000);
  EXPECT_EQ(data_of<std::uint32_t>(a.get()).back(), 0xFFFFFFFFU);
}

TEST_F(Array, ComplexArraysAreNotRealDense) {
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

TEST_F(Array, ImaginaryPartsFollowAChangeOfShape) {
  const Owned a(txCreateDoubleMatrix(4, 1, txCOMPLEX));
  txSetM(a.get(), 2);
  EXPECT_EQ(imaginary_of(a.get()).size(), 2U);
}

TEST_F(Array, ContainersAndStringsAreNotRealDense) {
  EXPECT_FALSE(txIsRealDense(make_cell_of_texts({"a"}).get()));
  EXPECT_FALSE(txIsRealDense(make_struct({}).get()));
  EXPECT_FALSE(txIsRealDense(make_string(u"a").get()));
  EXPECT_TRUE(txIsRealDense(make_scalar(true).get()));
}

TEST_F(Array, ClassNamesAreTheHostsWords) {
  EXPECT_STREQ(class_name(txCELL_CLASS), "cell");
  EXPECT_STREQ(class_name(txCHAR_CLASS), "char");
  EXPECT_STREQ(class_name(txDOUBLE_CLASS), "double");
  EXPECT_STREQ(class_name(txUINT64_CLASS), "uint64");
  EXPECT_STREQ(class_name(txSTRING_CLASS), "string");
  EXPECT_STREQ(class_name(static_cast<txClassID>(-1)), "unknown");
  EXPECT_STREQ(class_name(static_cast<txClassID>(20)), "unknown");
}

// ---- Shape -----------------------------------------------------------------------------------

TEST_F(Array, SetMAndSetNReshapeWithoutTouchingTheData) {
  const Owned a = make_column<double>({1, 2, 3, 4, 5, 6});
  const void* const data = txGetData(a.get());
  txSetM(a.get(), 2);
  txSetN(a.get(), 3);
  EXPECT_EQ(dims_of(a.get()), (Dims{2, 3}));
  EXPECT_EQ(txGetData(a.get()), data);
  EXPECT_EQ(numbers_of(a.get()), (std::vector<double>{1, 2, 3, 4, 5, 6}));
}

TEST_F(Array, SetMKeepsFurtherDimensionsAndSetNFoldsThem) {
  const Owned a = matrix::create_numeric({4, 2, 3}, txDOUBLE_CLASS, txREAL);
  txSetM(a.get(), 3);
  EXPECT_EQ(dims_of(a.get()), (Dims{3, 2, 3}));
  txSetN(a.get(), 2);
  EXPECT_EQ(dims_of(a.get()), (Dims{3, 2}));
}

TEST_F(Array, AShrunkArrayMayGrowBackWithinItsBlock) {
  const Owned a = make_column<double>({1, 2, 3});
  txSetM(a.get(), 1);
  EXPECT_EQ(numbers_of(a.get()), std::vector<double>{1});
  txSetM(a.get(), 3);
  EXPECT_EQ(numbers_of(a.get()), (std::vector<double>{1, 2, 3}));
}

TEST_F(Array, AShrunkCellArrayStillDestroysAllItsCells) {
  const Owned a = make_cell_of_texts({"one", "two", "three"});
  txSetM(a.get(), 1);
  EXPECT_EQ(texts_of(a.get()), std::vector<std::string>{"one"});
  EXPECT_EQ(txGetCell(a.get(), 1), nullptr);
}  // the fixture counts

TEST_F(ArrayMisuse, GrowingBeyondTheBlockIsRefused) {
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

TEST_F(ArrayMisuse, DimensionsThatNoMemoryHoldsRaise) {
  EXPECT_THROW(txCreateNumericMatrix(kHuge, 2, txUINT8_CLASS, txREAL), std::length_error);
  EXPECT_THROW(txCreateDoubleMatrix(kHuge / 4, 1, txREAL), std::length_error);
  EXPECT_THROW(txCreateCellMatrix(kHuge / 8, 2), std::length_error);
  EXPECT_THROW(txCreateCellMatrix(kHuge / 8, 1), std::bad_alloc);
  EXPECT_THROW(matrix::create_numeric({0, kHuge, 2}, txUINT8_CLASS, txREAL), std::length_error);
  EXPECT_THROW(matrix::create_cell({kHuge / 2, 3, 3}), std::length_error);
  EXPECT_THROW(matrix::create_uninitialized_numeric({kHuge, 1}, txUINT8_CLASS, txREAL),
               std::bad_alloc);
}

TEST_F(ArrayMisuse, NumbersOfAClassWithoutNumbersAreRefused) {
  EXPECT_HOST_ERROR(txCreateNumericMatrix(1, 1, txCELL_CLASS, txREAL), id::kWrongClass);
  EXPECT_HOST_ERROR(matrix::create_numeric({1, 1}, txUNKNOWN_CLASS, txREAL), id::kWrongClass);
  EXPECT_HOST_ERROR(matrix::create_numeric({1, 1}, static_cast<txClassID>(77), txREAL),
                    id::kWrongClass);
}

// ---- Other mistakes --------------------------------------------------------------------------

TEST_F(ArrayMisuse, LookingAtNoArrayFindsNothing) {
  EXPECT_EQ(txGetClassID(nullptr), txUNKNOWN_CLASS);
  EXPECT_EQ(txGetM(nullptr), 0U);
  EXPECT_EQ(txGetN(nullptr), 0U);
  EXPECT_EQ(txGetNumberOfElements(nullptr), 0U);
  EXPECT_EQ(txGetElementSize(nullptr), 0U);
  EXPECT_EQ(txGetData(nullptr), nullptr);
  EXPECT_FALSE(txIsRealDense(nullptr));
}

TEST_F(ArrayMisuse, ChangingOrReadingNoArrayRaises) {
  EXPECT_HOST_ERROR(txSetM(nullptr, 1), id::kNullArray);
  EXPECT_HOST_ERROR(txSetN(nullptr, 1), id::kNullArray);
  EXPECT_HOST_ERROR(txGetScalar(nullptr), id::kNullArray);
  EXPECT_HOST_ERROR(dims_of(nullptr), id::kNullArray);
  EXPECT_HOST_ERROR(data_of<double>(nullptr), id::kNullArray);
  EXPECT_HOST_ERROR(numbers_of(nullptr), id::kNullArray);
}

TEST_F(ArrayMisuse, ScalarsComeFromNumbersAndTruthValuesOnly) {
  EXPECT_HOST_ERROR(txGetScalar(make_text("5").get()), id::kWrongClass);
  EXPECT_HOST_ERROR(txGetScalar(make_cell_of_texts({"5"}).get()), id::kWrongClass);
  EXPECT_HOST_ERROR(txGetScalar(make_column<double>({}).get()), id::kEmptyArray);
}

TEST_F(ArrayMisuse, DataIsReadInItsOwnTypeOnly) {
  const Owned a = make_scalar(1.0);
  EXPECT_HOST_ERROR(data_of<float>(a.get()), id::kWrongClass);
  EXPECT_HOST_ERROR(data_of<std::int64_t>(a.get()), id::kWrongClass);
  EXPECT_EQ(txGetData(make_string(u"a").get()), nullptr);
  EXPECT_EQ(txGetData(make_cell_of_texts({"a"}).get()), nullptr);
  EXPECT_EQ(txGetData(make_struct({}).get()), nullptr);
  EXPECT_HOST_ERROR(numbers_of(make_string(u"a").get()), id::kWrongClass);
}

TEST_F(ArrayMisuse, ValuesMustBeAsManyAsTheDimensionsSay) {
  const std::vector<double> three = {1, 2, 3};
  const std::vector<double> two = {1, 2};
  EXPECT_HOST_ERROR(make_array<double>({2, 2}, three), id::kWrongElementCount);
  EXPECT_HOST_ERROR(make_complex({1, 3}, three, two), id::kWrongElementCount);
  EXPECT_HOST_ERROR(make_string_array({2, 1}, {u"a"}), id::kWrongElementCount);
  EXPECT_HOST_ERROR(make_cell({2, 1}, {}), id::kWrongElementCount);
  EXPECT_HOST_ERROR(make_from_bytes({1, 1}, txDOUBLE_CLASS, nullptr, 1), id::kNullArray);
  EXPECT_HOST_ERROR(make_from_bytes({1, 1}, txCELL_CLASS, &three, 1), id::kWrongClass);
  EXPECT_HOST_ERROR(make_from_bytes({1, 1}, txSTRING_CLASS, &three, 1), id::kWrongClass);
}

TEST_F(ArrayMisuse, ErrorsSayWhatIsWrong) {
  try {
    txGetScalar(make_text("5").get());
    FAIL();
  } catch (const HostError& e) {
    EXPECT_STREQ(e.what(),
                 "txGetScalar: the array must be of class numeric or logical, but it is of class "
                 "char.");
  }
}

}  // namespace
}  // namespace readkit::host
