// Real SAM files, sorted: which lines come out and in which order, against a plain stable sort of
// the lines and samtools.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "bam/runs.h"
#include "sam/sam.h"
#include "support/real_sams.h"
#include "support/sam_model.h"
#include "support/samtools.h"
#include "support/sort_words.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::sam_real_sort_test {
namespace {

std::int32_t int32_at(const std::string& record, std::size_t offset) {
  std::int32_t number = 0;
  std::memcpy(&number, record.data() + offset, sizeof number);
  return number;
}

// References in their order, records without one last.
using Key = std::tuple<bool, std::int32_t, std::int32_t>;
Key key_of(const ReadLine& line) {
  const std::int32_t ref = int32_at(line.record, 0);
  return {ref < 0, ref, int32_at(line.record, 4)};
}

// Lines without a record are left out.
std::vector<ReadLine> in_place(std::vector<ReadLine> lines) {
  std::erase_if(lines, [](const ReadLine& line) { return line.record.empty(); });
  std::stable_sort(lines.begin(), lines.end(),
                   [](const ReadLine& a, const ReadLine& b) { return key_of(a) < key_of(b); });
  return lines;
}

// A header as it is written: at least its newline.
std::string written_header(const std::string& file) {
  const std::string header = model_sam(read_file(file)).header;
  return header.empty() ? "\n" : header;
}

// A file's lines in the order of a sort, or the error that ends it.
struct Expected {
  std::vector<ReadLine> lines;
  std::string error;
  bool is_of_reading = false;

  explicit Expected(const std::string& file) {
    const std::vector<ReadLine> source = read_lines(file);
    for (const ReadLine& line : source) {
      if (error.empty()) error = line.error;
    }
    is_of_reading = !error.empty();
    lines = in_place(source);
    for (const ReadLine& line : lines) {
      if (error.empty()) error = line.write_error;
    }
  }
};

class RealSamSort : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override { SKIP_WITHOUT_TEST_DATA(); }

  // Sorts, and returns the error (as `ReadLine` names it) or nothing.
  static std::string sort(const std::string& file, const TempDir& folder, const RunLimits& limits) {
    return outcome_of([&] { SAM(to_path(file), "r").sort(folder.text("t"), limits); }, file);
  }
  // The output; there must be no other file.
  static std::string output_in(const TempDir& folder) {
    EXPECT_EQ(folder.names(), Names{"t.sam"});
    return folder.read("t.sam");
  }
};

INSTANTIATE_TEST_SUITE_P(Files, RealSamSort, testing::ValuesIn(real_sams()),
                         [](const auto& param) { return sam_test_name(param.param); });

// Equal lines keep their order. A file that cannot be read leaves no output; the output of one with
// a record that cannot be written ends before it.
TEST_P(RealSamSort, OneRunGivesTheStableOrderOrTheError) {
  for (const std::string& name : sams_of(GetParam())) {
    SCOPED_TRACE(name);
    const std::string file = test_file(name);
    const Expected expected(file);
    const TempDir folder;
    const std::string error = sort(file, folder, RunLimits::for_this_machine());
    if (!expected.error.empty()) {
      EXPECT_TRUE(error.starts_with(expected.error)) << error;
      EXPECT_EQ(folder.exists("t.sam"), !expected.is_of_reading);
      continue;
    }
    EXPECT_EQ(error, "");
    std::string text = written_header(file);
    for (const ReadLine& line : expected.lines) text += line.written + '\n';
    EXPECT_TRUE(output_in(folder) == text);
  }
}

// The lines with their keys, those of one key in alphabetical order.
std::vector<std::pair<Key, std::string>> in_any_order_of_equals(
    const std::vector<ReadLine>& sorted, const std::vector<std::string>& lines) {
  std::vector<std::pair<Key, std::string>> all;
  for (std::size_t i = 0; i < lines.size(); ++i) all.emplace_back(key_of(sorted.at(i)), lines[i]);
  std::sort(all.begin(), all.end());
  return all;
}

TEST_P(RealSamSort, RunsAreMergedIntoTheSameOrder) {
  for (const std::string& name : sams_of(GetParam())) {
    SCOPED_TRACE(name);
    const std::string file = test_file(name);
    const Expected expected(file);
    const RunLimits quarter = limit_of_records(expected.lines.size() / 4 + 1);
    const TempDir folder;
    const std::string error = sort(file, folder, quarter);
    if (!expected.error.empty()) {
      EXPECT_TRUE(error.starts_with(expected.error)) << error;
      continue;
    }
    EXPECT_EQ(error, "");
    const std::string output = output_in(folder);
    const std::string header = written_header(file);
    ASSERT_TRUE(output.starts_with(header));
    const std::vector<std::string> merged = model_lines(output.substr(header.size()));
    ASSERT_EQ(merged.size(), expected.lines.size());
    std::vector<std::string> lines;
    for (const ReadLine& line : expected.lines) lines.push_back(line.written);
    EXPECT_TRUE(in_any_order_of_equals(expected.lines, merged) ==
                in_any_order_of_equals(expected.lines, lines));
    EXPECT_EQ(sort(file, folder, quarter), "");
    EXPECT_TRUE(output_in(folder) == output);
  }
}

// ---- Against samtools --------------------------------------------------------------------------

// Files that samtools can print but does not sort, for their headers.
const std::set<std::string> kHeaderRefusedBySamtools = {
    "hts-specs/sam/failed/hdr.PG2.sam", "hts-specs/sam/failed/hdr.RG0.sam",
    "hts-specs/sam/failed/hdr.SQ5.sam", "hts-specs/sam/failed/hdr.SQ7.sam",
    "hts-specs/sam/failed/hdr.SQ8.sam",
};
// Files with positions beyond 32 bits.
const std::set<std::string> kPlacedElsewhere = {"sam/7_mark_supp_dup.sam", "sam/longref.sam"};

// For the files that are sorted here. What samtools cannot even print is not sorted there.
TEST_P(RealSamSort, PlacesAreThoseOfSamtools) {
  for (const std::string& name : sams_of(GetParam())) {
    SCOPED_TRACE(name);
    const std::string file = test_file(name);
    const TempDir folder;
    const std::optional<Places> expected = places_sorted_by_samtools(file, folder);
    const bool is_printed = try_samtools({"view", "--no-PG", file}).succeeded;
    EXPECT_EQ(!expected, !is_printed || kHeaderRefusedBySamtools.count(name) > 0);
    if (!sort(file, folder, RunLimits::for_this_machine()).empty() || !expected) continue;
    Places places;
    const std::string output = output_in(folder).substr(written_header(file).size());
    for (const std::string& line : model_lines(output)) {
      const std::vector<std::string> fields = split_tabs(line);
      places.emplace_back(fields.at(2), fields.at(3));
    }
    EXPECT_EQ(places != *expected, kPlacedElsewhere.count(name) > 0);
  }
}

}  // namespace
}  // namespace readkit::sam_real_sort_test
