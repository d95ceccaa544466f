#include "core/wide.h"

#include <atomic>

namespace readkit {
namespace {

std::atomic<bool>& in_use() {
  static std::atomic<bool> use = has_wide_instructions();
  return use;
}

}  // namespace

bool has_wide_instructions() {
#if defined(__x86_64__)
  // What the compiler may use in such code.
  return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("bmi") != 0 &&
         __builtin_cpu_supports("bmi2") != 0 && __builtin_cpu_supports("fma") != 0 &&
         __builtin_cpu_supports("aes") != 0 && __builtin_cpu_supports("pclmul") != 0;
#else
  return false;
#endif
}

bool uses_wide_instructions() { return in_use().load(std::memory_order_relaxed); }

void use_wide_instructions(bool wanted) { in_use() = wanted && has_wide_instructions(); }

}  // namespace readkit
