#include "records/bases.h"

#include <optional>
#include <string>
#include <vector>

#include "support/random_data.h"
#include "support/wide.h"

namespace readkit::records_bases_test {
namespace {

// Memory of just the size that is needed, so that tools that watch it see a step beyond.
std::string unpacked(const std::vector<std::uint8_t>& packed, std::size_t count) {
  std::vector<char> text(count);
  unpack_bases(packed.data(), count, text.data());
  return {text.begin(), text.end()};
}

std::optional<std::vector<std::uint8_t>> packed(const std::string& letters) {
  const std::vector<char> text(letters.begin(), letters.end());
  std::vector<std::uint8_t> out((letters.size() + 1) / 2);
  if (!pack_bases({text.data(), text.size()}, out.data())) return std::nullopt;
  return out;
}

std::string random_bases(Random& random, std::size_t size) {
  std::string letters;
  while (letters.size() < size) letters += kBaseLetters[random() % kBaseLetters.size()];
  return letters;
}

class Bases : public WideTest {};
INSTANTIATE_TEST_SUITE_P(Instructions, Bases, testing::Bool(), wide_test_name);

TEST_P(Bases, EveryPackedByteHasTheLettersOfItsHighAndLowNibble) {
  const std::string letters = "=ACMGRSVTWYHKDBN";
  for (int byte = 0; byte < 256; ++byte) {
    const std::string expected = {letters[static_cast<std::size_t>(byte >> 4)],
                                  letters[static_cast<std::size_t>(byte & 15)]};
    const auto value = static_cast<std::uint8_t>(byte);
    EXPECT_EQ(unpacked({value}, 2), expected) << byte;
    EXPECT_EQ(packed(expected), std::vector<std::uint8_t>{value}) << byte;
    std::string many;
    for (int i = 0; i < 64; ++i) many += expected;
    EXPECT_EQ(unpacked(std::vector<std::uint8_t>(64, value), 128), many) << byte;
    EXPECT_EQ(packed(many), std::vector<std::uint8_t>(64, value)) << byte;
  }
}

TEST_P(Bases, AnOddLastLetterIsTheHighNibbleAlone) {
  EXPECT_EQ(unpacked({0x12, 0x4F}, 3), "ACG");
  EXPECT_EQ(unpacked({0x8F}, 1), "T");
  EXPECT_EQ(packed("ACG"), (std::vector<std::uint8_t>{0x12, 0x40}));
  EXPECT_EQ(packed("T"), std::vector<std::uint8_t>{0x80});
}

TEST_P(Bases, NoLettersAreNoBytes) {
  EXPECT_EQ(unpacked({}, 0), "");
  EXPECT_EQ(packed(""), std::vector<std::uint8_t>());
}

TEST_P(Bases, OfEveryNumberComeBack) {
  Random random(3);
  for (std::size_t count = 0; count < 300; ++count) {
    const std::string letters = random_bases(random, count);
    const auto bytes = packed(letters);
    ASSERT_TRUE(bytes.has_value()) << letters;
    for (std::size_t i = 0; i < count; ++i) {
      const int code = (*bytes)[i / 2] >> (i % 2 == 0 ? 4 : 0) & 15;
      ASSERT_EQ(kBaseLetters[static_cast<std::size_t>(code)], letters[i]) << letters;
    }
    EXPECT_EQ(unpacked(*bytes, count), letters);
  }
}

TEST_P(Bases, OtherCharactersAreRefusedWhereverTheyStand) {
  Random random(4);
  for (int value = 0; value < 256; ++value) {
    const auto character = static_cast<char>(value);
    if (kBaseLetters.find(character) != std::string_view::npos) continue;
    for (const std::size_t count : {1U, 2U, 31U, 64U, 65U, 151U}) {
      std::string letters = random_bases(random, count);
      letters[random() % count] = character;
      EXPECT_EQ(packed(letters), std::nullopt) << value << " in " << count;
    }
  }
  for (std::size_t at = 0; at < 200; ++at) {
    std::string letters(200, 'A');
    letters[at] = 'a';
    EXPECT_EQ(packed(letters), std::nullopt) << at;
  }
}

}  // namespace
}  // namespace readkit::records_bases_test
