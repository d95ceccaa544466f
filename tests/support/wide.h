// Tests that run once with the wide instructions that the processor has and once without any.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "core/wide.h"

namespace readkit {

/// The parameter tells whether wide instructions are wanted.
class WideTest : public testing::TestWithParam<bool> {
 protected:
  WideTest() { use_wide_instructions(GetParam()); }
  ~WideTest() override { use_wide_instructions(true); }
};

inline std::string wide_test_name(const testing::TestParamInfo<bool>& wanted) {
  return wanted.param ? "Wide" : "Plain";
}

}  // namespace readkit
