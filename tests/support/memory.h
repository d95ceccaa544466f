// How much memory a step takes, for tests of what damaged counts must not make the library take.
#pragma once

#include <cstddef>
#include <functional>

namespace readkit {

/// The most bytes of address space that this process has had so far, touched or not.
std::size_t peak_memory();

/// Runs `step` and returns by how much it raised that peak.
template <typename Step>
std::size_t memory_growth(const Step& step) {
  const std::size_t before = peak_memory();
  step();
  return peak_memory() - before;
}

/// The same in a process of its own, so that no step before hides what this one takes; memory that
/// it comes to use counts, too, whichever is more. What `step` expects is not heard of; an
/// exception ends the test.
std::size_t memory_growth_alone(const std::function<void()>& step);

/// What no step of a test here needs.
inline constexpr std::size_t kMuchMemory = std::size_t{256} << 20;

}  // namespace readkit
