#include "core/large_memory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

#include <gtest/gtest.h>

namespace readkit::core_large_memory_test {
namespace {

TEST(LargeMemory, CanBeFilledToItsEnd) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{4096}, (std::size_t{2} << 20) - 1,
                                 std::size_t{2} << 20, (std::size_t{4} << 20) + 1}) {
    const LargeMemory memory = make_large_memory(size);
    std::fill_n(memory.get(), size, std::uint8_t{0xA5});
    EXPECT_EQ(memory[size - 1], 0xA5) << size;
  }
}

TEST(LargeMemory, BeginsAtALargePageAndIsZeroInPagesOfEitherSize) {
  for (const bool large : {true, false}) {
    const LargeMemory memory = large ? make_large_memory(1) : make_aligned_memory(1);
    find_pages(memory);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory.get()) % kLargePage, 0U);
    EXPECT_EQ(std::count(memory.get(), memory.get() + kLargePage, std::uint8_t{0}),
              static_cast<std::ptrdiff_t>(kLargePage));
  }
}

TEST(LargeMemory, OfMoreThanThereIsIsNotToBeHad) {
  EXPECT_THROW(make_large_memory(std::numeric_limits<std::size_t>::max()), std::bad_alloc);
}

}  // namespace
}  // namespace readkit::core_large_memory_test
