#include "core/line_copy.h"

#include <string>
#include <vector>

#include "support/random_data.h"
#include "support/wide.h"

namespace readkit::core_line_copy_test {
namespace {

class CopyLine : public WideTest {
 protected:
  // Copies from a place that ends right behind `text` to one that ends there, too, so that tools
  // that watch memory see a step beyond either; expects nothing of the copy changed.
  void expect_copy(const std::string& text, const std::string& line) {
    const std::vector<char> from(text.begin(), text.end());
    std::vector<char> to(text.size());
    const LineCopy copy = copy_line(to.data(), from.data(), from.size());
    ASSERT_EQ(copy.length, line.size()) << text;
    EXPECT_EQ(std::string(to.data(), copy.length), line);
    EXPECT_EQ(copy.ended, line.ends_with('\n')) << text;
    EXPECT_EQ(copy.has_nul, line.find('\0') != std::string::npos) << text;
  }
};
INSTANTIATE_TEST_SUITE_P(Instructions, CopyLine, testing::Bool(), wide_test_name);

TEST_P(CopyLine, OfNothingIsEmpty) { expect_copy("", ""); }

TEST_P(CopyLine, EndsWithTheFirstNewlineWhereverItStands) {
  for (std::size_t length = 0; length < 140; ++length) {
    const std::string line = std::string(length, 'x') + '\n';
    expect_copy(line, line);
    expect_copy(line + "next\n\n", line);
    expect_copy(line + std::string(100, '\0'), line);
  }
}

TEST_P(CopyLine, WithoutNewlineTakesAll) {
  for (std::size_t length = 0; length < 140; ++length) {
    expect_copy(std::string(length, 'x'), std::string(length, 'x'));
  }
}

TEST_P(CopyLine, TellsOfANulWhereverItStands) {
  for (std::size_t at = 0; at < 100; ++at) {
    std::string line(100, 'x');
    line[at] = '\0';
    expect_copy(line, line);
    expect_copy(line + "\nnext", line + "\n");
  }
}

TEST_P(CopyLine, OfAnyBytesIsWhatASearchFinds) {
  Random random(7);
  for (int round = 0; round < 2000; ++round) {
    std::string text = random_bytes(random, random() % 200);
    const std::size_t newline = text.find('\n');
    expect_copy(text, text.substr(0, newline == std::string::npos ? newline : newline + 1));
  }
}

}  // namespace
}  // namespace readkit::core_line_copy_test
