#include "core/wide.h"

#include "support/wide.h"

namespace readkit::core_wide_test {
namespace {

TEST(WideInstructions, AreUsedWhereTheProcessorHasThem) {
  EXPECT_EQ(uses_wide_instructions(), has_wide_instructions());
}

TEST(WideInstructions, CanBeLeftOut) {
  use_wide_instructions(false);
  EXPECT_FALSE(uses_wide_instructions());
  use_wide_instructions(true);
  EXPECT_EQ(uses_wide_instructions(), has_wide_instructions());
}

}  // namespace
}  // namespace readkit::core_wide_test
