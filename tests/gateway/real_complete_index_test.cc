// The index that misses nothing over real files: against the model, against a scan by an
// independent decoder, and read by samtools.
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/gateway_calls.h"
#include "support/index_model.h"
#include "support/random_data.h"
#include "support/real_sams.h"
#include "support/samtools.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::gateway_real_complete_index_test {
namespace {

using Names = std::vector<std::string>;
using List = std::vector<std::uint32_t>;

// Over all files some 1,000 regions.
constexpr int kRegions = 25;

struct Region {
  int ref = 0;
  int beg = 0;
  int end = 0;
};

class RealCompleteIndex : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    SKIP_WITHOUT_TEST_DATA();
    file_ = test_file(GetParam());
    const std::string bytes = read_file(file_);
    is_readable_ = has_end_marker(bytes);
    records_ = model_records(bytes);
    file_end_ = std::uint64_t{bytes.size()} << 16;
    names_ = texts_of(call_gateway("getHeader", 2, inputs(text(file_)))[1]);
    random_.seed(bytes.size());
  }

  std::string index() const { return folder_.native("a.bam.bai"); }
  void build() const { call_gateway("kxBamIndexComplete", 0, inputs(text(file_), text(index()))); }
  // Whether the file can be indexed; if it cannot, the error is that of bamIndex.
  bool builds() const {
    const std::string error = model_index(records_, file_end_).error;
    if (!is_readable_) {
      EXPECT_CALL_FAILS(build(), "seqlab:readkit:InvalidBAMFormat", to_path(file_));
    } else if (error == "BAMUnsorted") {
      EXPECT_CALL_FAILS(build(), "seqlab:readkit:BAMUnsorted");
    } else if (!error.empty()) {
      EXPECT_CALL_FAILS(build(), "seqlab:readkit:PositionTooBig",
                        to_ustring(error.substr(error.find(' ') + 1)));
    } else {
      build();
      return true;
    }
    EXPECT_FALSE(folder_.exists("a.bam.bai"));
    return false;
  }

  // Around a record; empty when no record has a reference.
  std::vector<Region> random_regions(int count) {
    std::vector<ModelRecord> placed = records_;
    std::erase_if(placed, [](const ModelRecord& r) { return r.ref < 0; });
    std::vector<Region> regions;
    for (int i = 0; i < count && !placed.empty(); ++i) {
      const ModelRecord& near = placed[random_() % placed.size()];
      const std::int64_t beg =
          std::max<std::int64_t>(near.pos + random_number(random_, -500, 500), 0);
      const std::int64_t most = std::int64_t{1} << random_number(random_, 0, 22);
      const std::int64_t end =
          std::min(beg + random_number(random_, 1, most), std::int64_t{1} << 29);
      regions.push_back({near.ref, static_cast<int>(beg), static_cast<int>(end)});
    }
    return regions;
  }

  // getFeatures of some records that begin in a region gives the fields of these records.
  void expect_features(const Region& region) {
    std::vector<ModelRecord> of_ref = records_;
    std::erase_if(of_ref, [&](const ModelRecord& r) { return r.ref != region.ref || r.pos < 0; });
    List starts;
    List ordinals;
    Names names;
    std::vector<std::uint16_t> flags;
    for (std::size_t i = 0; i < of_ref.size(); ++i) {
      starts.push_back(static_cast<std::uint32_t>(of_ref[i].pos));
      if (of_ref[i].pos < region.beg || of_ref[i].pos >= region.end || random_() % 3 == 0) continue;
      ordinals.push_back(static_cast<std::uint32_t>(i) + 1);
      names.push_back(of_ref[i].name);
      flags.push_back(static_cast<std::uint16_t>(of_ref[i].flag));
    }
    const Outputs fields = call_gateway(
        "getFeatures", 2,
        inputs(text(file_), text(index()), host::make_cell_of_texts({"Header", "Flag"}),
               host::make_scalar(static_cast<double>(region.ref)), host::make_column(ordinals),
               host::make_column(starts)));
    ASSERT_EQ(texts_of(fields[0]), names);
    ASSERT_EQ(column_of<std::uint16_t>(fields[1]), flags);
  }

  std::string file_;
  bool is_readable_ = false;
  std::vector<ModelRecord> records_;
  std::uint64_t file_end_ = 0;
  Names names_;
  Random random_;
  TempDir folder_;
};

INSTANTIATE_TEST_SUITE_P(Files, RealCompleteIndex, testing::ValuesIn(real_bams()),
                         [](const auto& param) { return test_name(param.param); });

TEST_P(RealCompleteIndex, IsTheModelsAndFindsWhatAScanFinds) {
  if (!builds()) return;
  ASSERT_TRUE(decode_bai(read_file(index())) ==
              model_complete_index(records_, names_.size(), file_end_));
  BAM bam(to_path(file_));
  ASSERT_TRUE(bam.open_index(to_path(index())));
  for (const auto& [ref, beg, end] : random_regions(kRegions)) {
    SCOPED_TRACE(testing::Message() << "reference " << ref << ", " << beg << " to " << end);
    Names expected;
    for (const std::size_t i : model_scan(records_, ref, beg, end)) {
      expected.push_back(records_[i].name);
    }
    Names found;
    for (const Alignment& r : bam.filter_overlapping(ref, beg, end)) {
      found.emplace_back(r.read_name_text());
    }
    ASSERT_EQ(found, expected);
  }
  for (const Region& region : random_regions(5)) ASSERT_NO_FATAL_FAILURE(expect_features(region));
}

// Through our index samtools finds what it finds through its own, and counts the same records.
TEST_P(RealCompleteIndex, SamtoolsReadsItAsItsOwn) {
  if (!builds()) return;
  const std::string theirs = folder_.native("b.bam.bai");
  for (const std::string name : {"a.bam", "b.bam"}) {
    std::filesystem::create_symlink(file_, folder_.native(name));
  }
  if (!try_samtools({"index", folder_.native("b.bam"), theirs}).succeeded) return;
  for (const auto& [ref, beg, end] : random_regions(2)) {
    const std::string region = "{" + names_.at(static_cast<std::size_t>(ref)) +
                               "}:" + std::to_string(beg + 1) + "-" + std::to_string(end);
    EXPECT_EQ(samtools({"view", "--no-PG", "-X", file_, index(), region}),
              samtools({"view", "--no-PG", "-X", file_, theirs, region}))
        << region;
  }
  EXPECT_EQ(samtools({"idxstats", folder_.native("a.bam")}),
            samtools({"idxstats", folder_.native("b.bam")}));
}

}  // namespace
}  // namespace readkit::gateway_real_complete_index_test
