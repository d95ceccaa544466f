// Matrices in the host's memory.
#include <cstddef>
#include <span>
#include <vector>

#include <gtest/gtest.h>

#include "quality/distribution.h"
#include "support/gateway_calls.h"

namespace readkit::quality_matrix_test {
namespace {

class HostMatrixTest : public testing::Test {
 protected:
  void allocate(std::size_t rows, std::size_t columns) { matrix_ = matrixAllocate(rows, columns); }
  std::vector<double> first(std::size_t count) const {
    return {matrix_.get(), matrix_.get() + count};
  }
  // 1, 2, 3...
  void number(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) matrix_[i] = static_cast<double>(i + 1);
  }

  const LeakCheck leaks_;
  HostMatrix matrix_;
};

TEST_F(HostMatrixTest, NewOneHoldsZeros) {
  allocate(3, 4);
  EXPECT_EQ(first(12), std::vector<double>(12));
  // A block that was in use before.
  number(12);
  allocate(4, 3);
  EXPECT_EQ(first(12), std::vector<double>(12));
}

TEST_F(HostMatrixTest, WithoutColumnsItIsABlockAllTheSame) {
  allocate(5, 0);
  EXPECT_NE(matrix_.get(), nullptr);
  matrixRealloc(matrix_, 5, 0, 2);
  EXPECT_EQ(first(10), std::vector<double>(10));
}

TEST_F(HostMatrixTest, GrowingKeepsTheColumnsAndAddsZeros) {
  allocate(2, 3);
  number(6);
  matrixRealloc(matrix_, 2, 3, 5);
  EXPECT_EQ(first(10), (std::vector<double>{1, 2, 3, 4, 5, 6, 0, 0, 0, 0}));
}

TEST_F(HostMatrixTest, GrowingMuchKeepsTheColumnsAndAddsZeros) {
  allocate(5, 10);
  number(50);
  matrixRealloc(matrix_, 5, 10, 20000);
  std::vector<double> expected(100000);
  for (std::size_t i = 0; i < 50; ++i) expected[i] = static_cast<double>(i + 1);
  EXPECT_EQ(first(100000), expected);
}

TEST_F(HostMatrixTest, ShrinkingKeepsTheFirstColumns) {
  allocate(2, 3);
  number(6);
  matrixRealloc(matrix_, 2, 3, 1);
  EXPECT_EQ(first(2), (std::vector<double>{1, 2}));
}

TEST_F(HostMatrixTest, ColumnsThatWereCutAwayComeBackAsZeros) {
  allocate(2, 3);
  number(6);
  matrixRealloc(matrix_, 2, 3, 1);
  matrixRealloc(matrix_, 2, 1, 3);
  EXPECT_EQ(first(6), (std::vector<double>{1, 2, 0, 0, 0, 0}));
}

TEST_F(HostMatrixTest, AsManyColumnsAsBeforeChangeNothing) {
  allocate(2, 3);
  number(6);
  matrixRealloc(matrix_, 2, 3, 3);
  EXPECT_EQ(first(6), (std::vector<double>{1, 2, 3, 4, 5, 6}));
}

TEST_F(HostMatrixTest, BlockIsTheHosts) {
  allocate(2, 2);
  number(4);
  matrixRealloc(matrix_, 2, 2, 3);
  host::Owned array(txCreateDoubleMatrix(0, 0, txREAL));
  txSetPr(array.get(), matrix_.release());
  txSetM(array.get(), 2);
  txSetN(array.get(), 3);
  const std::span<const double> values = host::data_of<double>(array.get());
  EXPECT_EQ(std::vector<double>(values.begin(), values.end()),
            (std::vector<double>{1, 2, 3, 4, 0, 0}));
}

}  // namespace
}  // namespace readkit::quality_matrix_test
