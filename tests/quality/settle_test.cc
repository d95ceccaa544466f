// The counts are the same however often they are brought into the matrices, and however many reads
// there are.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quality/distribution.h"
#include "support/distribution_words.h"
#include "support/random_data.h"

namespace readkit::quality_settle_test {
namespace {

class Settle : public DistributionTest {
 protected:
  // The double that stands in the table now, whatever has not been brought there.
  double letter_count(std::size_t row, std::size_t column) const {
    return distribution_.base_matrix[row + kBaseRows * column];
  }
  double quality_count(std::size_t row, std::size_t column) const {
    return distribution_.quality_matrix[row + distribution_.quality_rows * column];
  }
  // Many random reads, all tables of which are returned.
  std::pair<Cells, Cells> scan_random_reads(std::uint64_t seed, int reads, int longest,
                                            int reads_between) {
    start();
    Random random(seed);
    for (int i = 0; i < reads; ++i) {
      const auto size = static_cast<std::size_t>(random_number(random, 1, longest));
      std::string letters;
      std::string read_qualities;
      for (std::size_t at = 0; at < size; ++at) {
        letters += "ACGTN"[random() % 5];
        read_qualities += static_cast<char>(random_number(
            random, encoding_.min_quality, std::min<std::int64_t>(encoding_.max_quality, 127)));
      }
      count(letters, read_qualities);
      if (reads_between > 0 && i % reads_between == 0) settle(&distribution_);
    }
    return {bases(), qualities()};
  }
  void expect_same_however_settled(std::uint64_t seed, int reads, int longest) {
    const auto once = scan_random_reads(seed, reads, longest, 0);
    EXPECT_GT(once.first.size(), 4U);
    EXPECT_EQ(scan_random_reads(seed, reads, longest, 1), once);
    EXPECT_EQ(scan_random_reads(seed, reads, longest, 7), once);
  }
};

TEST_F(Settle, WithoutReadsChangesNothing) {
  start();
  settle(&distribution_);
  expect_nothing_counted();
  encoding_.read_length = 0;
  start();
  settle(&distribution_);
  expect_nothing_counted();
}

TEST_F(Settle, SecondTimeChangesNothing) {
  start();
  count("ACG", "\1\2\3");
  settle(&distribution_);
  settle(&distribution_);
  EXPECT_EQ(letter_count(0, 0), 1);
  EXPECT_EQ(letter_count(1, 1), 1);
  EXPECT_EQ(quality_count(3, 2), 1);
}

TEST_F(Settle, EveryCountIsInTheMatricesAfterwards) {
  start();
  for (int i = 0; i < 3; ++i) count("ACG", "\1\2\3");
  settle(&distribution_);
  EXPECT_EQ(letter_count(0, 0), 3);
  EXPECT_EQ(letter_count(2, 2), 3);
  EXPECT_EQ(quality_count(1, 0), 3);
  EXPECT_EQ(quality_count(2, 1), 3);
}

TEST_F(Settle, CountsAreTheSameHoweverOftenItIsCalled) { expect_same_however_settled(1, 600, 60); }

TEST_F(Settle, CountsOfLongReadsAreTheSameHoweverOftenItIsCalled) {
  expect_same_however_settled(2, 20, 2500);
}

TEST_F(Settle, CountsOfManyQualityRowsAreTheSameHoweverOftenItIsCalled) {
  encoding_.min_quality = -100;
  encoding_.max_quality = 200;
  encoding_.min_average = -1000;
  expect_same_however_settled(3, 300, 40);
}

// ---- Many reads --------------------------------------------------------------------------------

TEST_F(Settle, NoCountIsLostAroundTheEndsOfNarrowCounters) {
  for (const int reads : {254, 255, 256, 257, 510, 511, 512, 65535, 65536, 65537}) {
    start();
    for (int i = 0; i < reads; ++i) count("GN", "\3\4");
    const double all = reads;
    EXPECT_EQ(bases(), (Cells{{{2, 0}, all}, {{4, 1}, all}})) << reads;
    EXPECT_EQ(qualities(), (Cells{{{3, 0}, all}, {{4, 1}, all}})) << reads;
    EXPECT_EQ(distribution_.read_count, reads);
    EXPECT_EQ(lengths().at(2), reads);
    EXPECT_EQ(averages(), (Bins{{3, all}})) << reads;
    EXPECT_EQ(gc(), (Bins{{10, all}})) << reads;
  }
}

TEST_F(Settle, NoCountIsLostWhenALongReadComesLast) {
  start();
  for (int i = 0; i < 66000; ++i) count("C", "\3");
  count(std::string(1500, 'C'), std::string(1500, '\3'));
  const Cells all_bases = bases();
  const Cells all_qualities = qualities();
  EXPECT_EQ(all_bases.size(), 1500U);
  EXPECT_EQ(all_qualities.size(), 1500U);
  EXPECT_EQ(all_bases.at({1, 0}), 66001);
  EXPECT_EQ(all_qualities.at({3, 0}), 66001);
  EXPECT_EQ(all_bases.at({1, 1}), 1);
  EXPECT_EQ(all_qualities.at({3, 1499}), 1);
}

TEST_F(Settle, LongReadsCountAtEveryPositionMoreThan255Times) {
  encoding_.read_length = 1100;
  start();
  for (int i = 0; i < 300; ++i) count(std::string(1100, 'T'), std::string(1100, '\6'));
  Cells expected_bases;
  Cells expected_qualities;
  for (int column = 0; column < 1100; ++column) {
    expected_bases[{3, column}] = 300;
    expected_qualities[{6, column}] = 300;
  }
  EXPECT_EQ(bases(), expected_bases);
  EXPECT_EQ(qualities(), expected_qualities);
}

TEST_F(Settle, EveryPositionAroundTheLastNarrowCounterCounts) {
  for (const int length : {1023, 1024, 1025}) {
    start();
    const auto size = static_cast<std::size_t>(length);
    count(std::string(size, 'C'), std::string(size, '\7'));
    EXPECT_EQ(bases().size(), size);
    EXPECT_EQ(bases().at({1, length - 1}), 1);
    EXPECT_EQ(qualities().size(), size);
    EXPECT_EQ(qualities().at({7, length - 1}), 1);
  }
}

// ---- The ignored quality -----------------------------------------------------------------------

TEST_F(Settle, RowOfTheIgnoredQualityStaysZero) {
  encoding_.ignore_value = 2;
  for (const std::int64_t high : {std::int64_t{41}, std::int64_t{1000}}) {
    start(0, high);
    for (int i = 0; i < 65600; ++i) count("AC", "\2\3");
    count(std::string(1300, 'A'), std::string(1299, '\2') + '\4');
    settle(&distribution_);
    EXPECT_EQ(qualities(), (Cells{{{3, 1}, 65600}, {{4, 1299}, 1}})) << high;
    EXPECT_EQ(bases().at({0, 0}), 65601) << high;
  }
}

}  // namespace
}  // namespace readkit::quality_settle_test
