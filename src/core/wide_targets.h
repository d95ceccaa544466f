// For files with code for several kinds of processor: compiles the file once for each. To be
// included by the file itself, after HWY_TARGET_INCLUDE names it. READKIT_WIDE tells whether the
// kind being compiled has wide instructions; where it has not, plain code does the work.
//
// No include guard: it stands for what it includes, which has rules of its own.

#ifndef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/wide_targets.h"  // when it is compiled alone
#endif

// Two kinds, both met by the tests: every processor, and those that have had AVX2 for many years.
#ifndef HWY_DISABLED_TARGETS
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_SSE4 | HWY_AVX3 | HWY_AVX3_DL)
#endif

#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/wide.h"

#undef READKIT_WIDE
#if HWY_TARGET == HWY_EMU128 || HWY_TARGET == HWY_SCALAR
#define READKIT_WIDE 0
#else
#define READKIT_WIDE 1
#endif

// The function for this processor, by its name in the namespaces of the kinds. To be used behind
// HWY_ONCE. The library's own choice would need its shared object, which takes milliseconds to
// load.
#undef READKIT_WIDEST
#if (HWY_TARGETS & HWY_AVX2) != 0 && HWY_STATIC_TARGET != HWY_AVX2
#define READKIT_WIDEST(function) \
  (uses_wide_instructions() ? N_AVX2::function : HWY_NAMESPACE::function)
#else
#define READKIT_WIDEST(function) HWY_NAMESPACE::function
#endif
