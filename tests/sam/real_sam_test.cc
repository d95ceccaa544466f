// Real SAM files: header, records, errors and the information scan against a slow model.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "sam/sam.h"
#include "support/gateway_calls.h"
#include "support/real_sams.h"
#include "support/sam_model.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::sam_real_sam_test {
namespace {

using Lines = std::vector<std::string>;

class RealSam : public RealSamsTest {};

INSTANTIATE_TEST_SUITE_P(Files, RealSam, testing::ValuesIn(real_sams()),
                         [](const auto& param) { return sam_test_name(param.param); });

// ---- Reading -----------------------------------------------------------------------------------

TEST_P(RealSam, HeaderIsTheModels) {
  for (const std::string& file : files_) {
    SCOPED_TRACE(file);
    const ModelSam expected = model_sam(read_file(file));
    const SAM sam(to_path(file), "r");
    EXPECT_EQ(sam.header().text(), expected.header);
    std::vector<std::pair<std::string, std::uint32_t>> refs;
    for (const Reference& ref : sam.header().references()) refs.emplace_back(ref.name(), ref.l_ref);
    EXPECT_EQ(refs, expected.refs);
    EXPECT_EQ(sam.refs().size(), expected.indexes.size());
    for (const auto& [name, index] : expected.indexes) EXPECT_EQ(sam.refs().find(name), index);
  }
}

TEST_P(RealSam, RecordsAndErrorsAreTheModels) {
  for (const std::string& file : files_) {
    SCOPED_TRACE(file);
    const std::vector<ModelSamLine> expected = model_sam(read_file(file)).lines;
    const std::vector<ReadLine> lines = read_lines(file);
    ASSERT_EQ(lines.size(), expected.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
      ASSERT_EQ(lines[i].error, expected[i].error) << expected[i].text;
      ASSERT_EQ(lines[i].record, expected[i].record) << expected[i].text;
    }
  }
}

// ---- Information scan --------------------------------------------------------------------------

TEST_P(RealSam, InformationIsTheModels) {
  for (const std::string& file : files_) {
    SCOPED_TRACE(file);
    const std::string bytes = read_file(file);
    SAM sam(to_path(file), "r");
    for (const int requested : {0, 1, 2, 3}) {
      const ModelSamInfo expected = model_sam_info(bytes, requested);
      ModelSamInfo info{true, {}, {}};
      sam.kxsaminfo(info.sorted, info.counts, info.names, requested);
      EXPECT_EQ(info.sorted, expected.sorted) << requested;
      EXPECT_EQ(info.names, expected.names) << requested;
      EXPECT_EQ(info.counts, expected.counts) << requested;
    }
  }
}

TEST_P(RealSam, SamInfoGivesWhatTheModelTells) {
  for (const std::string& file : files_) {
    SCOPED_TRACE(file);
    const std::string bytes = read_file(file);
    for (const int requested : {1, 3}) {
      const ModelSamInfo expected = model_sam_info(bytes, requested);
      const Outputs outputs = call_gateway("samInfo", requested, inputs(text(file)));
      EXPECT_EQ(scalar_of<bool>(outputs[0]), expected.sorted);
      if (requested == 1) continue;
      EXPECT_EQ(column_of<double>(outputs[1]),
                std::vector<double>(expected.counts.begin(), expected.counts.end()));
      EXPECT_EQ(texts_of(outputs[2]), expected.names);
    }
  }
}

}  // namespace
}  // namespace readkit::sam_real_sam_test
