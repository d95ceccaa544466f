// Lines of regions and of unaligned records of real BAM files, against a slow filter.
#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/conversion_model.h"
#include "support/gateway_calls.h"
#include "support/index_model.h"
#include "support/samtools.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::gateway_real_write_sam_test {
namespace {

// 0-based, half-open.
struct Region {
  int ref = 0;
  int beg = 0;
  int end = 0;
};

std::vector<std::string> bams_with_index() {
  std::vector<std::string> names;
  for (const std::string& name : real_bams()) {
    if (name.empty() || !index_beside(test_file(name)).empty()) names.push_back(name);
  }
  return names;
}

// Of references whose names have no colon: a whole one, the places around some records, and an
// empty one.
std::vector<Region> regions_of(const ModelSource& source, const std::vector<ModelRecord>& records) {
  std::vector<Region> regions;
  std::vector<ModelRecord> placed;
  for (const ModelRecord& record : records) {
    const bool can_be_named = source.ref_name(record.ref).find(':') == std::string::npos;
    if (record.ref >= 0 && record.pos >= 0 && can_be_named) placed.push_back(record);
  }
  if (placed.empty()) return regions;
  for (const std::size_t at : {std::size_t{0}, placed.size() / 3, placed.size() - 1}) {
    const ModelRecord& r = placed[at];
    const int middle = r.pos + (r.end - r.pos) / 2;
    for (const auto& [beg, end] : std::vector<std::pair<int, int>>{
             {r.pos, r.end}, {middle, middle + 1}, {std::max(r.pos - 40, 0), r.end + 40}}) {
      regions.push_back({r.ref, beg, end});
    }
  }
  regions.push_back({placed[0].ref, 0, 1 << 29});
  // An empty one at the very begin has no bins.
  const ModelRecord& last = placed.back();
  if (last.pos > 0) regions.push_back({last.ref, last.pos, last.pos});
  return regions;
}

class RealWriteSam : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    SKIP_WITHOUT_TEST_DATA();
    file_ = test_file(GetParam());
    const std::string bytes = read_file(file_);
    source_ = model_bam_source(bytes);
    records_ = model_records(bytes);
    ASSERT_EQ(records_.size(), source_.records.size());
  }

  std::string line(std::size_t place, bool with_tags) const {
    return model_line(source_, source_.records[place], with_tags).text + '\n';
  }

  std::string expected_lines(const Region& region, bool with_tags, bool contained) const {
    std::string lines;
    for (const std::size_t place : model_scan(records_, region.ref, region.beg, region.end)) {
      const ModelRecord& record = records_[place];
      const bool inside = record.pos >= region.beg && record.pos + record.length <= region.end;
      if (!contained || inside) lines += line(place, with_tags);
    }
    return lines;
  }

  const TempDir folder_;
  std::string file_;
  ModelSource source_;
  std::vector<ModelRecord> records_;
};

class RealRegions : public RealWriteSam {};

INSTANTIATE_TEST_SUITE_P(Files, RealRegions, testing::ValuesIn(bams_with_index()),
                         [](const auto& param) { return test_name(param.param); });
INSTANTIATE_TEST_SUITE_P(Files, RealWriteSam, testing::ValuesIn(real_bams()),
                         [](const auto& param) { return test_name(param.param); });

TEST_P(RealRegions, SamWriteAppendsTheLinesOfASlowFilter) {
  const std::string index = index_beside(file_);
  std::string expected;
  for (const Region& region : regions_of(source_, records_)) {
    for (const bool contained : {false, true}) {
      const bool with_tags = region.beg % 2 == 0;
      const std::string words = source_.ref_name(region.ref) + ':' +
                                std::to_string(region.beg + 1) + '-' + std::to_string(region.end);
      SCOPED_TRACE(words + (contained ? " contained" : ""));
      call_gateway(
          "samWrite", 0,
          inputs(text(file_), text(index.substr(0, index.size() - 4)), text(folder_, "a.sam"),
                 text(words), host::make_scalar(with_tags), host::make_scalar(contained)));
      expected += expected_lines(region, with_tags, contained);
      ASSERT_TRUE(folder_.read("a.sam") == expected);
    }
  }
}

TEST_P(RealRegions, SamWriteRegionsWritesTheLinesOfASlowFilterOnce) {
  std::vector<double> references;
  std::vector<double> firsts;
  std::vector<double> lasts;
  std::set<std::size_t> places;
  for (const Region& region : regions_of(source_, records_)) {
    if (region.beg == region.end) continue;  // has no last position
    references.push_back(region.ref);
    firsts.push_back(region.beg + 1);
    lasts.push_back(region.end);
    for (const std::size_t place : model_scan(records_, region.ref, region.beg, region.end)) {
      places.insert(place);
    }
  }
  std::string expected;
  for (const std::size_t place : places) expected += line(place, true);
  call_gateway("kxSamWriteRegions", 0,
               inputs(text(file_), text(index_beside(file_)), text(folder_, "a.sam"),
                      host::make_column(references), host::make_column(firsts),
                      host::make_column(lasts), host::make_scalar(true)));
  EXPECT_TRUE(folder_.read("a.sam") == expected);
}

TEST_P(RealWriteSam, UnalignedAppendsTheLinesOfRecordsWithoutAReference) {
  std::string expected;
  for (const bool with_tags : {true, false}) {
    for (std::size_t i = 0; i < records_.size(); ++i) {
      if (records_[i].ref < 0) expected += line(i, with_tags);
    }
    const auto write = [&] {
      call_gateway("samWriteUnaligned", 0,
                   inputs(text(file_), text(folder_, "a.sam"), host::make_scalar(with_tags)));
    };
    if (source_.error.empty()) {
      write();
    } else {
      EXPECT_CALL_FAILS(write(), "seqlab:readkit:InvalidBAMFormat", to_path(file_));
    }
    EXPECT_TRUE(folder_.read("a.sam") == expected);
  }
}

TEST(RealWriteSamFiles, SomeHaveUnalignedRecordsAndSomeRegionsContainRecords) {
  SKIP_WITHOUT_TEST_DATA();
  const auto records = model_records(read_file(test_file("bam/volvox-sorted.bam")));
  EXPECT_TRUE(std::any_of(records.begin(), records.end(), [](const auto& r) { return r.ref < 0; }));
  EXPECT_GT(bams_with_index().size(), 10U);
}

}  // namespace
}  // namespace readkit::gateway_real_write_sam_test
