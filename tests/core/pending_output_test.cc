#include "core/pending_output.h"

#include <string>

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace readkit::core_pending_output_test {
namespace {

class PendingOutputTest : public testing::Test {
 protected:
  std::FILE* open(const std::string& name) {
    std::FILE* const file = std::fopen(name.c_str(), "wb");
    std::setvbuf(file, nullptr, _IONBF, 0);
    return file;
  }

  TempDir folder_;
  const std::string name_ = folder_.native("f");
};

TEST_F(PendingOutputTest, WithoutRoomKeepsNothing) {
  PendingOutput output;
  EXPECT_FALSE(output.keep("", 0));
  EXPECT_FALSE(output.keep("x", 1));
  EXPECT_EQ(output.room_left(), 0u);
}

TEST_F(PendingOutputTest, TakesABlockWholeOrNotAtAll) {
  PendingOutput output(4);
  EXPECT_TRUE(output.keep("abc", 3));
  EXPECT_FALSE(output.keep("de", 2));
  EXPECT_EQ(output.room_left(), 1u);
  EXPECT_TRUE(output.keep("f", 1));
  EXPECT_EQ(output.room_left(), 0u);
  EXPECT_TRUE(output.close(open(name_)));
  EXPECT_FALSE(output.keep("g", 1));
  EXPECT_EQ(folder_.read("f"), "abcf");
}

TEST_F(PendingOutputTest, BroughtOutIsForgotten) {
  PendingOutput output(4);
  std::FILE* const file = open(name_);
  output.keep("abcd", 4);
  EXPECT_TRUE(output.bring_out(file));
  EXPECT_EQ(folder_.read("f"), "abcd");
  EXPECT_EQ(output.room_left(), 4u);
  output.keep("e", 1);
  EXPECT_TRUE(output.close(file));
  EXPECT_EQ(folder_.read("f"), "abcde");
}

TEST_F(PendingOutputTest, TellsThatAFullDiskTookNothingAndGoesOnTelling) {
  PendingOutput output(4);
  std::FILE* const file = open("/dev/full");
  EXPECT_TRUE(output.bring_out(file));
  output.keep("abcd", 4);
  EXPECT_FALSE(output.bring_out(file));
  EXPECT_FALSE(output.keep("e", 1));
  EXPECT_FALSE(output.bring_out(file));
  EXPECT_FALSE(output.close(file));
}

}  // namespace
}  // namespace readkit::core_pending_output_test
