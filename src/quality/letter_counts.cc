#include "quality/letter_counts.h"

#include <array>
#include <numeric>

#include "quality/blocks.h"

// Compiles what stands in the namespace HWY_NAMESPACE once for each kind of processor.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "quality/letter_counts.cc"
#include "core/wide_targets.h"

HWY_BEFORE_NAMESPACE();
namespace readkit::HWY_NAMESPACE {

#if READKIT_WIDE

// Takes whole vectors, the last of which ends with the letters; returns whether there are enough.
bool CountVectors(const char* letters, std::size_t length, std::uint8_t* counts, std::size_t stride,
                  int& gc_count) {
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::ScalableTag<std::uint8_t> bytes;
  const std::size_t block = hn::Lanes(bytes);
  if (length < block) return false;
  const auto* const from = reinterpret_cast<const std::uint8_t*>(letters);
  auto gc = hn::Zero(bytes);
  // A mask is -1 where it is true.
  const auto add = [&](const auto& text, std::size_t at) HWY_ATTR {
    std::uint8_t* row = counts + at;
    for (const char letter : kCountedLetters) {
      const auto found =
          hn::VecFromMask(bytes, hn::Eq(text, hn::Set(bytes, static_cast<std::uint8_t>(letter))));
      hn::StoreU(hn::Sub(hn::LoadU(bytes, row), found), bytes, row);
      if (letter == 'C' || letter == 'G') gc = hn::Sub(gc, found);
      row += stride;
    }
  };
  std::size_t at = 0;
  for (; at + block <= length; at += block) add(hn::LoadU(bytes, from + at), at);
  if (at < length) {
    const std::size_t last = length - block;
    const auto text = hn::LoadU(bytes, from + last);
    add(hn::IfThenZeroElse(hn::FirstN(bytes, at - last), text), last);
  }
  const hn::Repartition<std::uint64_t, decltype(bytes)> sums;
  gc_count = static_cast<int>(hn::GetLane(hn::SumOfLanes(sums, hn::SumsOf8(gc))));
  return true;
}

#else

bool CountVectors(const char*, std::size_t, std::uint8_t*, std::size_t, int&) { return false; }

#endif

}  // namespace readkit::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace readkit {
namespace {

// One letter at a time: compilers take the tests of several for a chain of jumps.
void count_letter(const char* __restrict block, char letter, std::uint8_t* __restrict counts) {
  for (std::size_t i = 0; i < kBlock; ++i) {
    counts[i] = static_cast<std::uint8_t>(counts[i] + (block[i] == letter ? 1 : 0));
  }
}

// C and G differ in this one bit.
void count_gc(const char* __restrict block, std::uint8_t* __restrict counts) {
  constexpr char kIndifferent = 'C' ^ 'G';
  for (std::size_t i = 0; i < kBlock; ++i) {
    const auto letter = static_cast<char>(block[i] | kIndifferent);
    counts[i] = static_cast<std::uint8_t>(counts[i] + (letter == 'G' ? 1 : 0));
  }
}

int count_blocks(const char* letters, std::size_t length, std::uint8_t* counts,
                 std::size_t stride) {
  std::array<std::uint8_t, kBlock> gc{};
  for_each_block(letters, length, '\0', [&](const char* block, std::size_t at) {
    std::uint8_t* row = counts + at;
    for (const char letter : kCountedLetters) {
      count_letter(block, letter, row);
      row += stride;
    }
    count_gc(block, gc.data());
  });
  return std::accumulate(gc.begin(), gc.end(), 0);
}

}  // namespace

int tally_letters(const char* letters, std::size_t length, std::uint8_t* counts,
                  std::size_t stride) {
  int gc = 0;
  if (READKIT_WIDEST(CountVectors)(letters, length, counts, stride, gc)) return gc;
  return count_blocks(letters, length, counts, stride);
}

}  // namespace readkit
#endif
