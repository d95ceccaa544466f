// Real BAM files, sorted and shuffled: which records come out and in which order, against the
// input, a plain stable sort and samtools.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/bgzf_builder.h"
#include "support/expect_kind.h"
#include "support/real_sams.h"
#include "support/reference_decoder.h"
#include "support/samtools.h"
#include "support/sort_words.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::bam_real_sort_test {
namespace {

// A record and its place.
struct Record {
  std::int32_t ref;
  std::int32_t pos;
  std::string_view bytes;  // with the length word
};

// References in their order, records without one last.
using Key = std::tuple<bool, std::int32_t, std::int32_t>;
Key key_of(const Record& record) { return {record.ref < 0, record.ref, record.pos}; }

std::int32_t int32_at(std::string_view bytes, std::size_t offset) {
  std::int32_t number = 0;
  std::memcpy(&number, bytes.substr(offset, sizeof number).data(), sizeof number);
  return number;
}

// A whole BAM file, its records not looked into.
struct Content {
  std::shared_ptr<const std::string> data;
  std::string_view header;  // magic, text and dictionary
  std::vector<std::string> names;
  std::vector<Record> records;
};

Content content_of(const std::string& file_bytes) {
  Content content;
  content.data = std::make_shared<const std::string>(decode_bgzf(file_bytes));
  const std::string_view data = *content.data;
  const auto size_at = [&](std::size_t at) { return static_cast<std::size_t>(int32_at(data, at)); };
  std::size_t at = 8 + size_at(4);
  std::size_t references = size_at(at);
  at += 4;
  for (; references > 0; --references) {
    const std::size_t length = size_at(at);
    content.names.emplace_back(data.substr(at + 4, length - 1));
    at += 4 + length + 4;
  }
  content.header = data.substr(0, at);
  while (at < data.size()) {
    const std::string_view bytes = data.substr(at, 4 + size_at(at));
    content.records.push_back({int32_at(bytes, 4), int32_at(bytes, 8), bytes});
    at += bytes.size();
  }
  return content;
}

std::vector<std::string_view> bytes_of(const std::vector<Record>& records) {
  std::vector<std::string_view> all;
  for (const Record& record : records) all.push_back(record.bytes);
  return all;
}
std::vector<Key> keys_of(const std::vector<Record>& records) {
  std::vector<Key> all;
  for (const Record& record : records) all.push_back(key_of(record));
  return all;
}

std::vector<Record> in_place(std::vector<Record> records) {
  std::stable_sort(records.begin(), records.end(),
                   [](const Record& a, const Record& b) { return key_of(a) < key_of(b); });
  return records;
}

Places places_of(const Content& content) {
  Places places;
  for (const Record& record : content.records) {
    const auto ref = static_cast<std::size_t>(record.ref);
    places.emplace_back(record.ref < 0 ? "*" : content.names.at(ref),
                        std::to_string(record.pos + 1));
  }
  return places;
}

// Whether two lists hold the same records, however often each.
bool same_multiset(const std::vector<Record>& a, const std::vector<Record>& b) {
  std::vector<std::string_view> first = bytes_of(a);
  std::vector<std::string_view> second = bytes_of(b);
  std::sort(first.begin(), first.end());
  std::sort(second.begin(), second.end());
  return first == second;
}

// ---- Complete files ----------------------------------------------------------------------------

// The files that end with the end marker, or those that do not.
std::vector<std::string> bams_that_are_complete(bool complete) {
  std::vector<std::string> names = real_bams();
  std::erase_if(names, [&](const std::string& name) {
    if (name.empty()) return false;
    std::ifstream in(test_file(name), std::ios::binary);
    std::string end(bgzf_marker().size(), '\0');
    in.seekg(-static_cast<std::streamoff>(end.size()), std::ios::end);
    in.read(end.data(), static_cast<std::streamsize>(end.size()));
    return has_end_marker(end) != complete;
  });
  return names;
}

class RealBamSort : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    SKIP_WITHOUT_TEST_DATA();
    file_ = test_file(GetParam());
    input_ = content_of(read_file(file_));
  }

  // The output's bytes; there must be no other file.
  std::string sort(const RunLimits& limits) {
    BAM(to_path(file_)).sort(folder_.text("t"), limits);
    EXPECT_EQ(folder_.names(), Names{"t.bam"});
    return folder_.read("t.bam");
  }
  std::string shuffle(const RunLimits& limits) {
    std::uint32_t seed = 0;
    BAM(to_path(file_))
        .shuffle(
            folder_.text("t"), [&seed] { return ++seed; }, limits);
    EXPECT_EQ(folder_.names(), Names{"t.bam"});
    return folder_.read("t.bam");
  }
  // Large files are spared repetitions.
  bool is_large() const { return input_.data->size() > 1'000'000; }
  // A limit that cuts the file into four runs, if it has as many records.
  RunLimits quarter() const { return limit_of_records(input_.records.size() / 4 + 1); }

  void expect_sorted(const Content& output) {
    EXPECT_TRUE(output.header == input_.header);
    EXPECT_TRUE(keys_of(output.records) == keys_of(in_place(input_.records)));
    EXPECT_TRUE(same_multiset(output.records, input_.records));
    // A file without references passes as one of unmapped reads only.
    const std::string kind = input_.names.empty() ? "-u" : "-v";
    EXPECT_TRUE(try_samtools({"quickcheck", kind, folder_.native("t.bam")}).succeeded);
  }

  std::string file_;
  Content input_;
  TempDir folder_;
};

