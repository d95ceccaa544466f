// Long records: a run ends by its bytes long before it has its number of records, so a sort needs
// no more memory than it was given, however large the file.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/resident_memory.h"
#include "support/sort_words.h"

namespace readkit::bam_sort_memory_test {
namespace {

constexpr int kReads = 300;
constexpr std::size_t kBases = 100000;
constexpr std::size_t kFileSize = kReads * (kBases + kBases / 2);
constexpr std::size_t kLimit = std::size_t{16} << 20;

// The n-th read: bases and qualities repeat a pattern of its own, which is quick to compress.
Alignment nth_read(int n) {
  Random random(static_cast<std::uint64_t>(n));
  const std::string pattern = random_bytes(random, 1000);
  const int pos = static_cast<int>(random() % 1000);
  std::string block = RecordBuilder("r" + std::to_string(n)).at(n % 3, pos).l_seq(kBases).block();
  while (block.size() < kBases + kBases / 2) block += pattern;
  return record_of(block);
}

void write_reads(const TempDir& folder) {
  const BAM source(bam_of({}).write(folder, "header.bam"));
  BAM out(folder.path("a.bam"), "w");
  out.write(source.header());
  for (int n = 0; n < kReads; ++n) out.write(nth_read(n));
  ASSERT_EQ(out.close(), 0);
}

std::size_t hash_of(const Alignment& record) {
  return std::hash<std::string_view>()({reinterpret_cast<const char*>(record.data()),
                                        static_cast<std::size_t>(record.block_size())});
}

// What a file's records add up to: how many there are of each content, and how many come before
// the one in front of them.
struct Contents {
  std::map<std::size_t, int> records;
  int falls = 0;
};
Contents contents_of(const Path& path) {
  Contents contents;
  Alignment previous;
  bool first = true;
  for (BAM in(path); in.next_alignment(); first = false) {
    ++contents.records[hash_of(in)];
    if (!first && static_cast<const Alignment&>(in) < previous) ++contents.falls;
    previous = in;
  }
  return contents;
}

class SortMemory : public testing::Test {
 protected:
  void SetUp() override {
    if (kMemoryIsKept) GTEST_SKIP() << "sanitizers keep memory that was let go of";
    write_reads(folder_);
  }
  std::size_t growth_of_sort(const RunLimits& limits) {
    return resident_growth([&] { BAM(folder_.path("a.bam")).sort(folder_.text("t"), limits); });
  }

  TempDir folder_;
};

TEST_F(SortMemory, LimitOfBytesBoundsTheMemoryOfASort) {
  EXPECT_LT(growth_of_sort(limit_of_bytes(kLimit)), 2 * kLimit);
  const Contents source = contents_of(folder_.path("a.bam"));
  const Contents sorted = contents_of(folder_.path("t.bam"));
  EXPECT_EQ(source.records.size(), static_cast<std::size_t>(kReads));
  EXPECT_TRUE(sorted.records == source.records);
  EXPECT_GT(source.falls, 0);
  EXPECT_EQ(sorted.falls, 0);
}

TEST_F(SortMemory, LimitOfBytesBoundsTheMemoryOfAShuffle) {
  const auto seeds = [] { return std::uint32_t{1}; };
  const auto shuffle = [&] {
    BAM(folder_.path("a.bam")).shuffle(folder_.text("t"), seeds, limit_of_bytes(kLimit));
  };
  EXPECT_LT(resident_growth(shuffle), 2 * kLimit);
  EXPECT_TRUE(contents_of(folder_.path("t.bam")).records ==
              contents_of(folder_.path("a.bam")).records);
}

// The other tests could not fail if the memory of a run were not seen.
TEST_F(SortMemory, WithoutALimitOfBytesARunTakesTheWholeFile) {
  EXPECT_GT(growth_of_sort(limit_of_records(kReads + 1)), kFileSize);
}

}  // namespace
}  // namespace readkit::bam_sort_memory_test
