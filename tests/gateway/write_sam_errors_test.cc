// samWrite and samWriteUnaligned: their errors, and in which order faults are found.
#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/hostile_calls.h"
#include "support/index_model.h"
#include "support/write_sam_words.h"

namespace readkit::gateway_write_sam_errors_test {
namespace {

constexpr char kMustBeText[] = "Tessel:string:MustBeStringScalarOrCharacterVector";

class WriteSamErrors : public WriteSamTest {};

TEST_F(WriteSamErrors, RegionsThatCannotBeReadRaiseTheErrorsOfRegions) {
  for (const std::string bad : {"chr1", "chr1:5", ""}) {
    EXPECT_CALL_FAILS(write_region(bad), "seqlab:readkit:InvalidRegion", to_ustring(bad));
  }
  EXPECT_CALL_FAILS(write_region("chrZ:1-2"), "seqlab:readkit:ReferenceIDNotFound", u"chrZ");
  EXPECT_CALL_FAILS(write_region("chr1:a-2"), "Tessel:cpp:invalid_argument", "stoi");
  EXPECT_CALL_FAILS(write_region("chr1:1-3000000000"), "Tessel:cpp:out_of_range", "stoi");
}

TEST_F(WriteSamErrors, MissingBamRaisesFileNotFoundFirst) {
  Inputs list = inputs(text(folder_, "missing"), text(folder_, "b"), text(folder_, "no/out"),
                       text("x"), text("y"), text("z"));
  EXPECT_CALL_FAILS(call_gateway("samWrite", 0, list), "seqlab:readkit:FileNotFound",
                    folder_.path("missing"));
  list = inputs(text(""), text(folder_, "no/out"), text("y"));
  EXPECT_CALL_FAILS(call_gateway("samWriteUnaligned", 0, list), "seqlab:readkit:FileNotFound", u"");
}

TEST_F(WriteSamErrors, FaultsAreReportedInTheOrderOfTheSteps) {
  const auto fault = [&](const std::string& index, const std::string& out, const char* region,
                         host::Owned tags, host::Owned contained) {
    const Inputs list = inputs(text(folder_, "a.bam"), text(folder_, index), text(folder_, out),
                               text(region), std::move(tags), std::move(contained));
    call_gateway("samWrite", 0, list);
  };
  EXPECT_CALL_FAILS(fault("b", "no/out", "x", text("y"), text("z")), "seqlab:readkit:FileNotFound",
                    folder_.path("b.bai"));
  EXPECT_CALL_FAILS(fault("a.bam", "no/out", "x", text("y"), text("z")),
                    "seqlab:readkit:CannotOpenOutFile", folder_.path("no/out"));
  EXPECT_CALL_FAILS(fault("a.bam", "out", "x", text("y"), text("z")),
                    "seqlab:readkit:InvalidRegion", u"x");
  EXPECT_CALL_FAILS(fault("a.bam", "out", "chr1:1-2", text("y"), text("z")),
                    "seqlab:readkit:InvalidInputType", u"withTags", u"double");
  EXPECT_CALL_FAILS(fault("a.bam", "out", "chr1:1-2", host::make_scalar(1.0), text("z")),
                    "seqlab:readkit:InvalidInputType", u"contained", u"double");
}

TEST_F(WriteSamErrors, OptionsThatAreNoNumbersRaiseInvalidInputType) {
  const std::vector<std::function<host::Owned()>> makers = {
      [] { return host::make_column<double>({}); }, [] { return text("1"); },
      [] { return host::make_cell_of_texts({"1"}); }, [] { return host::make_string(u"1"); },
      [] { return host::make_struct({}); }};
  for (const auto& make : makers) {
    EXPECT_CALL_FAILS(call_gateway("samWrite", 0, with(4, make())),
                      "seqlab:readkit:InvalidInputType", u"withTags", u"double");
    EXPECT_CALL_FAILS(call_gateway("samWrite", 0, with(5, make())),
                      "seqlab:readkit:InvalidInputType", u"contained", u"double");
    EXPECT_CALL_FAILS(call_gateway("samWriteUnaligned", 0, unaligned_with(2, make())),
                      "seqlab:readkit:InvalidInputType", u"withTags", u"double");
  }
}

TEST_F(WriteSamErrors, NamesAndRegionsThatAreNoTextRaiseMustBeString) {
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_CALL_FAILS(call_gateway("samWrite", 0, with(i, host::make_scalar(1.0))), kMustBeText);
  }
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_CALL_FAILS(
        call_gateway("samWriteUnaligned", 0, unaligned_with(i, host::make_scalar(1.0))),
        kMustBeText);
  }
}

