// Whole scans against a slow computation over plain maps.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "quality/distribution.h"
#include "support/distribution_words.h"
#include "support/random_data.h"

namespace readkit::quality_distribution_model_test {
namespace {

// What a scan counts, one position after the other.
struct Model {
  Bins averages;
  Bins gc;
  Cells qualities;
  Cells bases;
  std::map<int, std::int64_t> lengths;
  std::int64_t reads = 0;
  std::int64_t longest = 0;

  void count(std::string_view letters, std::string_view read, const encoding_t& encoding) {
    const auto size = static_cast<std::int64_t>(letters.size());
    std::int64_t first = encoding.scan_start < 0 ? 0 : encoding.scan_start;
    std::int64_t last = encoding.scan_end;
    if (last == -1 || last > size - 1) last = size - 1;
    if (encoding.read_length > 0) {
      first = 0;
      last = std::min(size, encoding.read_length) - 1;
    }
    const std::int64_t length = last - first + 1;

    std::int64_t sum = 0;
    std::int64_t counted = 0;
    for (std::int64_t i = first; i <= last; ++i) {
      const int quality = static_cast<signed char>(read[static_cast<std::size_t>(i)]);
      if (quality == encoding.ignore_value) continue;
      sum += quality;
      ++counted;
    }
    double mean = 0;
    if (first <= last) {
      mean = counted > 0 ? static_cast<double>(sum) / static_cast<double>(counted) : -1.7e308;
    }
    if (mean < encoding.min_average || length == 0) return;
    if (encoding.min_length != -1 && length < encoding.min_length) return;

    ++lengths[static_cast<int>(length)];
    ++reads;
    longest = std::max(longest, length);
    std::int64_t strong = 0;
    for (std::int64_t i = first; i <= last; ++i) {
      const char letter = letters[static_cast<std::size_t>(i)];
      const std::size_t code = std::string_view("ACGT").find(letter);
      ++bases[{code == std::string_view::npos ? 4 : static_cast<std::int64_t>(code), i - first}];
      if (letter == 'G' || letter == 'C') ++strong;
      const int quality = static_cast<signed char>(read[static_cast<std::size_t>(i)]);
      if (quality != encoding.ignore_value)
        ++qualities[{quality - encoding.min_quality, i - first}];
    }
    ++gc[strong == length ? 19 : 20 * strong / length];
    if (counted == 0) return;
    const std::int64_t average = std::min(sum / counted, encoding.max_quality - 1);
    ++averages[average - encoding.min_quality];
  }
};

class DistributionModel : public DistributionTest {
 protected:
  void draw_settings() {
    encoding_ = encoding_t();
    encoding_.min_quality = draw(-60, 20);
    encoding_.max_quality = encoding_.min_quality + draw(1, one_in(5) ? 400 : 60);
    encoding_.ignore_value = draw(encoding_.min_quality - 3, encoding_.min_quality + 20);
    encoding_.min_average = static_cast<double>(draw(-300, 60)) / 4;
    if (one_in(3)) encoding_.min_length = draw(-5, 20);
    if (one_in(2)) encoding_.scan_start = draw(-3, 40);
    if (one_in(2)) encoding_.scan_end = draw(-4, 60);
    if (one_in(3)) encoding_.read_length = draw(0, 60);
  }
  std::string draw_letters() {
    std::string letters(static_cast<std::size_t>(one_in(100) ? draw(900, 2500) : draw(0, 70)), 'A');
    const std::string_view alphabet = one_in(4) ? "CG" : "AACCGGTTNacgt\xff";
    for (char& letter : letters) letter = alphabet[random_() % alphabet.size()];
    return letters;
  }
  std::string draw_qualities(std::size_t size) {
    const std::int64_t high = std::min<std::int64_t>(encoding_.max_quality, 127);
    // Sometimes narrow, so that averages come to lie anywhere, or all ignored.
    const std::int64_t from = draw(encoding_.min_quality, high);
    const bool all_ignored = one_in(20) && encoding_.ignore_value >= encoding_.min_quality &&
                             encoding_.ignore_value <= high;
    std::string read(size, static_cast<char>(encoding_.ignore_value));
    if (all_ignored) return read;
    for (char& quality : read) quality = static_cast<char>(draw(from, std::min(high, from + 12)));
    return read;
  }

  std::int64_t draw(std::int64_t low, std::int64_t high) {
    return random_number(random_, low, high);
  }
  bool one_in(std::uint64_t many) { return random_() % many == 0; }

  Random random_{20};
};

TEST_F(DistributionModel, RandomScansCountAsTheSlowComputation) {
  std::int64_t counted = 0;
  std::int64_t skipped = 0;
  std::int64_t negative = 0;
  for (int round = 0; round < 100; ++round) {
    SCOPED_TRACE(round);
    draw_settings();
    const encoding_t given = encoding_;
    start();
    Model model;
    // A read length of 0 takes the whole read, whatever the span was.
    encoding_t modelled = given;
    if (given.read_length == 0) {
      modelled.scan_start = 0;
      modelled.scan_end = -1;
    }
    const std::int64_t reads = draw(1, one_in(5) ? 700 : 60);
    for (std::int64_t i = 0; i < reads; ++i) {
      const std::string letters = draw_letters();
      const std::string read = draw_qualities(letters.size());
      count(letters, read);
      model.count(letters, read, modelled);
      if (one_in(50)) settle(&distribution_);
    }
    ASSERT_EQ(averages(), model.averages);
    ASSERT_EQ(gc(), model.gc);
    ASSERT_EQ(qualities(), model.qualities);
    ASSERT_EQ(bases(), model.bases);
    ASSERT_EQ(lengths(), model.lengths);
    ASSERT_EQ(distribution_.read_count, model.reads);
    ASSERT_EQ(distribution_.max_length, model.longest);
    counted += model.reads;
    skipped += reads - model.reads;
    for (const auto& [length, times] : model.lengths) negative += length < 0 ? times : 0;
  }
  // That the rounds were not all of one kind.
  EXPECT_GT(counted, 2000);
  EXPECT_GT(skipped, 2000);
  EXPECT_GT(negative, 20);
}

}  // namespace
}  // namespace readkit::quality_distribution_model_test
