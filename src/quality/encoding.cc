#include "quality/encoding.h"

#include <algorithm>
#include <cstddef>

#include "core/errors.h"

namespace readkit {
namespace {

// The characters that are valid, as signed bytes; none when `lowest` is above `highest`.
struct ValidCharacters {
  int lowest;
  int highest;

  bool any() const { return lowest <= highest; }
  bool has(char c) const {
    const auto value = static_cast<signed char>(c);
    return lowest <= value && value <= highest;
  }
};

ValidCharacters valid_characters(long long low, long long high, long long shift) {
  constexpr long long kLowest = -128;
  constexpr long long kHighest = 127;
  // A shift beyond these takes every character out of the range of signed bytes.
  const bool reachable = -255 <= shift && shift <= 255;
  if (!reachable || low > kHighest || high < kLowest) return {1, 0};
  return {static_cast<int>(std::max(std::max(low, kLowest) - shift, kLowest)),
          static_cast<int>(std::min(std::min(high, kHighest) - shift, kHighest))};
}

// How many characters at the front are valid. One test of all of them, which compilers turn into
// wide instructions, tells that they are; only then the first that is not is looked for.
std::size_t count_valid(const char* qual, std::size_t length, const ValidCharacters& valid) {
  if (!valid.any()) return 0;
  const auto lowest = static_cast<std::uint8_t>(valid.lowest);
  const auto width = static_cast<std::uint8_t>(valid.highest - valid.lowest);
  std::uint8_t outside = 0;
  for (std::size_t i = 0; i < length; ++i) {
    outside |= static_cast<std::uint8_t>(static_cast<std::uint8_t>(qual[i]) - lowest) > width;
  }
  if (outside == 0) return length;
  const char* const first =
      std::find_if_not(qual, qual + length, [&](char c) { return valid.has(c); });
  return static_cast<std::size_t>(first - qual);
}

// Whether all characters were valid.
bool shift_valid(char* qual, std::size_t length, long long low, long long high, long long shift) {
  const std::size_t valid = count_valid(qual, length, valid_characters(low, high, shift));
  const auto step = static_cast<std::uint8_t>(shift);
  for (std::size_t i = 0; i < valid; ++i) {
    qual[i] = static_cast<char>(static_cast<std::uint8_t>(qual[i]) + step);
  }
  return valid == length;
}

}  // namespace

void verifyAndShift(std::string& qual, long long low, long long high, long long shift) {
  if (!shift_valid(qual.data(), qual.size(), low, high, shift)) throw InvalidData();
}

int verifyAndShift(char* qual, int length, long long low, long long high, long long shift) {
  if (length < 1) return length;
  return shift_valid(qual, static_cast<std::size_t>(length), low, high, shift) ? length : -2;
}

}  // namespace readkit
