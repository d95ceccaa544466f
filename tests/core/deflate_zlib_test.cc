// Deflating by zlib.
#include <string>

#include <gtest/gtest.h>

#include "core/deflate.h"
#include "support/bgzf_builder.h"
#include "support/deflate_words.h"
#include "support/random_data.h"

namespace readkit::core_deflate_zlib_test {
namespace {

TEST(DeflateZlib, GivesTheBytesOfZlibsDefaultLevelEveryTime) {
  for (int round = 0; round < 2; ++round) {  // again, with whatever the rounds before left behind
    for (const std::string& data : deflate_samples()) {
      const auto result = deflated(deflate_raw_zlib, data);
      ASSERT_TRUE(result.has_value()) << data.size();
      EXPECT_TRUE(*result == raw_deflate(data)) << data.size();
    }
  }
}

TEST(DeflateZlib, SucceedsAgainAfterAFailure) {
  Random random(13);
  const std::string data = random_bytes(random, 1000);
  EXPECT_FALSE(deflated(deflate_raw_zlib, data, 10).has_value());
  EXPECT_TRUE(deflated(deflate_raw_zlib, data) == raw_deflate(data));
}

TEST(DeflateZlib, TooLittleRoomGivesNothing) {
  Random random(12);
  const std::string data = random_bytes(random, 1000);
  constexpr std::size_t kRooms[] = {0, 1, 100, 999};
  for (const std::size_t room : kRooms) {
    EXPECT_FALSE(deflated(deflate_raw_zlib, data, room).has_value()) << room;
  }
}

// zlib reports the end of the stream only when it has room to spare.
TEST(DeflateZlib, OneByteToSpareIsRoomEnough) {
  for (const std::string& data : deflate_samples()) {
    const std::string expected = raw_deflate(data);
    EXPECT_TRUE(deflated(deflate_raw_zlib, data, expected.size() + 1) == expected) << data.size();
    EXPECT_FALSE(deflated(deflate_raw_zlib, data, expected.size() - 1)) << data.size();
  }
}

}  // namespace
}  // namespace readkit::core_deflate_zlib_test
