// Real files: headers, counts, order and every record's text, against samtools.
#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/gateway_calls.h"
#include "support/samtools.h"
#include "support/samtools_lines.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::gateway_real_data_test {
namespace {

using Lines = std::vector<std::string>;

class RealBam : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    SKIP_WITHOUT_TEST_DATA();
    file_ = test_file(GetParam());
    is_complete_ = has_end_marker(read_file(file_));
  }
  Outputs call(const char* gateway, int nlhs) {
    return call_gateway(gateway, nlhs, inputs(text(file_)));
  }

  std::string file_;
  bool is_complete_ = false;
};

INSTANTIATE_TEST_SUITE_P(Files, RealBam, testing::ValuesIn(real_bams()),
                         [](const auto& param) { return test_name(param.param); });

// ---- Header ------------------------------------------------------------------------------------

// samtools completes a text that does not list the references, and ends the last line.
Lines header_as_samtools_prints_it(std::string text, const Lines& names,
                                   const std::vector<std::uint32_t>& lengths) {
  const bool lists_references = text.find("@SQ\t") != std::string::npos;
  Lines lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    if (end > 0) lines.push_back(text.substr(0, end));
    text.erase(0, end + 1);
  }
  for (std::size_t i = 0; i < names.size() && !lists_references; ++i) {
    lines.push_back("@SQ\tSN:" + names[i] + "\tLN:" + std::to_string(lengths[i]));
  }
  return lines;
}

TEST_P(RealBam, HeaderTextIsThatOfSamtools) {
  const Outputs outputs = call("getHeader", 3);
  const Lines expected = samtools({"view", "--no-PG", "-H", file_});
  EXPECT_EQ(header_as_samtools_prints_it(row_text_of(outputs[0]), texts_of(outputs[1]),
                                         column_of<std::uint32_t>(outputs[2])),
            expected);
}

TEST_P(RealBam, ReferencesAreThoseOfSamtools) {
  const Outputs outputs = call("getHeader", 3);
  const Lines names = texts_of(outputs[1]);
  const auto lengths = column_of<std::uint32_t>(outputs[2]);
  Lines expected;
  for (const std::string& line : samtools({"view", "--no-PG", "-H", file_})) {
    if (!line.starts_with("@SQ")) continue;
    std::string reference;
    for (const std::string& field : split_tabs(line)) {
      if (field.starts_with("SN:")) reference = field.substr(3) + reference;
      if (field.starts_with("LN:")) reference += " " + field.substr(3);
    }
    expected.push_back(reference);
  }
  Lines references;
  for (std::size_t i = 0; i < names.size(); ++i) {
    references.push_back(names[i] + " " + std::to_string(lengths.at(i)));
  }
  EXPECT_EQ(references, expected);
  EXPECT_EQ(scalar_of<std::int32_t>(call("getNumReferences", 1)[0]),
            static_cast<std::int32_t>(names.size()));
}

TEST_P(RealBam, NamesAndIndexesOfReferencesAgree) {
  const Lines names = texts_of(call("getHeader", 2)[1]);
  // Some of them: every call opens the file.
  for (std::size_t i = 0; i < names.size(); i += std::max<std::size_t>(names.size() / 5, 1)) {
    const auto id = static_cast<double>(i);
    EXPECT_EQ(row_text_of(call_gateway("getReferenceString", 1,
                                       inputs(text(file_), host::make_scalar(id)))[0]),
              names[i]);
    EXPECT_EQ(scalar_of<std::int32_t>(
                  call_gateway("getReferenceID", 1, inputs(text(file_), text(names[i])))[0]),
              static_cast<std::int32_t>(i));
  }
}

// ---- Counts and order --------------------------------------------------------------------------

// A line's place in the order that the SAM format calls "coordinate". Lines without a reference
// ("*") count as of one behind the last, and their positions do not matter.
struct Place {
  std::size_t ref;
  long pos;
  auto operator<=>(const Place&) const = default;
};

std::vector<Place> places_of(const Lines& lines, const Lines& names) {
  std::map<std::string, std::size_t> ids;
  for (std::size_t i = 0; i < names.size(); ++i) ids.emplace(names[i], i);
  std::vector<Place> places;
  for (const std::string& line : lines) {
    const Lines fields = split_tabs(line);
    const auto found = ids.find(fields.at(2));
    const std::size_t ref = found == ids.end() ? names.size() : found->second;
    places.push_back({ref, found == ids.end() ? 0 : std::stol(fields.at(3))});
  }
  return places;
}

TEST_P(RealBam, CountsAndOrderAreThoseOfSamtools) {
  const LeakCheck leaks;
  const Lines names = texts_of(call("getHeader", 2)[1]);
  if (!is_complete_) {
    EXPECT_CALL_FAILS(call("bamInfo", 2), "seqlab:readkit:InvalidBAMFormat", to_path(file_));
    return;
  }
  const std::vector<Place> places = places_of(samtools({"view", "--no-PG", file_}), names);
  std::vector<double> expected;
  for (const Place& place : places) {
    const std::size_t row = place.ref == names.size() ? 0 : place.ref + 1;
    expected.resize(std::max(expected.size(), row + 1));
    ++expected[row];
  }
  const Outputs outputs = call("bamInfo", 2);
  EXPECT_EQ(column_of<double>(outputs[1]), expected);
  const bool sorted = std::is_sorted(places.begin(), places.end());
  EXPECT_EQ(scalar_of<bool>(outputs[0]), sorted);
  EXPECT_EQ(scalar_of<bool>(call("bamInfo", 1)[0]), sorted);
}

// ---- Lines -------------------------------------------------------------------------------------

TEST_P(RealBam, LinesAreThoseOfSamtoolsButForTheRules) {
  const Lines lines = samtools({"view", "--no-PG", file_});
  BAM bam(to_path(file_));
  for (const std::string& line : lines) {
    ASSERT_TRUE(bam.next_alignment());
    ASSERT_TRUE(is_same_record(line, bam.to_sam(bam.header())));
  }
  if (is_complete_) {
    EXPECT_FALSE(bam.next_alignment());
  } else {
    EXPECT_KIND(bam.next_alignment(), InvalidBAMFormat, to_path(file_));
  }
}

}  // namespace
}  // namespace readkit::gateway_real_data_test
