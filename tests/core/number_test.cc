#include "core/number.h"

#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/comma_locale.h"
#include "support/expect_kind.h"
#include "support/random_data.h"

namespace readkit::core_number_test {
namespace {

float float_of(std::uint32_t bits) {
  float value = 0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

std::uint32_t bits_of(float value) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

std::string printed(float value) {
  char text[128];
  const int size = std::snprintf(text, sizeof text, "%f", static_cast<double>(value));
  return {text, static_cast<std::size_t>(size)};
}

std::string formatted(float value) {
  std::vector<char> room(kMaxFloatText);  // of its own size, so that an overrun is seen
  char* const end = format_float(room.data(), value);
  return {room.data(), end};
}

template <typename Integer>
std::string formatted_integer(Integer value) {
  std::vector<char> room(kMaxIntegerText);
  char* const end = format_integer(room.data(), value);
  return {room.data(), end};
}

// ---- Reading integers -------------------------------------------------------------------------

struct IntegerRow {
  const char* text;
  int base;
  long value;
  std::size_t used;
};

constexpr long kMost = std::numeric_limits<long>::max();
constexpr long kLeast = std::numeric_limits<long>::min();

const IntegerRow kIntegers[] = {
    {"", 10, 0, 0},
    {"0", 10, 0, 1},
    {"42", 10, 42, 2},
    {"-42", 10, -42, 3},
    {"+42", 10, 42, 3},
    {"007", 10, 7, 3},
    {"12abc", 10, 12, 2},
    {"12\t34", 10, 12, 2},
    {"1 2", 10, 1, 1},
    {"-0", 10, 0, 2},
    // Blanks before the number, and what is no number.
    {" \t\n\v\f\r 5", 10, 5, 8},
    {"   ", 10, 0, 0},
    {"-", 10, 0, 0},
    {"+", 10, 0, 0},
    {" -", 10, 0, 0},
    {"--5", 10, 0, 0},
    {"+-5", 10, 0, 0},
    {"- 5", 10, 0, 0},
    {",5", 10, 0, 0},
    {"x5", 10, 0, 0},
    {"*", 10, 0, 0},
    {"0x10", 10, 0, 1},
    {"1e3", 10, 1, 1},
    // The limits, and beyond them.
    {"9223372036854775807", 10, kMost, 19},
    {"9223372036854775808", 10, kMost, 19},
    {"99999999999999999999999", 10, kMost, 23},
    {"-9223372036854775808", 10, kLeast, 20},
    {"-9223372036854775809", 10, kLeast, 20},
    {"-99999999999999999999999x", 10, kLeast, 24},
    {"000000000000000000000000000001", 10, 1, 30},
    // Base 16.
    {"ff", 16, 255, 2},
    {"FF", 16, 255, 2},
    {"fG", 16, 15, 1},
    {"0xff", 16, 255, 4},
    {"0XfF", 16, 255, 4},
    {"-0x10", 16, -16, 5},
    {"0x", 16, 0, 1},
    {"0xg", 16, 0, 1},
    {"x1", 16, 0, 0},
    {"7fffffffffffffff", 16, kMost, 16},
    {"8000000000000000", 16, kMost, 16},
    {"-8000000000000000", 16, kLeast, 17},
};

TEST(ParseLong, ReadsWhatStandsAtTheStart) {
  for (const IntegerRow& row : kIntegers) {
    std::size_t used = 99;
    EXPECT_EQ(parse_long(row.text, &used, row.base), row.value) << row.text;
    EXPECT_EQ(used, row.used) << row.text;
  }
}

TEST(ParseLong, TheTableIsWhatStrtolGives) {
  for (const IntegerRow& row : kIntegers) {
    char* end = nullptr;
    EXPECT_EQ(std::strtol(row.text, &end, row.base), row.value) << row.text;
    EXPECT_EQ(static_cast<std::size_t>(end - row.text), row.used) << row.text;
  }
}

TEST(ParseLong, EqualsStrtolOnRandomTexts) {
  Random random(2);
  const std::string alphabet = "0123456789009 -+xXaFg\t,.";
  for (int i = 0; i < 200000; ++i) {
    std::string text;
    for (std::uint64_t n = random() % 24; n > 0; --n) text += alphabet[random() % alphabet.size()];
    const int base = random() % 2 == 0 ? 10 : 16;
    char* end = nullptr;
    const long expected = std::strtol(text.c_str(), &end, base);
    std::size_t used = 99;
    ASSERT_EQ(parse_long(text, &used, base), expected) << '"' << text << "\" in base " << base;
    ASSERT_EQ(used, static_cast<std::size_t>(end - text.c_str())) << '"' << text << '"';
  }
}

// Numbers of so many digits that the last ones decide, as fields of text hold them.
TEST(ParseLong, EqualsStrtolOnTextsOfAboutAsManyDigitsAsLongHas) {
  Random random(7);
  const std::string limits[] = {"9223372036854775807", "999999999999999999", "99999999999999999",
                                "922337203685477580", "18446744073709551615"};
  const std::string blanks[] = {"", "", "", " ", "\t \n"};
  const std::string signs[] = {"", "", "-", "+", "--", "- "};
  const std::string rests[] = {"", "", "\t7", "x", "M10", ".", " 1", "-"};
  const auto any_of = [&](const auto& choices) { return choices[random() % std::size(choices)]; };
  for (int i = 0; i < 50000; ++i) {
    std::string digits = any_of(limits);
    if (random() % 2 == 0) digits = random_text(random, 16 + random() % 6, "0123456789");
    digits.back() = static_cast<char>('0' + random() % 10);
    const std::string zeros(random() % 4 == 0 ? random() % 20 : 0, '0');
    const std::string text = any_of(blanks) + any_of(signs) + zeros + digits + any_of(rests);
    char* end = nullptr;
    const long expected = std::strtol(text.c_str(), &end, 10);
    std::size_t used = 99;
    ASSERT_EQ(parse_long(text, &used), expected) << '"' << text << '"';
    ASSERT_EQ(used, static_cast<std::size_t>(end - text.c_str())) << '"' << text << '"';
    ASSERT_EQ(parse_long(text), expected) << '"' << text << '"';
  }
}

TEST(ParseLong, LooksAtNothingPastTheText) {
  const std::string digits = "123456";
  std::size_t used = 0;
  EXPECT_EQ(parse_long(std::string_view(digits).substr(0, 3), &used), 123);
  EXPECT_EQ(used, 3u);
  const std::vector<char> unterminated = {'0', 'x', 'f'};
  EXPECT_EQ(parse_long({unterminated.data(), 2}, &used, 16), 0);
  EXPECT_EQ(used, 1u);
  EXPECT_EQ(parse_long({unterminated.data(), 3}, &used, 16), 15);
}

TEST(CheckedLong, RaisesWhereStdStolDoes) {
  for (const IntegerRow& row : kIntegers) {
    try {
      const long expected = std::stol(row.text, nullptr, row.base);
      EXPECT_EQ(checked_long(row.text, row.base), expected) << row.text;
    } catch (const std::invalid_argument& error) {
      EXPECT_STD(checked_long(row.text, row.base), std::invalid_argument, error.what());
    } catch (const std::out_of_range& error) {
      EXPECT_STD(checked_long(row.text, row.base), std::out_of_range, error.what());
    }
  }
}

TEST(CheckedLong, TextWithoutANumberRaisesInvalidArgument) {
  EXPECT_STD(checked_long(",1,2"), std::invalid_argument, "stol");
}

TEST(CheckedLong, NumberBeyondLongRaisesOutOfRange) {
  EXPECT_STD(checked_long("9223372036854775808"), std::out_of_range, "stol");
}

// ---- Reading floats ---------------------------------------------------------------------------

const char* const kFloats[] = {
    "",        "0",       "-0",     "1.5",       "-1.5e3",
    "1e",      "1e+",     ".5",     "5.",        ".",
    "-.",      "inf",     "-INF",   "infinity",  "infinit",
    "nan",     "NAN(12)", "nan(",   "0x1p3",     "0x1.8p-2",
    "0x",      "1e38",    "3.4e38", "3.5e38",    "1e39",
    "-1e400",  "1e-38",   "1e-45",  "1e-46",     "1.17e-38",
    " \t2.5x", "+7",      "--1",    "1,5",       "1.5,2",
    ",1.5",    "*",       "1_000",  "0.1",       "16777217",
    "1e5000",  "1e-5000", "0e5000", "1.0000001", "3.4028235677973366e38",
};

TEST(ParseFloat, EqualsStrtofToTheBitOnATable) {
  for (const char* text : kFloats) {
    char* end = nullptr;
    const float expected = std::strtof(text, &end);
    std::size_t used = 99;
    EXPECT_EQ(bits_of(parse_float(text, &used)), bits_of(expected)) << text;
    EXPECT_EQ(used, static_cast<std::size_t>(end - text)) << text;
  }
}

TEST(ParseFloat, EqualsStrtofToTheBitOnRandomTexts) {
  Random random(3);
  const std::string alphabet = "0123456789..eE+- xpnaif,";
  for (int i = 0; i < 50000; ++i) {
    std::string text;
    for (std::uint64_t n = random() % 16; n > 0; --n) text += alphabet[random() % alphabet.size()];
    char* end = nullptr;
    const float expected = std::strtof(text.c_str(), &end);
    std::size_t used = 99;
    ASSERT_EQ(bits_of(parse_float(text, &used)), bits_of(expected)) << '"' << text << '"';
    ASSERT_EQ(used, static_cast<std::size_t>(end - text.c_str())) << '"' << text << '"';
  }
}

TEST(ParseFloat, LooksAtNothingPastTheText) {
  const std::vector<char> unterminated = {'1', '.', '5', '7'};
  std::size_t used = 0;
  EXPECT_EQ(parse_float({unterminated.data(), 3}, &used), 1.5F);
  EXPECT_EQ(used, 3u);
}

TEST(ParseFloat, LeavesErrnoAsItWas) {
  errno = 77;
  parse_float("1e400");
  EXPECT_EQ(errno, 77);
}

TEST(CheckedFloat, RaisesWhereStdStofDoes) {
  for (const char* text : kFloats) {
    try {
      const float expected = std::stof(text);
      EXPECT_EQ(bits_of(checked_float(text)), bits_of(expected)) << text;
    } catch (const std::invalid_argument& error) {
      EXPECT_STD(checked_float(text), std::invalid_argument, error.what());
    } catch (const std::out_of_range& error) {
      EXPECT_STD(checked_float(text), std::out_of_range, error.what());
    }
  }
}

// ---- Writing ----------------------------------------------------------------------------------

TEST(FormatInteger, WritesDecimals) {
  EXPECT_EQ(formatted_integer(std::uint32_t{0}), "0");
  EXPECT_EQ(formatted_integer(std::uint32_t{4294967295U}), "4294967295");
  EXPECT_EQ(formatted_integer(std::int32_t{-1}), "-1");
  EXPECT_EQ(formatted_integer(std::numeric_limits<std::int32_t>::min()), "-2147483648");
  EXPECT_EQ(formatted_integer(std::numeric_limits<std::int32_t>::max()), "2147483647");
}

TEST(FormatInteger, EqualsToStringForRandomNumbers) {
  Random random(4);
  for (int i = 0; i < 10000; ++i) {
    const auto bits = static_cast<std::uint32_t>(random() >> random() % 64);
    ASSERT_EQ(formatted_integer(bits), std::to_string(bits));
    ASSERT_EQ(formatted_integer(static_cast<std::int32_t>(bits)),
              std::to_string(static_cast<std::int32_t>(bits)));
  }
}

TEST(FormatFloat, WritesSixDecimals) {
  const struct {
    float value;
    const char* text;
  } rows[] = {
      {0.0F, "0.000000"},
      {-0.0F, "-0.000000"},
      {1.5F, "1.500000"},
      {2.5F, "2.500000"},
      {-0.25F, "-0.250000"},
      {0.1F, "0.100000"},
      {16777216.0F, "16777216.000000"},
      {1e-7F, "0.000000"},
      {5e-7F, "0.000000"},          // the nearest float lies below
      {1.0F / 0x1p7F, "0.007812"},  // exactly between two decimals: to even
      {3.0F / 0x1p7F, "0.023438"},
      {std::numeric_limits<float>::max(), "340282346638528859811704183484516925440.000000"},
      {std::numeric_limits<float>::lowest(), "-340282346638528859811704183484516925440.000000"},
      {std::numeric_limits<float>::denorm_min(), "0.000000"},
      {std::numeric_limits<float>::infinity(), "inf"},
      {-std::numeric_limits<float>::infinity(), "-inf"},
      {float_of(0x7fc00000), "nan"},
      {float_of(0xffc00000), "-nan"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(formatted(row.value), row.text);
    EXPECT_EQ(printed(row.value), row.text);
  }
}

TEST(FormatFloat, EqualsPrintedFloatForEveryExponentAndBothSigns) {
  for (std::uint32_t exponent = 0; exponent < 512; ++exponent) {
    for (const std::uint32_t mantissa : {0U, 1U, 0x400000U, 0x555555U, 0x7ffffeU, 0x7fffffU}) {
      const float value = float_of(exponent << 23 | mantissa);
      ASSERT_EQ(formatted(value), printed(value)) << std::hex << bits_of(value);
    }
  }
}

TEST(FormatFloat, EqualsPrintedFloatForRandomBitPatterns) {
  Random random(5);
  for (int i = 0; i < 300000; ++i) {
    const float value = float_of(static_cast<std::uint32_t>(random()));
    ASSERT_EQ(formatted(value), printed(value)) << std::hex << bits_of(value);
  }
}

TEST(FormatFloat, EqualsPrintedFloatNearTheHalvesOfTheLastDecimal) {
  Random random(6);
  for (int i = 0; i < 100000; ++i) {
    const auto halves = static_cast<float>(random_number(random, -4000000, 4000000)) / 2e6F;
    const float value = float_of(bits_of(halves) + static_cast<std::uint32_t>(random() % 3) - 1);
    ASSERT_EQ(formatted(value), printed(value)) << std::hex << bits_of(value);
  }
}

// ---- Independence of the locale ---------------------------------------------------------------

TEST(Number, DecimalPointDoesNotFollowTheLocale) {
  const CommaLocale locale;
  if (!locale.is_set()) GTEST_SKIP() << "no locale with a decimal comma can be set or made here";
  ASSERT_EQ(printed(1.5F), "1,500000");  // the locale is in force
  EXPECT_EQ(formatted(1.5F), "1.500000");
  EXPECT_EQ(formatted(1e6F), "1000000.000000");
  std::size_t used = 0;
  EXPECT_EQ(parse_float("1.5", &used), 1.5F);
  EXPECT_EQ(used, 3u);
  EXPECT_EQ(parse_float("1,5", &used), 1.0F);
  EXPECT_EQ(used, 1u);
  EXPECT_EQ(checked_float("2.5"), 2.5F);
  EXPECT_EQ(formatted_integer(std::int32_t{1234567}), "1234567");
  EXPECT_EQ(parse_long("1234.5"), 1234);
}

}  // namespace
}  // namespace readkit::core_number_test
