// How much memory of this process is really in use.
#pragma once

#include <cstddef>

namespace readkit {

/// Runs `step` and returns by how many bytes the memory in use rose above what it was before, at
/// its highest. Memory that the process has let go of before counts as not in use.
template <typename Step>
std::size_t resident_growth(const Step& step);

/// The memory in use now, and the most of it since the last call of `forget_resident_peak`.
std::size_t resident_memory();
std::size_t resident_peak();
/// Returns what is free to the system, and forgets the peak.
void forget_resident_peak();

template <typename Step>
std::size_t resident_growth(const Step& step) {
  forget_resident_peak();
  const std::size_t before = resident_memory();
  step();
  const std::size_t peak = resident_peak();
  return peak > before ? peak - before : 0;
}

/// Whether memory that is let go of may be kept for a while all the same, as sanitizers do.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kMemoryIsKept = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool kMemoryIsKept = true;
#else
inline constexpr bool kMemoryIsKept = false;
#endif
#else
inline constexpr bool kMemoryIsKept = false;
#endif

}  // namespace readkit
