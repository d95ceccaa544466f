// Arrays: making them, and dimensions that cannot be made.
#include "host/array.h"

#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

#include "tests/host/host_test_support.h"

namespace readkit::host::host_array_test {
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

TEST_F(Array, ColumnsAreTheProductOfAllDimensionsButTheFirst) {
  const Owned a = matrix::create_numeric({2, 3, 4}, txUINT8_CLASS, txREAL);
  EXPECT_EQ(txGetM(a.get()), 2U);
  EXPECT_EQ(txGetN(a.get()), 12U);
  EXPECT_EQ(txGetNumberOfElements(a.get()), 24U);
  EXPECT_EQ(dims_of(a.get()), (Dims{2, 3, 4}));
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
}  // namespace readkit::host::host_array_test