INSTANTIATE_TEST_SUITE_P(Files, RealBamSort, testing::ValuesIn(bams_that_are_complete(true)),
                         [](const auto& param) { return test_name(param.param); });

// Files whose header samtools does not accept.
const std::set<std::string> kRefusedBySamtools = {"bam/large_coords.bam"};

TEST_P(RealBamSort, OneRunKeepsTheInputOrderOfEqualRecordsAndThePlacesAreThoseOfSamtools) {
  const std::string output = sort(RunLimits::for_this_machine());
  const Content content = content_of(output);
  expect_sorted(content);
  EXPECT_TRUE(bytes_of(content.records) == bytes_of(in_place(input_.records)));
  const std::optional<Places> expected = places_sorted_by_samtools(file_, folder_);
  ASSERT_EQ(!expected, kRefusedBySamtools.count(GetParam()) > 0);
  EXPECT_TRUE(!expected || places_of(content) == *expected);
  if (is_large()) return;
  EXPECT_TRUE(sort(RunLimits::for_this_machine()) == output);
}

TEST_P(RealBamSort, RunsAreMergedIntoTheSameOrder) {
  const std::string output = sort(quarter());
  expect_sorted(content_of(output));
  if (is_large()) return;
  EXPECT_TRUE(sort(quarter()) == output);
}

TEST_P(RealBamSort, ShuffleKeepsEveryRecord) {
  for (const RunLimits& limits : {RunLimits::for_this_machine(), quarter()}) {
    if (is_large() && limits.records > input_.records.size()) continue;
    const Content content = content_of(shuffle(limits));
    EXPECT_TRUE(content.header == input_.header);
    EXPECT_TRUE(same_multiset(content.records, input_.records));
  }
}

// ---- Files that end too early ------------------------------------------------------------------

class RealBamSortErrors : public testing::TestWithParam<std::string> {
 protected:
  TempDir folder_;
};

INSTANTIATE_TEST_SUITE_P(Files, RealBamSortErrors, testing::ValuesIn(bams_that_are_complete(false)),
                         [](const auto& param) { return test_name(param.param); });

TEST_P(RealBamSortErrors, TheErrorOfReadingIsRaisedAndOneRunLeavesNoOutput) {
  SKIP_WITHOUT_TEST_DATA();
  const Path path = to_path(test_file(GetParam()));
  EXPECT_KIND(BAM(path).sort(folder_.text("t")), InvalidBAMFormat, path);
  EXPECT_KIND(BAM(path).shuffle(folder_.text("t")), InvalidBAMFormat, path);
  EXPECT_EQ(folder_.names(), Names{});
}

}  // namespace
}  // namespace readkit::bam_real_sort_test
