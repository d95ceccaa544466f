#include "quality/encoding.h"

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/expect_kind.h"
#include "support/random_data.h"

namespace readkit::quality_encoding_test {
namespace {

constexpr long long kLeast = std::numeric_limits<long long>::min();
constexpr long long kMost = std::numeric_limits<long long>::max();

// What becomes of a text.
struct Outcome {
  std::string text;
  bool valid;

  bool operator==(const Outcome&) const = default;
};

Outcome shift_string(std::string text, long long low, long long high, long long shift) {
  try {
    verifyAndShift(text, low, high, shift);
  } catch (const InvalidData&) {
    return {text, false};
  }
  return {text, true};
}

Outcome shift_pointer(const std::string& text, long long low, long long high, long long shift) {
  std::vector<char> bytes(text.begin(), text.end());  // of its own size
  const int length = static_cast<int>(text.size());
  const int result = verifyAndShift(bytes.data(), length, low, high, shift);
  EXPECT_TRUE(result == length || result == -2) << result;
  return {std::string(bytes.begin(), bytes.end()), result == length};
}

// One character after the other, in the plainest words.
Outcome shift_slowly(std::string text, long long low, long long high, long long shift) {
  for (char& c : text) {
    if (shift < -1000 || shift > 1000) return {text, false};
    const long long value = static_cast<signed char>(c) + shift;
    if (value < low || value > high || value < -128 || value > 127) return {text, false};
    c = static_cast<char>(value);
  }
  return {text, true};
}

// ---- Single texts ------------------------------------------------------------------------------

TEST(VerifyAndShift, CharactersBecomeQualities) {
  std::string text = "II";
  verifyAndShift(text, 0, 41, -33);
  EXPECT_EQ(text, "\x28\x28");
  char bytes[] = {'!', 'I', 'J'};
  EXPECT_EQ(verifyAndShift(bytes, 3, 0, 41, -33), 3);
  EXPECT_EQ(std::string(bytes, 3), std::string("\0\x28\x29", 3));
}

TEST(VerifyAndShift, BothLimitsAreValidAndTheirNeighboursAreNot) {
  struct {
    const char* text;
    bool valid;
  } const rows[] = {{"!", true}, {"J", true}, {" ", false}, {"K", false}};
  for (const auto& row : rows) {
    EXPECT_EQ(shift_string(row.text, 0, 41, -33).valid, row.valid) << row.text;
    EXPECT_EQ(shift_pointer(row.text, 0, 41, -33).valid, row.valid) << row.text;
  }
}

TEST(VerifyAndShift, StringFormRaisesInvalidDataWithoutArguments) {
  std::string text = "IK";
  EXPECT_KIND(verifyAndShift(text, 0, 41, -33), InvalidData);
  EXPECT_EQ(text, "\x28K");
}

TEST(VerifyAndShift, PointerFormReturnsMinusTwo) {
  char bytes[] = {'I', 'K', 'I'};
  EXPECT_EQ(verifyAndShift(bytes, 3, 0, 41, -33), -2);
  EXPECT_EQ(std::string(bytes, 3), "\x28KI");
}

TEST(VerifyAndShift, CharactersBeforeTheFailingOneStayShiftedAndTheOthersDoNot) {
  const Outcome expected = {"\x28\x28 I ", false};
  EXPECT_EQ(shift_string("II I ", 0, 41, -33), expected);
  EXPECT_EQ(shift_pointer("II I ", 0, 41, -33), expected);
}

TEST(VerifyAndShift, EmptyTextIsValidWhateverTheRange) {
  std::string empty;
  EXPECT_NO_THROW(verifyAndShift(empty, 1, 0, 0));
  EXPECT_NO_THROW(verifyAndShift(empty, kMost, kLeast, kLeast));
  EXPECT_EQ(empty, "");
}

TEST(VerifyAndShift, LengthBelowOneComesBackAndNothingIsTouched) {
  char bytes[] = {'I'};
  for (const int length : {0, -1, -2, -1000, std::numeric_limits<int>::min()}) {
    EXPECT_EQ(verifyAndShift(bytes, length, 0, 41, -33), length);
    EXPECT_EQ(verifyAndShift(nullptr, length, 1, 0, kMost), length);
  }
  EXPECT_EQ(bytes[0], 'I');
}

TEST(VerifyAndShift, CharactersBehindTheLengthStay) {
  char bytes[] = {'I', 'I', 'I'};
  EXPECT_EQ(verifyAndShift(bytes, 2, 0, 41, -33), 2);
  EXPECT_EQ(std::string(bytes, 3), "\x28\x28I");
}

TEST(VerifyAndShift, CharactersFrom0x80OnAreNegative) {
  EXPECT_EQ(shift_string("\xff\x80", -128, -1, 0), (Outcome{"\xff\x80", true}));
  EXPECT_FALSE(shift_string("\xff", 0, 255, 0).valid);
  EXPECT_EQ(shift_string("\xff", 0, 255, 1), (Outcome{std::string(1, '\0'), true}));
  EXPECT_EQ(shift_string("\x80", 0, 41, 150), (Outcome{"\x16", true}));
}

TEST(VerifyAndShift, ResultsThatDoNotFitASignedByteAreInvalid) {
  EXPECT_EQ(shift_string("\x7f", -1000, 1000, 0), (Outcome{"\x7f", true}));
  EXPECT_EQ(shift_string("\x7f", -1000, 1000, 1), (Outcome{"\x7f", false}));
  EXPECT_EQ(shift_string("\x80", -1000, 1000, -1), (Outcome{"\x80", false}));
  EXPECT_EQ(shift_string("!", kLeast, kMost, 95), (Outcome{"!", false}));
  EXPECT_EQ(shift_string("!", kLeast, kMost, 94), (Outcome{"\x7f", true}));
}

TEST(VerifyAndShift, ShiftsBeyondAllBytesMakeEveryCharacterInvalid) {
  // 256 and its multiples would give the same byte again.
  for (const long long shift : {256LL, -256LL, 512LL, 1LL << 32, -(1LL << 32), kMost, kLeast}) {
    EXPECT_EQ(shift_string("I", kLeast, kMost, shift), (Outcome{"I", false})) << shift;
    EXPECT_EQ(shift_pointer("I", kLeast, kMost, shift), (Outcome{"I", false})) << shift;
  }
}

TEST(VerifyAndShift, RangesWithoutAByteMakeEveryCharacterInvalid) {
  struct {
    long long low;
    long long high;
  } const rows[] = {{41, 0},   {128, kMost},    {kLeast, -129},
                    {42, 41},  {kMost, kMost},  {kLeast, kLeast},
                    {300, 10}, {kMost, kLeast}, {(1LL << 32) + 0, (1LL << 32) + 41}};
  for (const auto& row : rows) {
    EXPECT_EQ(shift_string("I", row.low, row.high, -33), (Outcome{"I", false})) << row.low;
    EXPECT_EQ(shift_pointer("I", row.low, row.high, -33), (Outcome{"I", false})) << row.low;
  }
}

// ---- Against the plain way ---------------------------------------------------------------------

TEST(VerifyAndShift, EveryCharacterComesOutAsWithTheSlowLoop) {
  const long long limits[] = {kLeast, -256, -129, -128, -127, -1,  0,   1,
                              40,     41,   93,   126,  127,  128, 255, kMost};
  const long long shifts[] = {kLeast, -256, -255, -128, -64, -33, -1,  0,
                              1,      33,   127,  128,  254, 255, 256, kMost};
  int compared = 0;
  for (const long long low : limits) {
    for (const long long high : limits) {
      for (const long long shift : shifts) {
        for (int c = 0; c < 256; ++c) {
          char byte = static_cast<char>(c);
          const Outcome expected = shift_slowly(std::string(1, byte), low, high, shift);
          const bool valid = verifyAndShift(&byte, 1, low, high, shift) == 1;
          if (valid != expected.valid || byte != expected.text[0]) {
            FAIL() << c << " within " << low << ".." << high << ", shifted by " << shift;
          }
          ++compared;
        }
      }
    }
  }
  EXPECT_EQ(compared, 16 * 16 * 16 * 256);
}

TEST(VerifyAndShift, EveryLengthComesOutAsWithTheSlowLoopWhereverItFails) {
  Random random(1);
  for (std::size_t length = 0; length <= 300; ++length) {
    std::string sound(length, '\0');
    for (char& c : sound) c = static_cast<char>(random_number(random, '!', 'J'));
    EXPECT_EQ(shift_string(sound, 0, 41, -33), shift_slowly(sound, 0, 41, -33)) << length;
    EXPECT_TRUE(shift_pointer(sound, 0, 41, -33).valid) << length;
    if (length == 0) continue;
    for (const std::size_t at : {std::size_t{0}, length / 2, length - 1, random() % length}) {
      std::string broken = sound;
      broken[at] = random() % 2 == 0 ? ' ' : 'K';
      const Outcome expected = shift_slowly(broken, 0, 41, -33);
      ASSERT_EQ(shift_string(broken, 0, 41, -33), expected) << length << ", " << at;
      ASSERT_EQ(shift_pointer(broken, 0, 41, -33), expected) << length << ", " << at;
      ASSERT_FALSE(expected.valid);
    }
  }
}

TEST(VerifyAndShift, RandomTextsComeOutAsWithTheSlowLoop) {
  Random random(2);
  int valid = 0;
  for (int round = 0; round < 3000; ++round) {
    const auto size = static_cast<std::size_t>(random_number(random, 0, 300));
    // Characters of a range that is often a little wider than the valid one.
    const long long shift = random_number(random, -260, 260);
    const long long low = random_number(random, -140, 130);
    const long long high = low + random_number(random, -5, 140);
    std::string text(size, '\0');
    for (char& c : text) {
      c = static_cast<char>(random_number(random, low - (random() % 400 == 0), high) - shift);
    }
    const Outcome expected = shift_slowly(text, low, high, shift);
    ASSERT_EQ(shift_string(text, low, high, shift), expected);
    ASSERT_EQ(shift_pointer(text, low, high, shift), expected);
    valid += expected.valid && size > 0 ? 1 : 0;
  }
  EXPECT_GT(valid, 300);
  EXPECT_LT(valid, 2700);
}

// ---- Settings ----------------------------------------------------------------------------------

TEST(Encoding, ShiftIsTheOffsetTakenAway) {
  encoding_t encoding;
  EXPECT_EQ(encoding.shift(), 0);
  encoding.offset = 33;
  EXPECT_EQ(encoding.shift(), -33);
  encoding.offset = -5;
  EXPECT_EQ(encoding.shift(), 5);
  encoding.offset = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(encoding.shift(), -kMost);
}

TEST(Encoding, ShiftOfTheMostNegativeOffsetSaturates) {
  encoding_t encoding;
  encoding.offset = std::numeric_limits<std::int64_t>::min();
  EXPECT_EQ(encoding.shift(), kMost);
  encoding.offset = std::numeric_limits<std::int64_t>::min() + 1;
  EXPECT_EQ(encoding.shift(), kMost);
}

TEST(Encoding, WithoutSettingsAllRecordsAreScannedWhole) {
  const encoding_t encoding;
  EXPECT_FALSE(encoding.has_indices);
  EXPECT_EQ(encoding.read_length, -1);
  EXPECT_EQ(encoding.min_length, -1);
  EXPECT_EQ(encoding.scan_start, 0);
  EXPECT_EQ(encoding.scan_end, -1);
}

}  // namespace
}  // namespace readkit::quality_encoding_test
