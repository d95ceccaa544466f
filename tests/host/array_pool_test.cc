// Where arrays lie: what many of them leave behind when they are gone, whoever destroys them.
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/array.h"
#include "support/resident_memory.h"
#include "tests/host/host_test_support.h"

namespace readkit::host::host_array_pool_test {
namespace {

constexpr std::size_t kMany = 50000;  // fill more than one piece of the pool
constexpr std::size_t kSlack = std::size_t{4} << 20;

class ArrayPool : public NothingLeaks {};

std::vector<Owned> many_texts() {
  std::vector<Owned> texts;
  for (std::size_t i = 0; i < kMany; ++i) texts.push_back(make_text("text " + std::to_string(i)));
  return texts;
}

void expect_many_texts(const std::vector<Owned>& texts) {
  for (std::size_t i = 0; i < kMany; ++i) {
    ASSERT_EQ(text_of(texts[i].get()), "text " + std::to_string(i));
  }
}

TEST_F(ArrayPool, ArraysOfAnySizeLieApartAndAligned) {
  std::vector<Owned> arrays;
  for (std::size_t size = 0; size < 5000; size += 7) {
    arrays.push_back(make_row(std::vector<std::uint8_t>(size, static_cast<std::uint8_t>(size))));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(txGetData(arrays.back().get())) % 16, 0U);
  }
  for (const Owned& a : arrays) {
    for (const std::uint8_t value : data_of<std::uint8_t>(a.get())) {
      ASSERT_EQ(value, txGetN(a.get()) % 256);
    }
  }
}

TEST_F(ArrayPool, ZerosAreZeroWhereAnotherArrayWas) {
  for (std::size_t i = 0; i < kMany; ++i) {
    const Owned zeros = matrix::create_numeric({1, 8}, txUINT8_CLASS, txREAL);
    for (std::uint8_t& value : std::span(static_cast<std::uint8_t*>(txGetData(zeros.get())), 8)) {
      ASSERT_EQ(value, 0);
      value = 0xFF;
    }
  }
}

TEST_F(ArrayPool, ArraysOutliveTheThreadThatMadeThem) {
  std::vector<Owned> texts;
  std::thread([&texts] { texts = many_texts(); }).join();
  const Owned other = make_text("made here");
  expect_many_texts(texts);
}

TEST_F(ArrayPool, AnotherThreadMayDestroyThem) {
  std::vector<Owned> texts = many_texts();
  std::vector<Owned> kept;
  for (std::size_t i = 0; i < kMany; i += 1000) kept.push_back(std::move(texts[i]));
  std::thread([moved = std::move(texts)]() mutable { moved.clear(); }).join();
  expect_many_texts(many_texts());
  for (std::size_t i = 0; i < kept.size(); ++i) {
    EXPECT_EQ(text_of(kept[i].get()), "text " + std::to_string(1000 * i));
  }
}

TEST_F(ArrayPool, GivesBackWhatManyArraysUsed) {
  if (kMemoryIsKept) GTEST_SKIP() << "the sanitizer keeps memory";
  forget_resident_peak();
  const std::size_t before = resident_memory();
  many_texts().clear();
  for (int i = 0; i < 8; ++i) std::thread([] { many_texts().clear(); }).join();
  forget_resident_peak();
  EXPECT_GE(before + kSlack, resident_memory());
}

TEST_F(ArrayPool, OneArrayAfterTheOtherUsesTheSameMemory) {
  if (kMemoryIsKept) GTEST_SKIP() << "the sanitizer keeps memory";
  EXPECT_GE(kSlack, resident_growth([] {
              for (std::size_t i = 0; i < 4 * kMany; ++i) make_text("gone at once");
            }));
}

}  // namespace
}  // namespace readkit::host::host_array_pool_test
