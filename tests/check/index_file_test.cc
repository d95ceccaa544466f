// An index by itself.
#include "check/index_file.h"

#include <string>

#include <gtest/gtest.h>

#include "support/bgzf_builder.h"
#include "support/check_words.h"
#include "support/memory.h"

namespace readkit::check_index_file_test {
namespace {

std::string number(std::uint64_t value, std::size_t size = 4) { return little_endian(value, size); }
std::string chunk(std::uint64_t beg, std::uint64_t end) { return number(beg, 8) + number(end, 8); }
std::string magic(std::uint64_t references) { return "BAI\1" + number(references); }

struct Checked {
  IndexSummary summary;
  Found found;
};
Checked check(const std::string& bytes) {
  const TempDir folder;
  File file(folder.write("a", bytes), "rb");
  Findings findings;
  const IndexSummary summary = check_index_file(file, findings);
  return {summary, found(findings)};
}

// A reference of a bin of one chunk, the pseudo-bin, and two windows: 92 bytes.
std::string reference() {
  return number(2) + number(4681) + number(1) + chunk(10, 20) + number(37450) + number(2) +
         chunk(10, 20) + chunk(5, 1) + number(2) + number(10, 8) + number(15, 8);
}

TEST(IndexFile, SoundIndexPasses) {
  const Checked all = check(magic(2) + reference() + reference() + number(3, 8));
  EXPECT_EQ(all.found, Found{});
  EXPECT_TRUE(all.summary.is_whole);
  EXPECT_TRUE(all.summary.has_count);
  EXPECT_EQ(all.summary.records, 15U);
  const Checked without_count = check(magic(1) + reference());
  EXPECT_EQ(without_count.found, Found{});
  EXPECT_FALSE(without_count.summary.has_count);
  EXPECT_EQ(check(magic(0)).found, Found{});
}

TEST(IndexFile, EveryTruncationIsFound) {
  const std::string sound = magic(2) + reference() + reference();
  for (std::size_t size = 0; size < sound.size(); ++size) {
    const Checked cut = check(sound.substr(0, size));
    ASSERT_EQ(cut.found.size(), 1U) << size;
    const std::string expected = size < 4 ? "IndexMagic " : "IndexTruncated ";
    EXPECT_EQ(cut.found[0].substr(0, expected.size()), expected) << size;
    EXPECT_FALSE(cut.summary.is_whole);
  }
}

TEST(IndexFile, MagicIsThatOfAnIndex) {
  EXPECT_EQ(check("BAI\2" + number(0)).found, (Found{"IndexMagic 0 0"}));
}

TEST(IndexFile, CountsAreNotNegative) {
  EXPECT_EQ(check(magic(0xFFFFFFFF)).found, (Found{"IndexLength 4 0"}));
  EXPECT_EQ(check(magic(1) + number(0xFFFFFFFF)).found, (Found{"IndexLength 8 0"}));
  EXPECT_EQ(check(magic(1) + number(1) + number(0) + number(0x80000000)).found,
            (Found{"IndexLength 16 0"}));
  EXPECT_EQ(check(magic(1) + number(0) + number(0xFFFFFFFF)).found, (Found{"IndexLength 12 0"}));
}

TEST(IndexFile, BinsExistAndComeOnce) {
  const auto bins = [](std::uint64_t first, std::uint64_t second) {
    return magic(1) + number(2) + number(first) + number(0) + number(second) + number(0) +
           number(0);
  };
  EXPECT_EQ(check(bins(0, 37449)).found, Found{});
  EXPECT_EQ(check(bins(0, 37451)).found, (Found{"IndexBin 20 0"}));
  EXPECT_EQ(check(bins(0xFFFFFFFF, 5)).found, (Found{"IndexBin 12 0"}));
  EXPECT_EQ(check(bins(5, 5)).found, (Found{"IndexBin 20 0"}));
  // The same bin of two references.
  EXPECT_EQ(check(magic(2) + reference() + reference()).found, Found{});
}

TEST(IndexFile, ChunksEndBehindTheirBegin) {
  const auto with = [](std::uint64_t beg, std::uint64_t end) {
    return magic(1) + number(1) + number(7) + number(1) + chunk(beg, end) + number(0);
  };
  EXPECT_EQ(check(with(10, 10)).found, Found{});
  EXPECT_EQ(check(with(10, 9)).found, (Found{"IndexChunk 28 0"}));
}

TEST(IndexFile, PseudoBinHasTwoChunks) {
  const std::string one =
      magic(1) + number(1) + number(37450) + number(1) + chunk(1, 2) + number(0);
  EXPECT_EQ(check(one).found, (Found{"IndexMetadata 16 0"}));
}

TEST(IndexFile, WindowsGoUpButForThoseWithoutAnEntry) {
  const auto windows = [](std::uint64_t a, std::uint64_t b, std::uint64_t c) {
    return magic(1) + number(0) + number(3) + number(a, 8) + number(b, 8) + number(c, 8);
  };
  EXPECT_EQ(check(windows(5, 0, 5)).found, Found{});
  EXPECT_EQ(check(windows(5, 6, 4)).found, (Found{"IndexLinear 32 0"}));
  EXPECT_EQ(check(windows(5, 4, 3)).found, (Found{"IndexLinear 24 0"}));  // once
  EXPECT_EQ(check(magic(1) + number(0) + number(32769) + std::string(32769 * 8, '\0')).found,
            (Found{"IndexLinear 12 0"}));
  EXPECT_EQ(check(magic(1) + number(0) + number(32768) + std::string(32768 * 8, '\0')).found,
            Found{});
}

TEST(IndexFile, NothingFollows) {
  EXPECT_EQ(check(magic(0) + number(0, 8) + "x").found, (Found{"IndexTrailing 16 0"}));
  EXPECT_EQ(check(magic(0) + "1234567").found, (Found{"IndexTrailing 8 0"}));
}

TEST(IndexFile, LargeCountsTakeNoMemory) {
  const std::size_t growth = memory_growth([] {
    EXPECT_EQ(check(magic(0x7FFFFFFF) + number(0x7FFFFFFF)).found, (Found{"IndexTruncated 12 0"}));
    EXPECT_EQ(check(magic(1) + number(1) + number(5) + number(0x7FFFFFFF)).found,
              (Found{"IndexTruncated 20 0"}));
  });
  EXPECT_LT(growth, kMuchMemory);
}

}  // namespace
}  // namespace readkit::check_index_file_test
