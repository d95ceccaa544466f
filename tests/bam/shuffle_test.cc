// Shuffling: that every order is equally likely, and that nothing gets lost.
#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/bgzf_builder.h"
#include "support/expect_kind.h"
#include "support/folder_watch.h"
#include "support/sort_words.h"

namespace readkit::bam_shuffle_test {
namespace {

// Chi-square beyond which chance goes once in a million, by degrees of freedom. All draws here have
// fixed seeds, so a test that passes always passes.
constexpr double kLimit23 = 70.55;
constexpr double kLimit5 = 35.89;

double chi_square(const std::vector<std::size_t>& counts, std::size_t kinds) {
  std::size_t total = 0;
  for (const std::size_t count : counts) total += count;
  const double expected = static_cast<double>(total) / static_cast<double>(kinds);
  double sum = static_cast<double>(kinds - counts.size()) * expected;  // of kinds never met
  for (const std::size_t count : counts) {
    const double off = static_cast<double>(count) - expected;
    sum += off * off / expected;
  }
  return sum;
}

template <typename Key>
std::vector<std::size_t> counts_of(const std::map<Key, std::size_t>& met) {
  std::vector<std::size_t> counts;
  for (const auto& [key, count] : met) counts.push_back(count);
  return counts;
}

Reads numbered_reads(const std::string& prefix, int count) {
  Reads reads;
  for (int i = 0; i < count; ++i) reads.push_back(RecordBuilder(prefix + std::to_string(i)));
  return reads;
}

// Seeds that count up from one.
SeedSource seeds_from(std::uint32_t seed) {
  return [seed]() mutable { return seed++; };
}

class BamShuffle : public testing::Test {
 protected:
  void write(const Reads& reads) { bam_of(reads).write(folder_, "a.bam"); }
  void shuffle(std::uint32_t seed, const RunLimits& limits, const std::string& base = "t") {
    BAM(folder_.path("a.bam")).shuffle(folder_.text(base), seeds_from(seed), limits);
  }
  void shuffle_at_once(std::uint32_t seed, const std::string& base = "t") {
    shuffle(seed, limit_of_records(1000000), base);
  }

