// The fast flavour.
#include "core/deflate.h"

#include <string>

#include <gtest/gtest.h>

#include "support/bgzf_builder.h"
#include "support/deflate_words.h"
#include "support/libraries.h"

namespace readkit::core_deflate_libdeflate_test {
namespace {

TEST(DeflateLibdeflate, BlockThatItCannotFitGoesThroughZlib) {
  if (flavour_name() != "fast") GTEST_SKIP() << "this program is linked with the exact flavour";
  int through_zlib = 0;
  for (const std::string& data : deflate_samples()) {
    const std::string by_zlib = raw_deflate(data);
    const auto with_room = deflated(deflate_raw, data);
    ASSERT_TRUE(with_room.has_value()) << data.size();
    const std::size_t room = by_zlib.size() + 1;
    if (with_room->size() <= room) continue;
    EXPECT_TRUE(deflated(deflate_raw, data, room) == by_zlib) << data.size();
    ++through_zlib;
  }
  EXPECT_GT(through_zlib, 0);
}

TEST(DeflateLibdeflate, TemporaryDataTakeMoreRoom) {
  if (flavour_name() != "fast") GTEST_SKIP() << "this program is linked with the exact flavour";
  Random random(13);
  const std::string data = random_text(random, 65280);
  const auto kept = deflated(deflate_raw, data);
  const auto temporary = deflated(deflate_raw_temporary, data);
  const auto stored = deflated(deflate_raw_stored, data);
  ASSERT_TRUE(kept.has_value() && temporary.has_value() && stored.has_value());
  EXPECT_GT(temporary->size(), kept->size());
  EXPECT_EQ(stored->size(), data.size() + 5);  // the head of a stored block
}

TEST(DeflateLibdeflate, WhatNeitherCanFitGivesNothing) {
  if (flavour_name() != "fast") GTEST_SKIP() << "this program is linked with the exact flavour";
  for (const std::string& data : deflate_samples()) {
    EXPECT_FALSE(deflated(deflate_raw, data, 1).has_value()) << data.size();
  }
}

}  // namespace
}  // namespace readkit::core_deflate_libdeflate_test
