// Conversions of real BAM files, against an independent slow computation.
#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/conversion_model.h"
#include "support/real_sams.h"
#include "support/samtools.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::convert_real_from_bam_test {
namespace {

class RealFromBam : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    SKIP_WITHOUT_TEST_DATA();
    file_ = test_file(GetParam());
    source_ = model_bam_source(read_file(file_));
  }

  // Lists of ordinals are many: large files are met by the conversions of all records.
  bool is_small() const { return source_.records.size() <= 3000; }

  void expect_model(BAM& bam, ModelFormat format, const Ordinals& ordinals) const {
    SCOPED_TRACE(testing::Message() << "format " << static_cast<int>(format) << ", ordinals "
                                    << testing::PrintToString(ordinals));
    const ModelOutput expected = model_conversion(source_, format, ordinals);
    const Path out = folder_.path("out");
    EXPECT_EQ(outcome_of([&] { run_conversion(bam, format, out, ordinals); }, file_),
              expected.error);
    // Not by EXPECT_EQ, which would print megabytes.
    EXPECT_TRUE(output_content(format, folder_.native("out")) == expected.content);
    const bool is_finished_bam = format == ModelFormat::kBam && expected.error.empty();
    EXPECT_TRUE(!is_finished_bam || has_end_marker(folder_.read("out")));
  }

  const TempDir folder_;
  std::string file_;
  ModelSource source_;
};

INSTANTIATE_TEST_SUITE_P(Files, RealFromBam, testing::ValuesIn(real_bams()),
                         [](const auto& param) { return test_name(param.param); });

TEST_P(RealFromBam, AllRecordsGoIntoEveryFormat) {
  BAM bam(to_path(file_));
  for (const ModelFormat format : kModelFormats) expect_model(bam, format, {});
}

TEST_P(RealFromBam, OrdinalsSelectRecordsForEveryFormat) {
  BAM bam(to_path(file_));
  const auto last = static_cast<unsigned>(source_.records.size());
  for (const ModelFormat format : kModelFormats) {
    if (!is_small()) {
      expect_model(bam, format, {1, last / 2, last});
      continue;
    }
    for (const Ordinals& ordinals : model_ordinals(last)) expect_model(bam, format, ordinals);
  }
}

// ---- Fewer references --------------------------------------------------------------------------

// The ordinals of the records on each reference.
std::map<int, Ordinals> ordinals_by_reference(const ModelSource& source) {
  std::map<int, Ordinals> ordinals;
  for (std::size_t i = 0; i < source.records.size(); ++i) {
    const int ref = model_fields(source.records[i]).ref_id;
    if (ref >= 0) ordinals[ref].push_back(static_cast<unsigned>(i) + 1);
  }
  return ordinals;
}

// The first, the last and one between.
std::set<int> some_of(const std::map<int, Ordinals>& all) {
  if (all.empty()) return {};
  const auto between = std::next(all.begin(), static_cast<std::ptrdiff_t>(all.size() / 2));
  return {all.begin()->first, between->first, all.rbegin()->first};
}

TEST_P(RealFromBam, SubsetKeepsAReferenceThoseOfTheMatesAndRenumbersRecords) {
  const std::map<int, Ordinals> all = ordinals_by_reference(source_);
  BAM bam(to_path(file_));
  for (const int ref : some_of(all)) {
    const std::string name = source_.ref_name(ref);
    SCOPED_TRACE(name);
    const Ordinals& ordinals = all.at(ref);
    const ModelOutput expected = model_subset(source_, ordinals, {name});
    EXPECT_EQ(
        outcome_of([&] { bam.to_bam(folder_.path("a"), ordinals.data(), ordinals.size(), {name}); },
                   file_),
        expected.error);
    if (!expected.error.empty()) continue;
    EXPECT_TRUE(decode_bgzf(folder_.read("a")) == expected.content);
    BAM subset(folder_.path("a"));
    EXPECT_LE(subset.get_num_refs(), bam.get_num_refs());
    EXPECT_EQ(subset.sam_header(), source_.text);
    for (const unsigned ordinal : ordinals) {
      const DecodedRecord record = model_fields(source_.records[ordinal - 1]);
      ASSERT_TRUE(subset.next_alignment());
      ASSERT_EQ(subset.ref_name(subset.header()), name);
      ASSERT_EQ(subset.next_ref_name(subset.header()), source_.ref_name(record.next_ref_id));
      ASSERT_EQ(subset.read_name_text(), record.name);
    }
    EXPECT_FALSE(subset.next_alignment());
  }
}

TEST_P(RealFromBam, SubsetOfAnUnknownReferenceIsNone) {
  BAM bam(to_path(file_));
  const auto convert = [&] { bam.to_bam(folder_.path("a"), nullptr, 0, {"no such reference"}); };
  const std::string error = "InvalidHeaderSubset without the file's name";
  EXPECT_EQ(outcome_of(convert, file_), source_.error.empty() ? error : source_.error);
}

TEST(RealFromBamSubset, MetFilesWhoseMatesLieOnOtherReferences) {
  SKIP_WITHOUT_TEST_DATA();
  int files = 0;
  for (const char* const name : {"bam/range.bam", "bam/11_target.bam", "bam/compressed.bam",
                                 "bam/NA12891.over.fingerprints.r1.bam"}) {
    const ModelSource source = model_bam_source(read_file(test_file(name)));
    const std::map<int, Ordinals> all = ordinals_by_reference(source);
    if (all.size() < 2) continue;
    const auto has_mate_elsewhere = [](const std::string& bytes) {
      const DecodedRecord record = model_fields(bytes);
      return record.next_ref_id >= 0 && record.next_ref_id != record.ref_id;
    };
    files += std::any_of(source.records.begin(), source.records.end(), has_mate_elsewhere) ? 1 : 0;
  }
  EXPECT_EQ(files, 4);
}

}  // namespace
}  // namespace readkit::convert_real_from_bam_test
