#include "core/bytes.h"

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

namespace readkit::core_bytes_test {
namespace {

TEST(Bytes, LoadAndStoreAreLittleEndianAtAnyAlignment) {
  std::uint8_t bytes[7] = {0, 0x34, 0x12, 0xff, 0, 0, 0};
  EXPECT_EQ(readInt16(bytes + 1), 0x1234);
  EXPECT_EQ(readInt16(bytes + 2), 0xff12);
  storeInt16(bytes + 1, 0xabcd);
  EXPECT_EQ(bytes[1], 0xcd);
  EXPECT_EQ(bytes[2], 0xab);
  storeInt32(bytes + 3, 0x01020304);
  EXPECT_EQ(std::string(bytes + 3, bytes + 7), "\x04\x03\x02\x01");
}

}  // namespace
}  // namespace readkit::core_bytes_test
