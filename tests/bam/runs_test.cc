#include "bam/runs.h"

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "bam/bam.h"
#include "core/monitor.h"
#include "support/expect_kind.h"
#include "support/sort_words.h"

namespace readkit::bam_runs_test {
namespace {

constexpr std::size_t kMebibyte = std::size_t{1} << 20;

Alignment record_at(int ref, int pos, const std::string& name = "r") {
  return RecordBuilder(name).at(ref, pos).bin(0).record();
}

std::string bytes_of(const Alignment& record) { return {record.data(), record.data_end()}; }

// The blocks of a run in order.
std::vector<std::string> blocks_of(const RunBuffer& run) {
  std::vector<std::string> blocks;
  run.visit([&](const Alignment& record) {
    blocks.push_back(bytes_of(record));
    return true;
  });
  return blocks;
}

RunBuffer run_of(const std::vector<Alignment>& records) {
  RunBuffer run(limit_of_records(records.size() + 1));
  for (const Alignment& record : records) run.add(record);
  return run;
}

// ---- Keeping records -------------------------------------------------------------------------

TEST(RunBuffer, HandsOutTheRecordsAsTheyWereAdded) {
  Random random(1);
  RunBuffer run(limit_of_records(1000));
  std::vector<std::string> expected;
  for (int i = 0; i < 300; ++i) {
    const bool large = i % 60 == 7;
    const auto size = static_cast<std::size_t>(random_number(random, 32, large ? 3000000 : 700));
    expected.push_back(random_bytes(random, size));
    ASSERT_TRUE(run.add(record_of(expected.back())));
  }
  EXPECT_EQ(run.size(), 300U);
  EXPECT_TRUE(blocks_of(run) == expected);
}

TEST(RunBuffer, CopiesTheRecord) {
  RunBuffer run(limit_of_records(2));
  Alignment record = record_at(0, 5);
  const std::string before = bytes_of(record);
  run.add(record);
  record.set_ref_id(7);
  EXPECT_EQ(blocks_of(run), (std::vector<std::string>{before}));
}

TEST(RunBuffer, RecordLargerThanAPieceOfMemoryStaysWhole) {
  Random random(2);
  const std::string large = random_bytes(random, 9 * kMebibyte + 1);
  const std::vector<std::string> expected = {std::string(32, 'a'), large, std::string(40, 'b')};
  std::vector<Alignment> records;
  for (const std::string& block : expected) records.push_back(record_of(block));
  EXPECT_TRUE(blocks_of(run_of(records)) == expected);
}

TEST(RunBuffer, IsFullWithTheLimitOfRecords) {
  RunBuffer run(limit_of_records(3));
  for (int i = 0; i < 3; ++i) {
    EXPECT_FALSE(run.full()) << i;
    EXPECT_TRUE(run.add(record_at(0, i)));
  }
  EXPECT_TRUE(run.full());
}

TEST(RunBuffer, EmptyRunTakesAnyRecordAndThenKeepsTheLimitOfBytes) {
  RunBuffer run(limit_of_bytes(1));
  EXPECT_TRUE(run.add(record_at(0, 1)));
  EXPECT_FALSE(run.add(record_at(0, 2)));
  EXPECT_EQ(run.size(), 1U);
  EXPECT_EQ(blocks_of(run), (std::vector<std::string>{bytes_of(record_at(0, 1))}));
}

TEST(RunBuffer, LongRecordsFillMuchOfTheLimitOfBytesAndNoMore) {
  RunBuffer run(limit_of_bytes(32 * kMebibyte));
  const Alignment record = record_of(std::string(100000, 'x'));
  while (run.add(record)) ASSERT_LT(run.size(), 1000U);
  EXPECT_LE(run.size() * 100004, 32 * kMebibyte);
  EXPECT_GE(run.size() * 100004, 24 * kMebibyte);
}

// A handle is a key of eight bytes and a pointer, so short records take more than their bytes.
TEST(RunBuffer, ShortRecordsCountWithTheirHandles) {
  RunBuffer run(limit_of_bytes(16 * kMebibyte));
  const Alignment record = record_of(std::string(32, '\0'));
  while (run.add(record)) ASSERT_LT(run.size(), 1000000U);
  EXPECT_LE(run.size() * (36 + 16), 16 * kMebibyte);
  EXPECT_GE(run.size() * (36 + 3 * 16), 11 * kMebibyte);
}

TEST(RunBuffer, ClearForgetsTheRecordsAndTheirMemory) {
  RunBuffer run(limit_of_bytes(8 * kMebibyte));
  const Alignment record = record_of(std::string(1000000, 'x'));
  for (int round = 0; round < 3; ++round) {
    EXPECT_TRUE(blocks_of(run).empty());
    while (run.add(record)) ASSERT_LT(run.size(), 100U);
    EXPECT_GT(run.size(), 3U) << round;
    run.clear();
    EXPECT_EQ(run.size(), 0U);
    EXPECT_FALSE(run.full());
  }
}

// ---- Order -----------------------------------------------------------------------------------

// Sorts records both ways; names tell equal ones apart.
void expect_sorted_as_by_the_standard(std::vector<Alignment> records) {
  RunBuffer run = run_of(records);
  run.sort();
  std::stable_sort(records.begin(), records.end());
  std::vector<std::string> expected;
  for (const Alignment& record : records) expected.push_back(bytes_of(record));
  EXPECT_TRUE(blocks_of(run) == expected) << records.size() << " records";
}

int one_of(Random& random, const std::vector<int>& values) {
  return values[random() % values.size()];
}

TEST(RunBuffer, SortOrdersAsAStableSortOfRecords) {
  constexpr int kLeast = std::numeric_limits<int>::min();
  constexpr int kMost = std::numeric_limits<int>::max();
  const std::vector<int> values = {kLeast, kLeast + 1, -70000, -2,  -1,    0,
                                   1,      2,          255,    256, 65536, kMost};
  Random random(3);
  for (const int count : {0, 1, 2, 3, 10, 100, 1000, 3000}) {
    for (int round = 0; round < 3; ++round) {
      std::vector<Alignment> records;
      for (int i = 0; i < count; ++i) {
        records.push_back(
            record_at(one_of(random, values), one_of(random, values), std::to_string(i)));
      }
      expect_sorted_as_by_the_standard(records);
    }
  }
}

TEST(RunBuffer, SortSeesEveryBitOfReferenceAndPosition) {
  for (int bit = 0; bit < 32; ++bit) {
    const auto value = static_cast<int>(std::uint32_t{1} << bit);
    const std::vector<Alignment> refs = {record_at(value, 1, "a"), record_at(0, 1, "b"),
                                         record_at(value, 1, "c"), record_at(0, 1, "d")};
    const std::vector<Alignment> positions = {record_at(1, value, "a"), record_at(1, 0, "b"),
                                              record_at(1, value, "c"), record_at(1, 0, "d")};
    expect_sorted_as_by_the_standard(refs);
    expect_sorted_as_by_the_standard(positions);
    expect_sorted_as_by_the_standard({refs.rbegin(), refs.rend()});
    expect_sorted_as_by_the_standard({positions.rbegin(), positions.rend()});
  }
}

TEST(RunBuffer, RandomKeysOfAllBitsAreSorted) {
  Random random(4);
  std::vector<Alignment> records;
  for (int i = 0; i < 3000; ++i) {
    records.push_back(record_at(static_cast<int>(random()), static_cast<int>(random())));
  }
  expect_sorted_as_by_the_standard(records);
}

// Ordering two million records took longer than a person waits, and nobody was asked meanwhile.
TEST(RunBuffer, SortAsksWhetherItMayGoOn) {
  struct Asked {
    int count = 0;
    bool may_go_on = true;
  } asked;
  const auto ask = [](void* context, const kxTransfer* transfer) {
    EXPECT_STREQ(transfer->path, "");
    auto& self = *static_cast<Asked*>(context);
    ++self.count;
    return self.may_go_on;
  };
  for (const bool may_go_on : {true, false}) {
    RunBuffer run(RunLimits::for_any_machine());
    for (int i = 0; i < 10; ++i) run.add(record_at(i % 3, 100 - i, std::to_string(i)));
    asked = {.count = 0, .may_go_on = may_go_on};
    kxSetMonitor(ask, &asked);
    run.sort();
    kxSetMonitor(nullptr, nullptr);
    EXPECT_EQ(blocks_of(run).size(), 10U);
    // Once for each digit, or no more after the first.
    EXPECT_EQ(asked.count, may_go_on ? 6 : 1);
  }
}

TEST(RunBuffer, RecordsWithoutAReferenceComeLast) {
  RunBuffer run = run_of({record_at(1, 0), record_at(-1, 0), record_at(0, 0)});
  run.sort();
  EXPECT_EQ(blocks_of(run),
            (std::vector<std::string>{bytes_of(record_at(0, 0)), bytes_of(record_at(1, 0)),
                                      bytes_of(record_at(-1, 0))}));
}

// ---- Handing out -----------------------------------------------------------------------------

TEST(RunBuffer, VisitStopsWhereItIsToldToAndSaysSo) {
  const RunBuffer run = run_of({record_at(0, 1), record_at(0, 2), record_at(0, 3)});
  std::vector<int> positions;
  EXPECT_FALSE(run.visit([&](const Alignment& record) {
    positions.push_back(record.pos());
    return record.pos() < 2;
  }));
  EXPECT_EQ(positions, (std::vector<int>{1, 2}));
  EXPECT_TRUE(run.visit([](const Alignment&) { return true; }));
}

TEST(RunBuffer, VisitOfAnEmptyRunIsComplete) {
  EXPECT_TRUE(run_of({}).visit([](const Alignment&) { return false; }));
}

TEST(RunBuffer, WritePutsTheRecordsIntoAFile) {
  const TempDir folder;
  const Path source = bam_of({}).write(folder, "source.bam");
  {
    BAM out(folder.path("a.bam"), "w");
    out.write(BAM(source).header());
    EXPECT_TRUE(run_of({record_at(0, 7, "a"), record_at(0, 3, "b")}).write(out));
    EXPECT_EQ(out.close(), 0);
  }
  EXPECT_EQ(names_in(folder, "a.bam"), (Names{"a", "b"}));
}

TEST(RunBuffer, WriteToAFileOpenForReadingRaisesBamReadOnly) {
  const TempDir folder;
  BAM in(bam_of({}).write(folder, "a.bam"));
  EXPECT_KIND(run_of({record_at(0, 7)}).write(in), BAMReadOnly, in.path());
}

TEST(RunBuffer, WriteBamWritesHeaderAndRecords) {
  const TempDir folder;
  const BAM source(bam_of({}).write(folder, "source.bam"));
  write_bam(folder.text("a.bam"), source.header(), run_of({record_at(0, 7, "a")}));
  const DecodedBam written = decode_bam(folder.read("a.bam"));
  EXPECT_EQ(written.text, header_text());
  EXPECT_EQ(names_of(written.records), (Names{"a"}));
  EXPECT_KIND(write_bam(folder.text("no/a.bam"), source.header(), run_of({})), FileNotFound,
              folder.path("no/a.bam"));
}

// ---- Names and limits ------------------------------------------------------------------------

TEST(Runs, TemporariesAreNamedByBaseAndNumber) {
  EXPECT_EQ(tmp_bamname(u"reads.sorted", 0), u"reads.sorted.0.bam");
  EXPECT_EQ(tmp_bamname(u"a/b", 12), u"a/b.12.bam");
  EXPECT_EQ(tmp_bamname(u"", 1), u".1.bam");
  EXPECT_EQ(tmp_bamname(u"r\u00e9.bam", 2147483647), u"r\u00e9.bam.2147483647.bam");
  EXPECT_EQ(BAM::tmp_bamname(u"out", 3), u"out.3.bam");
}

TEST(Runs, DefaultOutputIsTheNameWithoutBamAndSorted) {
  const std::vector<std::pair<UString, UString>> rows = {
      {u"reads.bam", u"reads.sorted"},
      {u"reads", u"reads.sorted"},
      {u"reads.BAM", u"reads.BAM.sorted"},
      {u"reads.bam.bam", u"reads.bam.sorted"},
      {u".bam", u".sorted"},
      {u"a/.bam", u"a/.sorted"},
      {u"bam", u"bam.sorted"},
      {u"readsbam", u"readsbam.sorted"},
      {u"a.bam/x", u"a.bam/x.sorted"},
      {u"reads.bam.gz", u"reads.bam.gz.sorted"},
      {u"", u".sorted"},
  };
  for (const auto& [name, base] : rows) EXPECT_EQ(sorted_base(name), base) << to_bytes(name);
}

TEST(Runs, RunHoldsOneRecordMoreThanTheRoundNumber) {
  EXPECT_EQ(RunLimits().records, 2097153U);
  EXPECT_EQ(RunLimits::for_this_machine().records, 2097153U);
}

TEST(Runs, RunOfThisMachineTakesHalfItsMemoryAtMostAnd256MebibytesAtLeast) {
  const std::uint64_t bytes = RunLimits::for_this_machine().bytes;
  const auto memory = static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) *
                      static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  EXPECT_GE(bytes, 256 * kMebibyte);
  EXPECT_LE(bytes, std::max<std::uint64_t>(memory / 2, 256 * kMebibyte));
}

}  // namespace
}  // namespace readkit::bam_runs_test
