#include "records/field_text.h"

#include "core/bytes.h"
#include "core/number.h"
#include "records/alignment.h"

namespace readkit {
namespace {

constexpr char kOpLetters[] = "MIDNSHP=X???????";

}  // namespace

char* write_cigar(const std::uint8_t* ops, int count, char* out) {
  for (int i = 0; i < count; ++i, ops += 4) {
    const auto word = load<std::uint32_t>(ops);
    out = format_integer(out, word >> 4);
    *out++ = kOpLetters[word & 0xF];
  }
  return out;
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
