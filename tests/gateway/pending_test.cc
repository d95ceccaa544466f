// The gateway functions that are still to be built. A function that gets built leaves this list and
// joins the table of limits in arguments_test.
#include "gateway/pending.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/gateway_calls.h"

namespace readkit {
namespace {

using Names = std::vector<std::string>;

const Names kPending = {"scanQualities"};

// Whether a call without inputs fails with the error of a function that is not built.
bool is_pending(const std::string& name) {
  const LeakCheck leaks;
  try {
    call_gateway(name, 0, {});
  } catch (const host::HostError& error) {
    return error.identifier() == "Tessel:cpp:exception" &&
           error.text().find("the gateway function " + name + " is not built yet") !=
               std::string::npos;
  }
  return false;
}

TEST(Pending, FunctionsToComeRaiseOneErrorThatNamesThem) {
  for (const std::string& name : kPending) EXPECT_TRUE(is_pending(name)) << name;
}

TEST(Pending, EveryOtherFunctionIsBuilt) {
  for (const std::string& full : gateway_library().function_names()) {
    const std::string name = full.substr(full.rfind('.') + 1);
    const bool expected = std::find(kPending.begin(), kPending.end(), name) != kPending.end();
    EXPECT_EQ(is_pending(name), expected) << name;
  }
  EXPECT_FALSE(is_pending("kxBamShuffle"));  // exported, not registered
}

TEST(Pending, ErrorIsALogicErrorWithTheName) {
  const GatewayNotBuiltYet error("scanQualities");
  const std::logic_error& base = error;
  EXPECT_STREQ(base.what(), "the gateway function scanQualities is not built yet");
}

}  // namespace
}  // namespace readkit