  TempDir folder_;
};

// ---- In memory -------------------------------------------------------------------------------

TEST(RunBufferShuffle, EveryOrderOfFourRecordsIsEquallyLikely) {
  std::map<std::string, std::size_t> orders;
  for (std::uint32_t seed = 1; seed <= 9600; ++seed) {
    RunBuffer run(limit_of_records(5));
    for (const std::string name : {"a", "b", "c", "d"}) run.add(RecordBuilder(name).record());
    std::mt19937 random(seed);
    run.shuffle(random);
    std::string order;
    run.visit([&](const Alignment& record) {
      order += record.read_name_text();
      return true;
    });
    ++orders[order];
  }
  EXPECT_LT(chi_square(counts_of(orders), 24), kLimit23);
}

TEST(RunBufferShuffle, OneGeneratorGivesAnotherOrderEachTime) {
  RunBuffer run(limit_of_records(5));
  for (const std::string name : {"a", "b", "c"}) run.add(RecordBuilder(name).record());
  std::mt19937 random(1);
  std::map<std::string, std::size_t> firsts;
  for (int i = 0; i < 6000; ++i) {
    run.shuffle(random);
    std::string order;
    run.visit([&](const Alignment& record) {
      order += record.read_name_text();
      return true;
    });
    ++firsts[order];
  }
  EXPECT_LT(chi_square(counts_of(firsts), 6), kLimit5);
}

TEST_F(BamShuffle, EveryOrderOfThreeRecordsIsEquallyLikelyInAFile) {
  write(numbered_reads("", 3));
  std::map<Names, std::size_t> orders;
  for (std::uint32_t seed = 1; seed <= 300; ++seed) {
    std::filesystem::remove(folder_.native("t.bam"));  // quicker than to empty it
    shuffle_at_once(seed);
    ++orders[names_in(folder_, "t.bam")];
  }
  EXPECT_LT(chi_square(counts_of(orders), 6), kLimit5);
}

TEST_F(BamShuffle, SmallFileIsWrittenWithoutTemporaries) {
  write(numbered_reads("", 10));
  FolderWatch watch(folder_);
  BAM(folder_.path("a.bam")).shuffle(folder_.text("t"));
  EXPECT_EQ(without_readers(watch.events()), (Names{"write t.bam"}));
  EXPECT_EQ(same_records(records_in(folder_, "t.bam")), same_records(records_in(folder_, "a.bam")));
}

TEST_F(BamShuffle, FileWithoutRecordsGivesAHeader) {
  write({});
  BAM(folder_.path("a.bam")).shuffle(folder_.text("t"));
  EXPECT_EQ(decode_bgzf(folder_.read("t.bam")), bam_of({}).header_bytes());
}

// ---- Seeds -----------------------------------------------------------------------------------

TEST_F(BamShuffle, SameSeedGivesTheSameBytesAndAnotherSeedAnotherOrder) {
  write(numbered_reads("", 100));
  for (const std::size_t length : {1000U, 30U}) {
    shuffle(5, limit_of_records(length), "one");
    shuffle(5, limit_of_records(length), "two");
    shuffle(6, limit_of_records(length), "other");
    EXPECT_EQ(folder_.read("one.bam"), folder_.read("two.bam")) << length;
    EXPECT_NE(names_in(folder_, "one.bam"), names_in(folder_, "other.bam")) << length;
  }
}

TEST_F(BamShuffle, GivenSeedGivesTheOrderOfAGeneratorSeededWithIt) {
  write(numbered_reads("", 100));
  BAM(folder_.path("a.bam")).shuffle(folder_.text("one"), 5);
  shuffle_at_once(5, "two");
  EXPECT_EQ(folder_.read("one.bam"), folder_.read("two.bam"));
}

TEST_F(BamShuffle, RunsFromAGivenSeedDoNotDependOnTheMachine) {
  const RunLimits limits = RunLimits::for_any_machine();
  EXPECT_EQ(limits.bytes, std::uint64_t{256} << 20);
  EXPECT_EQ(limits.records, 2097153U);
}

TEST_F(BamShuffle, WithoutASeedTwoShufflesDiffer) {
  write(numbered_reads("", 100));  // equal by chance once in 100! times
  BAM(folder_.path("a.bam")).shuffle(folder_.text("one"));
  BAM(folder_.path("a.bam")).shuffle(folder_.text("two"));
  EXPECT_NE(names_in(folder_, "one.bam"), names_in(folder_, "two.bam"));
  EXPECT_NE(names_in(folder_, "one.bam"), names_in(folder_, "a.bam"));
}

TEST_F(BamShuffle, RunsAndInterleavingHaveAGeneratorEach) {
  write(numbered_reads("", 20));
  int seeds = 0;
  const auto count_seeds = [&] { return static_cast<std::uint32_t>(++seeds); };
  BAM(folder_.path("a.bam")).shuffle(folder_.text("t"), count_seeds, limit_of_records(100));
  EXPECT_EQ(seeds, 1);
  BAM(folder_.path("a.bam")).shuffle(folder_.text("t"), count_seeds, limit_of_records(5));
  EXPECT_EQ(seeds, 3);
}

// ---- Many runs -------------------------------------------------------------------------------

TEST_F(BamShuffle, ManyRunsGiveTheSameRecordsAndLeaveNoTemporary) {
  Random random(21);
  write(random_reads(random, 60));
  const std::vector<DecodedRecord> source = records_in(folder_, "a.bam");
  for (const RunLimits& limits : {limit_of_records(7), limit_of_records(20), limit_of_records(30),
                                  limit_of_records(60), limit_of_bytes(1)}) {
    shuffle(3, limits);
    const DecodedBam shuffled = decode_bam(folder_.read("t.bam"));
    EXPECT_EQ(shuffled.text, header_text());
    EXPECT_NE(names_of(shuffled.records), names_of(source));
    EXPECT_EQ(same_records(shuffled.records), same_records(source));
    EXPECT_EQ(folder_.names(), (Names{"a.bam", "t.bam"}));
  }
}

TEST_F(BamShuffle, TemporariesAreRemovedInTheOrderInWhichTheyWereMade) {
  write(numbered_reads("", 4));  // an exact multiple: the last run is empty
  FolderWatch watch(folder_);
  shuffle(1, limit_of_records(2));
  EXPECT_EQ(without_readers(watch.events()),
            (Names{"write t.0.bam", "write t.1.bam", "write t.2.bam", "write t.bam",
                   "remove t.0.bam", "remove t.1.bam", "remove t.2.bam"}));
  EXPECT_EQ(records_in(folder_, "t.bam").size(), 4U);
}

TEST_F(BamShuffle, EveryOrderIsReachedThroughManyRuns) {
  write(numbered_reads("", 3));
  std::map<Names, std::size_t> orders;
  for (std::uint32_t seed = 1; seed <= 300; seed += 2) {
    std::filesystem::remove(folder_.native("t.bam"));
    shuffle(seed, limit_of_records(2));
    ++orders[names_in(folder_, "t.bam")];
  }
  EXPECT_EQ(orders.size(), 6U);
}

TEST_F(BamShuffle, FileMayBeShuffledOntoItself) {
  for (const std::size_t length : {100U, 7U}) {
    write(numbered_reads("", 30));
    const std::vector<DecodedRecord> before = records_in(folder_, "a.bam");
    shuffle(1, limit_of_records(length), "a");
    EXPECT_EQ(same_records(records_in(folder_, "a.bam")), same_records(before));
    EXPECT_NE(names_in(folder_, "a.bam"), names_of(before));
  }
}

// ---- Errors ----------------------------------------------------------------------------------

TEST_F(BamShuffle, OutputThatCannotBeMadeLeavesTheTemporaries) {
  write(numbered_reads("", 5));
  std::filesystem::create_directory(folder_.native("t.bam"));
  EXPECT_KIND(shuffle(1, limit_of_records(2)), FileNotFound, folder_.path("t.bam"));
  EXPECT_EQ(folder_.names(), (Names{"a.bam", "t.0.bam", "t.1.bam", "t.2.bam", "t.bam"}));
  EXPECT_KIND(shuffle_at_once(1), FileNotFound, folder_.path("t.bam"));
  EXPECT_KIND(shuffle(1, limit_of_records(2), "no/t"), FileNotFound, folder_.path("no/t.0.bam"));
}

TEST_F(BamShuffle, TemporaryThatIsTheInputIsRefused) {
  const Path path = bam_of(numbered_reads("", 5)).write(folder_, "t.1.bam");
  const std::string before = folder_.read("t.1.bam");
  EXPECT_KIND(BAM(path).shuffle(folder_.text("t"), seeds_from(1), limit_of_records(2)),
              CannotOpenOutFile, path);
  EXPECT_EQ(folder_.read("t.1.bam"), before);
}

TEST_F(BamShuffle, DamagedBlockPassesThroughAndLeavesTheTemporariesAlreadyWritten) {
  BgzfFile file;
  file.block(bam_of(numbered_reads("", 3)).content()).block(BgzfBlock::around("\xff\xff"));
  folder_.write("a.bam", file.marker().bytes());
  EXPECT_KIND(shuffle(1, limit_of_records(2)), ZLIBInflate, folder_.path("a.bam"));
  EXPECT_EQ(folder_.names(), (Names{"a.bam", "t.0.bam"}));
}

}  // namespace
}  // namespace readkit::bam_shuffle_test
