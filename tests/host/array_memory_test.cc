// Host memory, and blocks of it that become data of arrays.
#include <cstring>
#include <limits>
#include <new>
#include <vector>

#include "host/array.h"
#include "tests/host/host_test_support.h"

namespace readkit::host::host_array_memory_test {
namespace {

constexpr std::size_t kHuge = std::numeric_limits<std::size_t>::max();

class ArrayMemory : public NothingLeaks {};

TEST_F(ArrayMemory, CallocZeroFillsAndFreeAcceptsNull) {
  auto* const p = static_cast<unsigned char*>(txCalloc(1000, 3));
  for (std::size_t i = 0; i < 3000; ++i) ASSERT_EQ(p[i], 0);
  txFree(p);
  txFree(nullptr);
}

TEST_F(ArrayMemory, ReallocKeepsTheContentsAndStartsFromNull) {
  void* p = txRealloc(nullptr, 3);
  std::memcpy(p, "abc", 3);
  p = txRealloc(p, 100000);
  EXPECT_EQ(std::memcmp(p, "abc", 3), 0);
  p = txRealloc(p, 2);
  EXPECT_EQ(std::memcmp(p, "ab", 2), 0);
  p = txRealloc(p, 0);
  EXPECT_NE(p, nullptr);
  txFree(p);
}

TEST_F(ArrayMemory, ASizeThatNoMemoryHoldsRaises) {
  EXPECT_THROW(txCalloc(kHuge, 2), std::bad_alloc);
  EXPECT_THROW(txCalloc(kHuge / 2 + 1, 2), std::bad_alloc);
  EXPECT_THROW(txCalloc(1, kHuge), std::bad_alloc);
  EXPECT_THROW(txRealloc(nullptr, kHuge), std::bad_alloc);
  void* const p = txCalloc(1, 1);
  EXPECT_THROW(txRealloc(p, kHuge), std::bad_alloc);
  txFree(p);
}

TEST_F(ArrayMemory, SetPrGivesTheBlockToTheArrayAndFreesTheOldOne) {
  const Owned a(txCreateNumericMatrix(1000, 1, txUINT32_CLASS, txREAL));
  auto* const block = static_cast<std::uint32_t*>(txCalloc(1000, 4));
  block[999] = 42;
  const std::size_t before = live_blocks();
  txSetPr(a.get(), block);
  EXPECT_EQ(live_blocks(), before - 1);
  EXPECT_EQ(txGetData(a.get()), block);
  EXPECT_EQ(data_of<std::uint32_t>(a.get())[999], 42U);
}

TEST_F(ArrayMemory, AnEmptyArrayGrowsIntoItsNewBlock) {
  const Owned a(txCreateNumericMatrix(0, 0, txUINT16_CLASS, txREAL));
  void* p = txCalloc(2, 2);
  p = txRealloc(p, 6);
  const std::uint16_t values[] = {1, 2, 3};
  std::memcpy(p, values, sizeof values);
  txSetPr(a.get(), p);
  txSetM(a.get(), 3);
  txSetN(a.get(), 1);
  EXPECT_EQ(numbers_of(a.get()), (std::vector<double>{1, 2, 3}));
}

TEST_F(ArrayMemory, SetPrOfTheArraysOwnBlockChangesNothing) {
  const Owned a = make_column<double>(std::vector<double>(100, 1.5));
  txSetPr(a.get(), txGetData(a.get()));
  EXPECT_EQ(numbers_of(a.get()), std::vector<double>(100, 1.5));
}

TEST_F(ArrayMemory, SetPrOfNullLeavesAnEmptyArrayWithoutABlock) {
  const Owned a(txCreateDoubleMatrix(100, 0, txREAL));
  txSetPr(a.get(), nullptr);
  EXPECT_EQ(txGetData(a.get()), nullptr);
  EXPECT_HOST_ERROR(txSetN(a.get(), 1), id::kBlockTooSmall);
}

TEST_F(ArrayMemory, SetPrRefusesAndLeavesTheBlock) {
  const Owned text = make_text("abc");
  const Owned cells = make_cell_of_texts({"abc"});
  const Owned numbers = make_column<double>({1, 2, 3});
  void* const block = txCalloc(2, 8);
  EXPECT_HOST_ERROR(txSetPr(nullptr, block), id::kNullArray);
  EXPECT_HOST_ERROR(txSetPr(text.get(), block), id::kWrongClass);
  EXPECT_HOST_ERROR(txSetPr(cells.get(), block), id::kWrongClass);
  EXPECT_HOST_ERROR(txSetPr(numbers.get(), block), id::kBlockTooSmall);
  EXPECT_HOST_ERROR(txSetPr(numbers.get(), nullptr), id::kBlockTooSmall);
  txFree(block);
  EXPECT_EQ(numbers_of(numbers.get()), (std::vector<double>{1, 2, 3}));
}

TEST_F(ArrayMemory, ABlockBelongsToOneArrayOnly) {
  for (const std::size_t rows : {2U, 1000U}) {
    const Owned a(txCreateDoubleMatrix(rows, 1, txREAL));
    const Owned b(txCreateDoubleMatrix(rows, 1, txREAL));
    EXPECT_HOST_ERROR(txSetPr(b.get(), txGetData(a.get())), id::kBlockInUse);
    EXPECT_HOST_ERROR(txRealloc(txGetData(a.get()), 8), id::kBlockInUse);
    txFree(txGetData(a.get()));
    EXPECT_EQ(numbers_of(a.get()), std::vector<double>(rows, 0.0));
  }
}

}  // namespace
}  // namespace readkit::host::host_array_memory_test