TEST_F(WriteSamErrors, StringScalarsAndNamesOutsideAsciiAreTaken) {
  const std::string name = "r\xc3\xa9\xf0\x9f\xa7\xac";
  Inputs list = with(2, host::make_string(folder_.text(name)));
  list[3] = host::make_string(u"chr2:1-100");
  call_gateway("samWrite", 0, list);
  EXPECT_TRUE(folder_.read(name).starts_with("other\t"));
}

TEST_F(WriteSamErrors, OutputThatCannotBeOpenedRaisesCannotOpenOutFile) {
  std::filesystem::create_directory(folder_.native("folder"));
  for (const std::string out : {"no/out", "folder"}) {
    EXPECT_CALL_FAILS(write_region("chr1:1-9", false, false, "a.bam", out),
                      "seqlab:readkit:CannotOpenOutFile", folder_.path(out));
    EXPECT_CALL_FAILS(write_unaligned(false, out), "seqlab:readkit:CannotOpenOutFile",
                      folder_.path(out));
  }
  EXPECT_CALL_FAILS(call_gateway("samWrite", 0, with(2, text(""))),
                    "seqlab:readkit:CannotOpenOutFile", u"");
}

TEST_F(WriteSamErrors, OutputThatIsOneOfTheInputsIsRefusedAndStays) {
  std::filesystem::create_hard_link(folder_.native("a.bam"), folder_.native("hard"));
  std::filesystem::create_symlink("a.bam", folder_.native("soft"));
  std::filesystem::create_symlink("a.bam.bai", folder_.native("soft index"));
  const std::string bam = folder_.read("a.bam");
  const std::string bai = folder_.read("a.bam.bai");
  for (const std::string out : {"a.bam", "hard", "soft"}) {
    EXPECT_CALL_FAILS(write_region("chr1:1-9", false, false, "a.bam", out),
                      "seqlab:readkit:CannotOpenOutFile", folder_.path(out));
    EXPECT_CALL_FAILS(write_unaligned(false, out), "seqlab:readkit:CannotOpenOutFile",
                      folder_.path(out));
  }
  for (const std::string out : {"a.bam.bai", "soft index"}) {
    EXPECT_CALL_FAILS(write_region("chr1:1-9", false, false, "a.bam", out),
                      "seqlab:readkit:CannotOpenOutFile", folder_.path(out));
  }
  EXPECT_EQ(folder_.read("a.bam"), bam);
  EXPECT_EQ(folder_.read("a.bam.bai"), bai);
}

TEST_F(WriteSamErrors, ReferenceOutsideTheDictionaryRaisesReferenceIDNotFound) {
  write(BamBuilder()
            .refs(1, 100)
            .record(RecordBuilder("a").at(0, 5))
            .record(RecordBuilder("b").at(0, 6).mate(7, 7))
            .record(RecordBuilder("c").mate(8, 8)));
  folder_.write("a.bam.bai", encode_bai({.refs = std::vector<ModelReference>(9)}));
  EXPECT_CALL_FAILS(write_region("chr1:1-9"), "seqlab:readkit:ReferenceIDNotFound", u"7");
  EXPECT_EQ(taken(), (Names{"a"}));
  EXPECT_CALL_FAILS(write_unaligned(), "seqlab:readkit:ReferenceIDNotFound", u"8");
}

TEST_F(WriteSamErrors, ErrorOfReadingPassesThroughAndFilesAreClosed) {
  write(write_sam_sample().without_marker());
  const std::size_t files = open_files();
  EXPECT_CALL_FAILS(write_unaligned(), kNotBam, folder_.path("a.bam"));
  EXPECT_EQ(taken(), (Names{"none", "below"}));
  folder_.write("a.bam.bai", encode_bai({.refs = std::vector<ModelReference>(9)}));
  EXPECT_CALL_FAILS(write_region("chr2:1-9"), kNotBam, folder_.path("a.bam"));
  EXPECT_CALL_FAILS(write_region("nowhere"), "seqlab:readkit:InvalidRegion", u"nowhere");
  EXPECT_EQ(open_files(), files);
}

}  // namespace
}  // namespace readkit::gateway_write_sam_errors_test
