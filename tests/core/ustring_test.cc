#include "core/ustring.h"

#include <string>

#include <gtest/gtest.h>

#include "support/random_data.h"

namespace readkit::core_ustring_test {
namespace {

TEST(UString, Utf8BecomesUtf16AndComesBack) {
  const struct {
    std::string bytes;
    UString text;
  } rows[] = {
      {"", u""},
      {"reads.bam", u"reads.bam"},
      {"\xc3\xa4", u"\u00e4"},
      {"\xe2\x82\xac", u"\u20ac"},
      {"\xef\xbf\xbd", u"\ufffd"},
      {"\xf0\x9f\xa7\xac", u"\U0001f9ec"},
      {"\xf4\x8f\xbf\xbf", u"\U0010ffff"},
      {std::string("a\0b", 3), UString(u"a\0b", 3)},
      {"\x7f", u"\u007f"},
      {"\xc2\x80", u"\u0080"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(to_ustring(row.bytes), row.text);
    EXPECT_EQ(to_bytes(row.text), row.bytes);
  }
}

TEST(UString, ByteOutsideUtf8BecomesAnEscapeUnitAndComesBack) {
  const struct {
    std::string bytes;
    UString text;
  } rows[] = {
      {"\xff", {0xDCFF}},
      {"\x80", {0xDC80}},
      {"a\xe9z", {u'a', 0xDCE9, u'z'}},
      // A sequence cut short, an overlong form, an encoded surrogate, a point beyond U+10FFFF.
      {"\xe2\x82", {0xDCE2, 0xDC82}},
      {"\xe2\x82x", {0xDCE2, 0xDC82, u'x'}},
      {"\xc0\x80", {0xDCC0, 0xDC80}},
      {"\xed\xa0\x80", {0xDCED, 0xDCA0, 0xDC80}},
      {"\xed\xb2\x80", {0xDCED, 0xDCB2, 0xDC80}},
      {"\xf4\x90\x80\x80", {0xDCF4, 0xDC90, 0xDC80, 0xDC80}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(to_ustring(row.bytes), row.text);
    EXPECT_EQ(to_bytes(row.text), row.bytes);
  }
}

TEST(UString, EveryByteSurvivesTheRoundTrip) {
  Random random(1);
  for (int i = 0; i < 2000; ++i) {
    const std::string bytes = random_bytes(random, random() % 40);
    EXPECT_EQ(to_bytes(to_ustring(bytes)), bytes);
  }
}

TEST(UString, EveryPairOfBytesSurvivesTheRoundTrip) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      const std::string bytes = {static_cast<char>(first), static_cast<char>(second)};
      ASSERT_EQ(to_bytes(to_ustring(bytes)), bytes) << first << " " << second;
    }
  }
}

TEST(UString, UnpairedSurrogateThatIsNoEscapedByteBecomesTheReplacementCharacter) {
  const std::string replacement = "\xef\xbf\xbd";
  EXPECT_EQ(to_bytes(UString{0xD800}), replacement);
  EXPECT_EQ(to_bytes(UString{0xDBFF, u'a'}), replacement + "a");
  EXPECT_EQ(to_bytes(UString{0xDC00}), replacement);
  EXPECT_EQ(to_bytes(UString{0xDC7F}), replacement);
  EXPECT_EQ(to_bytes(UString{0xDD00}), replacement);
  EXPECT_EQ(to_bytes(UString{0xDFFF}), replacement);
}

TEST(UString, LowHalfOfAPairIsNotTakenForAnEscapedByte) {
  EXPECT_EQ(to_bytes(UString{0xD800, 0xDC80}), "\xf0\x90\x82\x80");
}

TEST(UString, NumbersBecomeDecimalText) {
  EXPECT_EQ(to_ustring(0), u"0");
  EXPECT_EQ(to_ustring(-1), u"-1");
  EXPECT_EQ(to_ustring(9223372036854775807LL), u"9223372036854775807");
  EXPECT_EQ(to_ustring(-9223372036854775807LL - 1), u"-9223372036854775808");
}

}  // namespace
}  // namespace readkit::core_ustring_test
