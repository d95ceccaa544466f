// Deflating, in whichever flavour this program is linked with.
#include "core/deflate.h"

#include <string>

#include <gtest/gtest.h>

#include "support/bgzf_builder.h"
#include "support/deflate_words.h"
#include "support/libraries.h"
#include "support/random_data.h"
#include "support/reference_decoder.h"

namespace readkit::core_deflate_test {
namespace {

TEST(Deflate, OnlyTheExactFlavourGivesTheBytesOfZlibsDefaultLevel) {
  bool all_equal = true;
  for (const std::string& data : deflate_samples()) {
    all_equal = all_equal && deflated(deflate_raw, data) == raw_deflate(data);
  }
  EXPECT_EQ(all_equal, flavour_name() == "exact");
}

TEST(Deflate, SameInputGivesSameBytes) {
  for (const std::string& data : deflate_samples()) {
    EXPECT_TRUE(deflated(deflate_raw, data) == deflated(deflate_raw, data)) << data.size();
  }
}

TEST(Deflate, ZlibInflatesWhatWasDeflated) {
  for (const Deflate deflate : {deflate_raw, deflate_raw_temporary, deflate_raw_stored}) {
    for (const std::string& data : deflate_samples()) {
      const auto result = deflated(deflate, data);
      ASSERT_TRUE(result.has_value()) << data.size();
      const ZlibVerdict verdict = zlib_inflate(*result, data.size());
      EXPECT_TRUE(verdict.ends && verdict.data == data) << data.size();
    }
  }
}

TEST(Deflate, DataThatDoesNotShrinkFitsIntoABlock) {
  Random random(11);
  for (int i = 0; i < 20; ++i) {
    const std::string data = random_bytes(random, 65280);
    const auto result = deflated(deflate_raw, data);
    ASSERT_TRUE(result.has_value());
    EXPECT_TRUE(inflated(*result) == data);
  }
}

TEST(Deflate, TooLittleRoomGivesNothing) {
  Random random(12);
  const std::string data = random_bytes(random, 1000);
  constexpr std::size_t kRooms[] = {0, 1, 100, 999};
  for (const std::size_t room : kRooms) {
    EXPECT_FALSE(deflated(deflate_raw, data, room).has_value()) << room;
  }
}

}  // namespace
}  // namespace readkit::core_deflate_test
