// Interleaving shuffled files at random.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/bgzf_builder.h"
#include "support/expect_kind.h"
#include "support/hostile_calls.h"
#include "support/sort_words.h"

namespace readkit::bam_shuffle_merge_test {
namespace {

// So many standard deviations off is chance once in a million. All seeds here are fixed.
constexpr double kDeviations = 4.9;

// Whether `count` of `total` steps may well have had this probability.
testing::AssertionResult is_about(std::size_t count, std::size_t total, double probability) {
  const auto steps = static_cast<double>(total);
  const double expected = steps * probability;
  const double deviation = std::sqrt(expected * (1 - probability));
  if (std::abs(static_cast<double>(count) - expected) < kDeviations * deviation) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << count << " of " << total << ", expected about " << expected;
}

// The letters by which the names begin, one for each record, up to the last one of `letter`.
std::string letters_to_the_last(char letter, const Names& names) {
  std::string letters;
  for (const std::string& name : names) letters += name[0];
  return letters.substr(0, letters.rfind(letter) + 1);
}

std::size_t count_of(char letter, const std::string& letters) {
  return static_cast<std::size_t>(std::count(letters.begin(), letters.end(), letter));
}

class ShuffleMerge : public testing::Test {
 protected:
  // An input of reads "a0", "a1"...
  void add_input(char letter, int count) {
    Reads reads;
    for (int i = 0; i < count; ++i) reads.emplace_back(letter + std::to_string(i));
    const std::string name = std::string(1, letter) + ".bam";
    inputs_.push_back(bam_of(reads).write(folder_, name).text());
  }
  Names merged(std::uint32_t seed = 1) {
    std::filesystem::remove(folder_.native("out.bam"));  // quicker than to empty it
    merge_shuffled_bams(inputs_, folder_.text("out.bam"), seed);
    return names_in(folder_, "out.bam");
  }
  // Whether all names of a letter are there, counting up.
  static bool has_in_order(const Names& names, char letter, int count) {
    int next = 0;
    for (const std::string& name : names) {
      if (name[0] == letter && name != letter + std::to_string(next++)) return false;
    }
    return next == count;
  }

