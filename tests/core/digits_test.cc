#include "core/digits.h"

#include <string>

#include <gtest/gtest.h>

namespace readkit::core_digits_test {
namespace {

void expect_digits(std::string_view text, std::int64_t value, std::size_t count) {
  const LeadingDigits digits = leading_digits(text);
  EXPECT_EQ(digits.value, value) << text;
  EXPECT_EQ(digits.count, count) << text;
}

TEST(LeadingDigits, EndWithTheText) {
  expect_digits("", 0, 0);
  expect_digits("7", 7, 1);
  expect_digits("1234567", 1234567, 7);
  expect_digits("12345678", 12345678, 8);
  expect_digits("123456789", 123456789, 9);
}

TEST(LeadingDigits, EndAtEveryOtherCharacter) {
  for (int value = 0; value < 256; ++value) {
    const auto other = static_cast<char>(value);
    if (other >= '0' && other <= '9') continue;
    for (std::size_t count = 0; count < 12; ++count) {
      const std::string digits = std::string("987654321098").substr(0, count);
      // Digits, or what could carry over into them, behind it.
      for (const char* const rest : {"", "5555555555", "\xFF\xFA\xFF\xFF\xFF\xFF\xFF\xFF\xFF"}) {
        expect_digits(digits + other + rest, count == 0 ? 0 : std::stoll(digits), count);
      }
    }
  }
}

TEST(LeadingDigits, OfWhichZerosLeadCountThem) {
  expect_digits("000", 0, 3);
  expect_digits("00000000", 0, 8);
  expect_digits("0000000000012\t", 12, 13);
}

TEST(LeadingDigits, StopAtAsManyAsFitForSure) {
  expect_digits("999999999999999999", 999999999999999999, 18);
  expect_digits("9999999999999999999", 999999999999999999, 18);
}

TEST(MarkBelow, FindsTheFirstLowCharacterWhereverItStands) {
  for (int value = 0; value < 256; ++value) {
    for (std::size_t at = 0; at < 8; ++at) {
      std::string eight = "\xFFz~!\x80|az";
      eight[at] = static_cast<char>(value);
      const std::size_t expected = value < '!' ? at : 8;
      EXPECT_EQ(first_marked(mark_below(load<std::uint64_t>(eight.data()), '!')), expected)
          << value << " at " << at;
    }
  }
}

}  // namespace
}  // namespace readkit::core_digits_test
