// Both directions are table lookups: thirty-two at a time where the processor has
// instructions for that, pairs of letters otherwise.
#include "records/bases.h"

#include <array>
#include <cstring>

#include "core/bytes.h"

// Compiles what stands in the namespace HWY_NAMESPACE once for each kind of processor.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "records/bases.cc"
#include "core/wide_targets.h"

HWY_BEFORE_NAMESPACE();
namespace readkit::HWY_NAMESPACE {

#if READKIT_WIDE

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using Vector = hn::Vec<Bytes>;

// The same sixteen bytes in every block of a vector.
HWY_INLINE Vector table(const char* sixteen) {
  return hn::LoadDup128(Bytes(), reinterpret_cast<const std::uint8_t*>(sixteen));
}

// Codes by the low five bits of a letter; bits that no letter has give 0.
alignas(16) constexpr std::array<std::uint8_t, 32> kCodes = [] {
  std::array<std::uint8_t, 32> codes{};
  for (std::size_t code = 0; code < kBaseLetters.size(); ++code) {
    codes[kBaseLetters[code] & 0x1F] = static_cast<std::uint8_t>(code);
  }
  return codes;
}();

std::size_t UnpackBlocks(const std::uint8_t* packed, std::size_t count, char* out) {
  const Bytes bytes;
  const std::size_t block = hn::Lanes(bytes);
  if (count < 2 * block) return 0;
  const Vector letters = table(kBaseLetters.data());
  const Vector low = hn::Set(bytes, 0x0F);
  const auto unpack = [&](std::size_t at) HWY_ATTR {
    const Vector pairs = hn::LoadU(bytes, packed + at);
    const Vector first = hn::TableLookupBytes(letters, hn::ShiftRight<4>(pairs));
    const Vector second = hn::TableLookupBytes(letters, hn::And(pairs, low));
    hn::StoreInterleaved2(first, second, bytes, reinterpret_cast<std::uint8_t*>(out + 2 * at));
  };
  const std::size_t whole = count / 2;
  for (std::size_t at = 0; at + block <= whole; at += block) unpack(at);
  unpack(whole - block);
  return 2 * whole;
}

// Codes of the letters at `from`; `valid` loses the lanes of those that have none.
HWY_INLINE Vector Encode(const char* from, Vector& differences) {
  const Bytes bytes;
  const Vector letters = hn::LoadU(bytes, reinterpret_cast<const std::uint8_t*>(from));
  const Vector low = hn::And(letters, hn::Set(bytes, 0x0F));
  const Vector first = hn::TableLookupBytes(hn::LoadDup128(bytes, kCodes.data()), low);
  const Vector second = hn::TableLookupBytes(hn::LoadDup128(bytes, kCodes.data() + 16), low);
  const auto is_second = hn::TestBit(letters, hn::Set(bytes, 0x10));
  const Vector codes = hn::IfThenElse(is_second, second, first);
  const Vector back = hn::TableLookupBytes(table(kBaseLetters.data()), codes);
  differences = hn::Or(differences, hn::Xor(back, letters));
  return codes;
}

std::size_t PackBlocks(const char* letters, std::size_t count, std::uint8_t* out, bool& valid) {
  const Bytes bytes;
  const std::size_t block = hn::Lanes(bytes);
  if (count < 2 * block) return 0;
  Vector differences = hn::Zero(bytes);
  const auto pack = [&](std::size_t at) HWY_ATTR {
    const hn::Repartition<std::uint16_t, Bytes> words;
    const Vector first = Encode(letters + at, differences);
    const Vector second = Encode(letters + at + block, differences);
    // Each pair becomes the low byte of its word; then the low bytes of both vectors come together.
    const auto join = [&](Vector codes) HWY_ATTR {
      const auto pairs = hn::BitCast(words, codes);
      return hn::BitCast(bytes, hn::Or(hn::ShiftLeft<4>(pairs), hn::ShiftRight<8>(pairs)));
    };
    const Vector packed = hn::ConcatEven(bytes, join(second), join(first));
    hn::StoreU(packed, bytes, out + at / 2);
  };
  const std::size_t whole = count / 2 * 2;
  for (std::size_t at = 0; at + 2 * block <= whole; at += 2 * block) pack(at);
  pack(whole - 2 * block);
  valid = hn::AllTrue(bytes, hn::Eq(differences, hn::Zero(bytes)));
  return whole;
}

#else

std::size_t UnpackBlocks(const std::uint8_t*, std::size_t, char*) { return 0; }
std::size_t PackBlocks(const char*, std::size_t, std::uint8_t*, bool&) { return 0; }

#endif

}  // namespace readkit::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace readkit {
namespace {

// The two letters of every packed byte, in the order in which they stand in memory.
constexpr std::array<std::array<char, 2>, 256> kPairs = [] {
  std::array<std::array<char, 2>, 256> pairs{};
  for (std::size_t byte = 0; byte < pairs.size(); ++byte) {
    pairs[byte] = {kBaseLetters[byte >> 4], kBaseLetters[byte & 0xF]};
  }
  return pairs;
}();

constexpr std::uint8_t kNoCode = 0xFF;
constexpr std::array<std::uint8_t, 256> kCodeOf = [] {
  std::array<std::uint8_t, 256> codes{};
  codes.fill(kNoCode);
  for (std::size_t code = 0; code < kBaseLetters.size(); ++code) {
    codes[static_cast<unsigned char>(kBaseLetters[code])] = static_cast<std::uint8_t>(code);
  }
  return codes;
}();

}  // namespace

void unpack_bases(const std::uint8_t* packed, std::size_t count, char* out) {
  std::size_t done = READKIT_WIDEST(UnpackBlocks)(packed, count, out);
  for (; done + 1 < count; done += 2) std::memcpy(out + done, kPairs[packed[done / 2]].data(), 2);
  if (done < count) out[done] = kBaseLetters[packed[done / 2] >> 4];
}

bool pack_bases(std::string_view letters, std::uint8_t* out) {
  bool valid = true;
  const std::size_t done = READKIT_WIDEST(PackBlocks)(letters.data(), letters.size(), out, valid);
  // Codes are below 16; the mark of no code has more bits.
  std::uint8_t bits = 0;
  for (std::size_t i = done; i < letters.size(); i += 2) {
    const std::uint8_t high = kCodeOf[static_cast<unsigned char>(letters[i])];
    const bool has_low = i + 1 < letters.size();
    const std::uint8_t low =
        has_low ? kCodeOf[static_cast<unsigned char>(letters[i + 1])] : std::uint8_t{0};
    out[i / 2] = static_cast<std::uint8_t>(high << 4 | low);
    bits |= static_cast<std::uint8_t>(high | low);
  }
  return valid && bits < kBaseLetters.size();
}

}  // namespace readkit
#endif
