// Conversions of real SAM files, against an independent slow computation.
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sam/sam.h"
#include "support/conversion_model.h"
#include "support/gateway_calls.h"
#include "support/real_sams.h"
#include "support/samtools.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::convert_real_from_sam_test {
namespace {

class RealFromSam : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    SKIP_WITHOUT_TEST_DATA();
    for (const std::string& name : sams_of(GetParam())) files_.push_back(test_file(name));
    ASSERT_FALSE(files_.empty());
  }

  void expect_model(const std::string& file, const ModelSource& source, ModelFormat format,
                    const Ordinals& ordinals) const {
    SCOPED_TRACE(testing::Message() << file << ", format " << static_cast<int>(format)
                                    << ", ordinals " << testing::PrintToString(ordinals));
    const ModelOutput expected = model_conversion(source, format, ordinals);
    SAM sam(to_path(file), "r");
    const Path out = folder_.path("out");
    EXPECT_EQ(outcome_of([&] { run_conversion(sam, format, out, ordinals); }, file),
              expected.error);
    // Not by EXPECT_EQ, which would print megabytes.
    EXPECT_TRUE(output_content(format, folder_.native("out")) == expected.content);
    const bool is_finished_bam = format == ModelFormat::kBam && expected.error.empty();
    EXPECT_TRUE(!is_finished_bam || has_end_marker(folder_.read("out")));
  }

  const TempDir folder_;
  std::vector<std::string> files_;
};

INSTANTIATE_TEST_SUITE_P(Files, RealFromSam, testing::ValuesIn(real_sams()),
                         [](const auto& param) { return sam_test_name(param.param); });

TEST_P(RealFromSam, AllRecordsGoIntoEveryFormat) {
  for (const std::string& file : files_) {
    const ModelSource source = model_sam_source(read_file(file));
    for (const ModelFormat format : kModelFormats) expect_model(file, source, format, {});
  }
}

TEST_P(RealFromSam, OrdinalsSelectRecordsForEveryFormat) {
  for (const std::string& file : files_) {
    const ModelSource source = model_sam_source(read_file(file));
    for (const ModelFormat format : kModelFormats) {
      for (const Ordinals& ordinals : model_ordinals(source.records.size())) {
        expect_model(file, source, format, ordinals);
      }
    }
  }
}

TEST_P(RealFromSam, ToBamOfThePathAloneAndASecondConversionGiveTheSame) {
  for (const std::string& file : files_) {
    SCOPED_TRACE(file);
    const ModelOutput expected =
        model_conversion(model_sam_source(read_file(file)), ModelFormat::kBam, {});
    SAM sam(to_path(file), "r");
    for (const std::string out : {"first", "second"}) {
      EXPECT_EQ(outcome_of([&] { sam.to_bam(folder_.path(out)); }, file), expected.error);
      EXPECT_TRUE(decode_bgzf(folder_.read(out)) == expected.content) << out;
    }
  }
}

TEST_P(RealFromSam, SubsetKeepsAReferenceThoseOfTheMatesAndRenumbersRecords) {
  for (const std::string& file : files_) {
    SCOPED_TRACE(file);
    const ModelSource source = model_sam_source(read_file(file));
    std::map<int, Ordinals> all;
    for (std::size_t i = 0; i < source.records.size(); ++i) {
      const int ref = model_fields(source.records[i]).ref_id;
      if (ref >= 0) all[ref].push_back(static_cast<unsigned>(i) + 1);
    }
    for (const auto& entry : all) {
      const int ref = entry.first;
      const std::vector<unsigned>& ordinals = entry.second;
      const std::string name = source.ref_name(ref);
      const ModelOutput expected = model_subset(source, ordinals, {name});
      SAM sam(to_path(file), "r");
      const auto convert = [&] {
        sam.to_bam(folder_.path("a"), ordinals.data(), ordinals.size(), {name});
      };
      EXPECT_EQ(outcome_of(convert, file), expected.error) << name;
      if (!expected.error.empty()) continue;
      EXPECT_TRUE(decode_bgzf(folder_.read("a")) == expected.content) << name;
    }
  }
}

TEST_P(RealFromSam, SamToBamWritesHeaderAndEveryRecord) {
  for (const std::string& file : files_) {
    SCOPED_TRACE(file);
    const ModelOutput expected =
        model_conversion(model_sam_source(read_file(file)), ModelFormat::kBam, {});
    try {
      call_gateway("samToBam", 0, inputs(text(file), text(folder_, "a.bam")));
      EXPECT_EQ(expected.error, "");
    } catch (const host::HostError& error) {
      EXPECT_NE(expected.error, "") << error.identifier();
    }
    EXPECT_TRUE(decode_bgzf(folder_.read("a.bam")) == expected.content);
  }
}

}  // namespace
}  // namespace readkit::convert_real_from_sam_test
