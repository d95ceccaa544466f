// What the tests of the host share: a fixture that finds leaks, and a check for host errors.
#pragma once

#include <cstddef>
#include <string>

#include <gtest/gtest.h>

#include "host/array.h"
#include "host/error.h"

namespace readkit::host {

/// Fails a test after which more, or fewer, arrays or blocks exist than before it.
class NothingLeaks : public testing::Test {
 protected:
  void TearDown() override {
    EXPECT_EQ(live_arrays(), arrays_before_);
    EXPECT_EQ(live_blocks(), blocks_before_);
  }

 private:
  std::size_t arrays_before_ = live_arrays();
  std::size_t blocks_before_ = live_blocks();
};

/// The identifier of the HostError that `action` raises; empty when it raises none.
template <typename Action>
std::string identifier_raised_by(Action&& action) {
  try {
    action();
  } catch (const HostError& e) {
    return e.identifier();
  }
  return {};
}

}  // namespace readkit::host

#define EXPECT_HOST_ERROR(STATEMENT, IDENTIFIER) \
  EXPECT_EQ(readkit::host::identifier_raised_by([&] { STATEMENT; }), IDENTIFIER)
