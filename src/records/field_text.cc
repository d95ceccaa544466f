#include "records/field_text.h"

#include <array>

#include "core/bytes.h"
#include "core/number.h"
#include "records/alignment.h"

namespace readkit {
namespace {

constexpr char kOpLetters[] = "MIDNSHP=X???????";
constexpr char kBaseLetters[] = "=ACMGRSVTWYHKDBN";

// The two letters of every packed byte, in the order in which they stand in memory.
constexpr std::array<std::array<char, 2>, 256> kBasePairs = [] {
  std::array<std::array<char, 2>, 256> pairs{};
  for (std::size_t byte = 0; byte < pairs.size(); ++byte) {
    pairs[byte] = {kBaseLetters[byte >> 4], kBaseLetters[byte & 0xF]};
  }
  return pairs;
}();

}  // namespace

char* write_cigar(const std::uint8_t* ops, int count, char* out) {
  for (int i = 0; i < count; ++i, ops += 4) {
    const auto word = load<std::uint32_t>(ops);
    out = format_integer(out, word >> 4);
    *out++ = kOpLetters[word & 0xF];
  }
  return out;
}

void write_bases(const std::uint8_t* packed, std::size_t count, char* out) {
  for (std::size_t i = 0; i < count / 2; ++i) {
    std::memcpy(out + 2 * i, kBasePairs[packed[i]].data(), 2);
  }
  if (count % 2 != 0) out[count - 1] = kBaseLetters[packed[count / 2] >> 4];
}

bool write_qualities(const std::uint8_t* qualities, std::size_t count, char* out) {
  std::uint8_t common_bits = record_format::kMissingQuality;
  for (std::size_t i = 0; i < count; ++i) {
    common_bits &= qualities[i];
    out[i] = static_cast<char>(qualities[i] + record_format::kQualityOffset);
  }
  return common_bits != record_format::kMissingQuality;
}

}  // namespace readkit
