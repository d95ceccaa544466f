#include "core/line_copy.h"

#include <cstdint>
#include <cstring>

// Compiles what stands in the namespace HWY_NAMESPACE once for each kind of processor.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/line_copy.cc"
#include "core/wide_targets.h"

HWY_BEFORE_NAMESPACE();
namespace readkit::HWY_NAMESPACE {

#if READKIT_WIDE

// The part of a line that whole vectors bring; all of it when that has the line's end.
LineCopy CopyBlocks(char* to, const char* from, std::size_t n) {
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::ScalableTag<std::uint8_t> bytes;
  const std::size_t block = hn::Lanes(bytes);
  const auto newline = hn::Set(bytes, std::uint8_t{'\n'});
  LineCopy copy;
  auto least = newline;  // in every place, a NUL is the least of all
  for (; n - copy.length >= block; copy.length += block) {
    const auto text = hn::LoadU(bytes, reinterpret_cast<const std::uint8_t*>(from) + copy.length);
    hn::StoreU(text, bytes, reinterpret_cast<std::uint8_t*>(to) + copy.length);
    const std::intptr_t end = hn::FindFirstTrue(bytes, hn::Eq(text, newline));
    if (end >= 0) {
      const std::size_t last = static_cast<std::size_t>(end) + 1;
      least = hn::Min(least, hn::IfThenElse(hn::FirstN(bytes, last), text, newline));
      copy.length += last;
      copy.ended = true;
      break;
    }
    least = hn::Min(least, text);
  }
  copy.has_nul = !hn::AllFalse(bytes, hn::Eq(least, hn::Zero(bytes)));
  return copy;
}

#else

LineCopy CopyBlocks(char*, const char*, std::size_t) { return {}; }

#endif

}  // namespace readkit::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace readkit {

LineCopy copy_line(char* to, const char* from, std::size_t n) {
  LineCopy copy = READKIT_WIDEST(CopyBlocks)(to, from, n);
  if (copy.ended || copy.length == n) return copy;
  std::size_t rest = n - copy.length;
  if (const void* newline = std::memchr(from + copy.length, '\n', rest)) {
    rest = static_cast<std::size_t>(static_cast<const char*>(newline) - (from + copy.length)) + 1;
    copy.ended = true;
  }
  std::memcpy(to + copy.length, from + copy.length, rest);
  copy.has_nul |= std::memchr(from + copy.length, '\0', rest) != nullptr;
  copy.length += rest;
  return copy;
}

}  // namespace readkit
#endif