  TempDir folder_;
  std::vector<UString> inputs_;
};

TEST_F(ShuffleMerge, OneInputIsCopiedUnchanged) {
  add_input('a', 50);
  const Names names = merged();
  EXPECT_EQ(names, names_in(folder_, "a.bam"));
  EXPECT_EQ(decode_bgzf(folder_.read("out.bam")), decode_bgzf(folder_.read("a.bam")));
}

TEST_F(ShuffleMerge, RecordsOfOneInputKeepTheirOrder) {
  add_input('a', 40);
  add_input('b', 7);
  add_input('c', 100);
  for (std::uint32_t seed = 1; seed <= 20; ++seed) {
    const Names names = merged(seed);
    EXPECT_EQ(names.size(), 147U) << seed;
    EXPECT_TRUE(has_in_order(names, 'a', 40)) << seed;
    EXPECT_TRUE(has_in_order(names, 'b', 7)) << seed;
    EXPECT_TRUE(has_in_order(names, 'c', 100)) << seed;
  }
}

TEST_F(ShuffleMerge, TwoInputsOfVeryDifferentLengthsShareEveryStepEvenly) {
  add_input('a', 2000);
  add_input('b', 15000);
  const Names names = merged();
  const std::string shared = letters_to_the_last('a', names);
  // Until the shorter input ends, all but the last step are even.
  EXPECT_TRUE(is_about(count_of('a', shared) - 1, shared.size() - 1, 0.5));
  // No step depends on the one before it.
  std::size_t changes = 0;
  for (std::size_t i = 1; i + 1 < shared.size(); ++i) changes += shared[i] != shared[i - 1] ? 1 : 0;
  EXPECT_TRUE(is_about(changes, shared.size() - 2, 0.5));
  EXPECT_TRUE(has_in_order(names, 'a', 2000));
  EXPECT_TRUE(has_in_order(names, 'b', 15000));
}

TEST_F(ShuffleMerge, LongerInputMayAsWellComeFirst) {
  add_input('b', 15000);
  add_input('a', 2000);
  const std::string shared = letters_to_the_last('a', merged());
  EXPECT_TRUE(is_about(count_of('a', shared) - 1, shared.size() - 1, 0.5));
}

TEST_F(ShuffleMerge, ThreeInputsShareEveryStepByThreeAndThenByTwo) {
  add_input('a', 1500);
  add_input('b', 4000);
  add_input('c', 12000);
  const Names names = merged();
  const std::string by_three = letters_to_the_last('a', names);
  EXPECT_TRUE(is_about(count_of('a', by_three) - 1, by_three.size() - 1, 1.0 / 3));
  EXPECT_TRUE(is_about(count_of('b', by_three), by_three.size() - 1, 1.0 / 3));
  const std::string by_two = letters_to_the_last('b', names).substr(by_three.size());
  EXPECT_TRUE(is_about(count_of('b', by_two) - 1, by_two.size() - 1, 0.5));
}

TEST_F(ShuffleMerge, FirstRecordComesFromEveryInputAlike) {
  add_input('a', 1);
  add_input('b', 20);
  add_input('c', 3);
  std::string firsts;
  for (std::uint32_t seed = 1; seed <= 300; ++seed) firsts += merged(seed)[0][0];
  for (const char letter : {'a', 'b', 'c'}) {
    EXPECT_TRUE(is_about(count_of(letter, firsts), firsts.size(), 1.0 / 3)) << letter;
  }
}

TEST_F(ShuffleMerge, InputsWithoutRecordsAddNothing) {
  add_input('a', 10);
  add_input('b', 0);  // as the last run of a file may be
  add_input('c', 0);
  EXPECT_EQ(merged(), names_in(folder_, "a.bam"));
}

TEST_F(ShuffleMerge, OnlyInputsWithoutRecordsGiveTheHeader) {
  add_input('a', 0);
  add_input('b', 0);
  EXPECT_EQ(merged(), Names{});
  EXPECT_EQ(decode_bgzf(folder_.read("out.bam")), bam_of({}).header_bytes());
}

TEST_F(ShuffleMerge, HeaderIsThatOfTheFirstInputEvenWhenItIsEmpty) {
  inputs_.push_back(
      BamBuilder().text("@CO\tfirst\n").ref("one", 10).write(folder_, "0.bam").text());
  add_input('a', 3);
  for (std::uint32_t seed = 1; seed <= 5; ++seed) {
    merged(seed);
    const DecodedBam out = decode_bam(folder_.read("out.bam"));
    EXPECT_EQ(out.text, "@CO\tfirst\n");
    EXPECT_EQ(out.refs.size(), 1U);
    EXPECT_EQ(out.records.size(), 3U);
  }
}

TEST_F(ShuffleMerge, SameSeedGivesTheSameBytes) {
  add_input('a', 30);
  add_input('b', 30);
  merged(9);
  const std::string once = folder_.read("out.bam");
  merged(9);
  EXPECT_EQ(folder_.read("out.bam"), once);
  merged(10);
  EXPECT_NE(folder_.read("out.bam"), once);
}

TEST_F(ShuffleMerge, WithoutASeedTwoMergesDiffer) {
  add_input('a', 60);
  add_input('b', 60);  // equal by chance less than once in 2^100 times
  merge_shuffled_bams(inputs_, folder_.text("one.bam"));
  merge_shuffled_bams(inputs_, folder_.text("two.bam"));
  EXPECT_NE(names_in(folder_, "one.bam"), names_in(folder_, "two.bam"));
  EXPECT_EQ(same_records(records_in(folder_, "one.bam")),
            same_records(records_in(folder_, "two.bam")));
}

TEST_F(ShuffleMerge, NoInputRaisesOutOfRange) {
  EXPECT_THROW(merged(), std::out_of_range);
  EXPECT_THROW(merge_shuffled_bams({}, folder_.text("out.bam")), std::out_of_range);
}

TEST_F(ShuffleMerge, OutputIsOpenedFirst) {
  inputs_ = {folder_.text("missing.bam")};
  EXPECT_KIND(merge_shuffled_bams(inputs_, folder_.text("no/out.bam"), 1), FileNotFound,
              folder_.path("no/out.bam"));
  EXPECT_KIND(merge_shuffled_bams(inputs_, folder_.text("out.bam"), 1), FileNotFound,
              folder_.path("missing.bam"));
}

TEST_F(ShuffleMerge, OutputThatIsAnInputIsRefusedAndTheInputStays) {
  add_input('a', 3);
  EXPECT_KIND(merge_shuffled_bams(inputs_, inputs_[0], 1), CannotOpenOutFile, inputs_[0]);
  EXPECT_EQ(names_in(folder_, "a.bam").size(), 3U);
}

TEST_F(ShuffleMerge, DamagedInputRaisesItsErrorWithItsName) {
  const std::size_t files = open_files();
  add_input('a', 3);
  const Path path = folder_.write(
      "b.bam",
      BgzfFile().block(bam_of({}).header_bytes()).block(BgzfBlock::around("\xff\xff")).bytes());
  inputs_.push_back(path.text());
  EXPECT_KIND(merged(), ZLIBInflate, path);
  EXPECT_EQ(open_files(), files);
}

}  // namespace
}  // namespace readkit::bam_shuffle_merge_test
