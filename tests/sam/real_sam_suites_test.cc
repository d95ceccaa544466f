// The must-fail and must-pass suites for readers of SAM text: which of their files are refused, and
// with which error.
#include <map>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "support/real_sams.h"
#include "support/sam_model.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::sam_real_sam_suites_test {
namespace {

// The first record line that is refused, 0-based, and its error.
using Refusal = std::pair<std::size_t, std::string>;
using Refusals = std::map<std::string, Refusal>;

// Everything else is read: nothing but the structure of a line, the letters of CIGAR and SEQ, and
// the length of QNAME is checked.
const Refusals kRefusedOfMustFail = {
    {"aux.fail-A2.sam", {1, kInvalidLine}},        // AA:A: has no character
    {"aux.fail-B1.sam", {0, kNoNumber}},           // an array
    {"aux.fail-B2.sam", {0, kNoNumber}},           // an array
    {"aux.fail-B3.sam", {0, kNoNumber}},           // an array
    {"aux.fail-B4.sam", {0, kNoNumber}},           // an array
    {"cigar.fail3.sam", {0, kInvalidLine}},        // CIGAR letter Y
    {"cigar.fail4.sam", {0, kCigarEndsInDigits}},  // CIGAR 50M2
    {"qname.fail3.sam", {0, kInvalidLine}},        // QNAME of 255 characters
    {"qual.fail4.sam", {0, kInvalidLine}},         // SEQ is *
    {"seq.fail1.sam", {0, kInvalidLine}},          // SEQ with a blank
    {"seq.fail2.sam", {0, kInvalidLine}},          // SEQ *A
};

const Refusals kRefusedOfMustPass = {
    {"aux.pass-B.sam", {0, kNoNumber}},      // an array
    {"cigar.pass2.sam", {2, kInvalidLine}},  // SEQ is *
    {"cigar.warn2.sam", {0, kInvalidLine}},  // SEQ is *
    {"qual.pass.sam", {3, kInvalidLine}},    // SEQ is *
    {"seq.pass.sam", {3, kInvalidLine}},     // SEQ is *
    {"seq.warn.sam", {0, kInvalidLine}},     // SEQ in lower case
};

// Files that are read, but have a record that cannot be written as a line: a field of type H, or
// one without a type, lets the bytes behind it be taken for another field.
const Refusals kNotWrittenOfMustFail = {
    {"aux.fail-format1.sam", {0, "InvalidTagType"}},
    {"aux.fail-format2.sam", {0, "InvalidTagType"}},
    {"aux.fail-format3.sam", {0, "InvalidTagType"}},
    {"aux.fail-tag2.sam", {0, "InvalidTagType"}},
};
const Refusals kNotWrittenOfMustPass = {{"aux.pass-H.sam", {0, "InvalidTagType"}}};

struct Suite {
  std::string folder;
  std::size_t least_files;
  const Refusals& refused;
  const Refusals& not_written;
};

class SamSuite : public testing::TestWithParam<Suite> {};

INSTANTIATE_TEST_SUITE_P(
    Suites, SamSuite,
    testing::Values(Suite{"failed", 100, kRefusedOfMustFail, kNotWrittenOfMustFail},
                    Suite{"passed", 80, kRefusedOfMustPass, kNotWrittenOfMustPass}),
    [](const auto& param) { return param.param.folder; });

TEST_P(SamSuite, FilesAreRefusedAsTheTableTells) {
  SKIP_WITHOUT_TEST_DATA();
  const std::vector<std::string> files = sams_of("hts-specs/sam/" + GetParam().folder);
  EXPECT_GE(files.size(), GetParam().least_files);
  Refusals refused;
  Refusals not_written;
  for (const std::string& file : files) {
    const std::string name = file.substr(file.rfind('/') + 1);
    std::size_t number = 0;
    for (const ReadLine& line : read_lines(test_file(file))) {
      if (!line.error.empty()) refused.try_emplace(name, number, line.error);
      if (!line.write_error.empty()) not_written.try_emplace(name, number, line.write_error);
      ++number;
    }
  }
  EXPECT_EQ(refused, GetParam().refused);
  EXPECT_EQ(not_written, GetParam().not_written);
}

}  // namespace
}  // namespace readkit::sam_real_sam_suites_test
