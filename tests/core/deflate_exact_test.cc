// The exact flavour.
#include <string>

#include <gtest/gtest.h>

#include "core/deflate.h"
#include "support/bgzf_builder.h"
#include "support/deflate_words.h"
#include "support/libraries.h"

namespace readkit::core_deflate_exact_test {
namespace {

TEST(DeflateExact, GivesTheBytesOfZlibsDefaultLevel) {
  if (flavour_name() != "exact") GTEST_SKIP() << "this program is linked with the fast flavour";
  for (const std::string& data : deflate_samples()) {
    EXPECT_TRUE(deflated(deflate_raw, data) == raw_deflate(data)) << data.size();
    EXPECT_TRUE(deflated(deflate_raw_temporary, data) == raw_deflate(data)) << data.size();
    EXPECT_TRUE(deflated(deflate_raw_stored, data) == raw_deflate(data)) << data.size();
  }
}

}  // namespace
}  // namespace readkit::core_deflate_exact_test
