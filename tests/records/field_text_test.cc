#include "records/field_text.h"

#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/bytes.h"
#include "records/alignment.h"

namespace readkit::records_field_text_test {
namespace {

std::string cigar_text(const std::vector<std::uint32_t>& ops) {
  std::vector<std::uint8_t> bytes(ops.size() * 4);
  for (std::size_t i = 0; i < ops.size(); ++i) storeInt32(bytes.data() + 4 * i, ops[i]);
  std::string text(ops.size() * kMaxCigarOpText, '\0');
  const char* const end = write_cigar(bytes.data(), static_cast<int>(ops.size()), text.data());
  text.resize(static_cast<std::size_t>(end - text.data()));
  return text;
}

TEST(FieldText, PositionsCountFromOneAndWrap) {
  EXPECT_EQ(one_based(-1), 0);
  EXPECT_EQ(one_based(0), 1);
  EXPECT_EQ(one_based(2147483647), -2147483648LL);
}

TEST(FieldText, EveryOpCodeHasItsLetterAndCodesWithoutOnePrintAsQuestionMark) {
  const std::string letters = "MIDNSHP=X???????";
  for (std::uint32_t code = 0; code < 16; ++code) {
    EXPECT_EQ(cigar_text({7U << 4 | code}), std::string("7") + letters[code]) << code;
  }
}

TEST(FieldText, TheLongestOpFitsTheStatedRoom) {
  EXPECT_EQ(cigar_text({0xFFFFFFF0U, 0U}), "268435455M0M");
  EXPECT_EQ(std::string("268435455M").size(), kMaxCigarOpText);
}

TEST(FieldText, QualitiesWrapAt256) {
  const std::vector<std::uint8_t> qualities = {0, 40, 93, 222, 223, 254, 255};
  std::string text(qualities.size(), '?');
  EXPECT_TRUE(write_qualities(qualities.data(), qualities.size(), text.data()));
  EXPECT_EQ(text, std::string("!I~\xFF\0\x1F\x20", 7));
}

TEST(FieldText, OnlyQualitiesThatAreAllFFCountAsMissing) {
  std::mt19937 random(3);
  for (std::size_t count = 1; count < 200; ++count) {
    std::vector<std::uint8_t> qualities(count, 0xFF);
    std::string text(count, '?');
    EXPECT_FALSE(write_qualities(qualities.data(), count, text.data())) << count;
    qualities[random() % count] = static_cast<std::uint8_t>(random() % 255);
    EXPECT_TRUE(write_qualities(qualities.data(), count, text.data())) << count;
  }
}

}  // namespace
}  // namespace readkit::records_field_text_test
