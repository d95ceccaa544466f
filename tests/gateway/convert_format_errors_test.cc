// convertFormat and samToBam: their errors, and in which order faults are found.
#include <cstddef>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/conversions.h"
#include "support/full_disk.h"
#include "support/gateway_calls.h"
#include "support/hostile_calls.h"

namespace readkit::gateway_convert_format_errors_test {
namespace {

constexpr char kMustBeText[] = "Tessel:string:MustBeStringScalarOrCharacterVector";

class ConvertErrors : public testing::Test {
 protected:
  ConvertErrors() {
    Random random(131);
    const Reads reads = random_reads(random, 3);
    bam_of(reads).write(folder_, "a.bam");
    folder_.write("a.sam", sam_of(reads));
  }

  // A sound call; a test spoils some of it.
  Inputs sound() {
    return inputs(text(folder_, "a.bam"), text("bam"), text(folder_, "t"), text("sam"),
                  host::make_row<std::uint32_t>({}), text("chr1"));
  }
  static void run(const Inputs& list) { call_gateway("convertFormat", 0, list); }
  Inputs with_formats(const std::string& from, const std::string& to) {
    Inputs list = sound();
    list[1] = text(from);
    list[3] = text(to);
    return list;
  }
  void sam_to_bam(const std::string& sam, const std::string& bam) {
    call_gateway("samToBam", 0, inputs(text(folder_, sam), text(folder_, bam)));
  }

  TempDir folder_;
};

// ---- convertFormat -----------------------------------------------------------------------------

TEST_F(ConvertErrors, FiveOrSixInputsAreTaken) {
  for (std::size_t count = 0; count <= 8; ++count) {
    Inputs list = sound();
    list.resize(std::min<std::size_t>(count, 6));
    while (list.size() < count) list.push_back(text("chr1"));
    if (count == 5 || count == 6) {
      EXPECT_NO_THROW(run(list)) << count;
    } else {
      EXPECT_CALL_FAILS(run(list), "seqlab:readkit:InvalidArgCount", u"convertFormat");
    }
  }
}

TEST_F(ConvertErrors, FormatsAreComparedByCase) {
  for (const std::string bad : {"BAM", "Sam", "SAM", "sam ", "", "fastq", "fasta", "bai", "cram"}) {
    EXPECT_CALL_FAILS(run(with_formats(bad, "bam")), "seqlab:readkit:InvalidInputFormat");
  }
  for (const std::string bad : {"BAM", "SAM", "Fastq", "FASTA", "fastq.gz", "", "bai", " sam"}) {
    EXPECT_CALL_FAILS(run(with_formats("bam", bad)), "seqlab:readkit:InvalidOutputFormat");
  }
  EXPECT_CALL_FAILS(run(with_formats("fastq", "SAM")), "seqlab:readkit:InvalidInputFormat");
  EXPECT_FALSE(folder_.exists("t"));
}

// Everything is wrong at first; each call mends what the one before it complained about.
TEST_F(ConvertErrors, FaultsAreReportedInTheOrderOfTheSteps) {
  Inputs list =
      inputs(host::make_scalar(1.0), host::make_string(std::nullopt), host::make_scalar(1.0),
             host::make_string(std::nullopt), host::make_scalar(1.0), host::make_scalar(1.0));
  const auto fails = [&](const std::string& identifier) {
    std::string found = "none";
    try {
      run(list);
    } catch (const host::HostError& error) {
      found = error.identifier();
    }
    return found == identifier ? testing::AssertionSuccess()
                               : testing::AssertionFailure() << found << ", not " << identifier;
  };
  EXPECT_TRUE(fails(kMustBeText));
  list[0] = text(folder_, "missing");
  EXPECT_TRUE(fails("Tessel:string:MissingNotSupported"));
  list[1] = text("BAM");
  EXPECT_TRUE(fails(kMustBeText));
  list[2] = text(folder_, "no/t");
  EXPECT_TRUE(fails("Tessel:string:MissingNotSupported"));
  list[3] = text("SAM");
  EXPECT_TRUE(fails(kMustBeText));
  list[5] = host::make_cell({0, 0}, {});
  EXPECT_TRUE(fails("seqlab:readkit:InvalidSequenceDictionaryType"));
  list[5] = text("chrZ");
  EXPECT_TRUE(fails("seqlab:readkit:InvalidInputFormat"));
  list[1] = text("bam");
  EXPECT_TRUE(fails("seqlab:readkit:InvalidOutputFormat"));
  list[3] = text("bam");
  EXPECT_TRUE(fails("seqlab:readkit:InvalidIndex"));
  list[4] = host::make_row<std::uint32_t>({});
  EXPECT_CALL_FAILS(run(list), "seqlab:readkit:FileNotFound", folder_.path("missing"));
  list[0] = text(folder_, "a.bam");
  EXPECT_CALL_FAILS(run(list), "seqlab:readkit:FileNotFound", folder_.path("no/t"));
  list[2] = text(folder_, "t");
  EXPECT_CALL_FAILS(run(list), "seqlab:readkit:InvalidHeaderSubset");
  list[5] = host::make_cell_of_texts({"chr1", "chr2", "chr3"});
  list[4] = host::make_row<std::uint32_t>({99});
  EXPECT_NO_THROW(run(list));
}

TEST_F(ConvertErrors, MissingInputRaisesFileNotFoundAndMakesNoFile) {
  for (const std::string from : {"bam", "sam"}) {
    Inputs list = with_formats(from, "fasta");
    list[0] = text(folder_, "missing");
    EXPECT_CALL_FAILS(run(list), "seqlab:readkit:FileNotFound", folder_.path("missing"));
    list[0] = text("");
    EXPECT_CALL_FAILS(run(list), "seqlab:readkit:FileNotFound", u"");
  }
  EXPECT_FALSE(folder_.exists("t"));
}

TEST_F(ConvertErrors, OutputThatCannotBeCreatedRaisesTheKindOfItsFormat) {
  for (const auto& [from, to] : conversions()) {
    Inputs list = with_formats(from, to);
    list[0] = text(folder_, "a." + from);
    list.pop_back();
    const std::string kind = to.starts_with("fast") ? "CannotOpenOutFile" : "FileNotFound";
    list[2] = text(folder_, "no/t");
    EXPECT_CALL_FAILS(run(list), "seqlab:readkit:" + kind, folder_.path("no/t"));
    list[2] = text("");
    EXPECT_CALL_FAILS(run(list), "seqlab:readkit:" + kind, u"");
  }
}

TEST_F(ConvertErrors, OutputThatIsTheInputIsRefusedAndStays) {
  for (const auto& [from, to] : conversions()) {
    const std::string input = "a." + from;
    const std::string before = folder_.read(input);
    std::filesystem::remove(folder_.native("link"));
    std::filesystem::create_symlink(input, folder_.native("link"));
    for (const std::string& out : {input, std::string("link")}) {
      Inputs list = with_formats(from, to);
      list[0] = text(folder_, input);
      list[2] = text(folder_, out);
      EXPECT_CALL_FAILS(run(list), "seqlab:readkit:CannotOpenOutFile", folder_.path(out));
      EXPECT_EQ(folder_.read(input), before);
    }
  }
}

TEST_F(ConvertErrors, ErrorOfReadingPassesThroughAndFilesAreClosed) {
  Random random(131);
  bam_of(random_reads(random, 3)).without_marker().write(folder_, "a.bam");
  folder_.write("a.sam", folder_.read("a.sam") + "cut\n");
  const std::size_t files = open_files();
  for (const auto& [from, to] : conversions()) {
    const std::string input = "a." + from;
    Inputs list = with_formats(from, to);
    list[0] = text(folder_, input);
    list[2] = text(folder_, "t." + to);
    list.pop_back();
    EXPECT_CALL_FAILS(run(list), from == "bam" ? kNotBam : "seqlab:readkit:InvalidSAMFormat",
                      folder_.path(input));
    EXPECT_EQ(written_names(folder_, "t." + to).size(), 3U);
  }
  EXPECT_EQ(open_files(), files);
}

// ---- samToBam ----------------------------------------------------------------------------------

TEST_F(ConvertErrors, SamToBamWritesHeaderAndRecords) {
  const Outputs outputs =
      call_gateway("samToBam", 0, inputs(text(folder_, "a.sam"), text(folder_, "t")));
  ASSERT_EQ(outputs.size(), 1U);
  EXPECT_EQ(outputs[0], nullptr);
  const DecodedBam bam = decode_bam(folder_.read("t"));
  EXPECT_EQ(bam.text, header_text());
  EXPECT_EQ(bam.refs.size(), 3U);
  EXPECT_EQ(bam.text + sam_lines_of(bam), folder_.read("a.sam"));
}

TEST_F(ConvertErrors, SamToBamOfHeaderLinesHasNoRecords) {
  folder_.write("a.sam", header_text());
  sam_to_bam("a.sam", "t");
  EXPECT_EQ(decode_bam(folder_.read("t")).text, header_text());
  EXPECT_TRUE(records_in(folder_, "t").empty());
}

TEST_F(ConvertErrors, SamToBamRaisesTheErrorsOfItsFiles) {
  const std::size_t files = open_files();
  EXPECT_CALL_FAILS(sam_to_bam("missing", "no/t"), "seqlab:readkit:FileNotFound",
                    folder_.path("missing"));
  EXPECT_CALL_FAILS(sam_to_bam("a.sam", "no/t"), "seqlab:readkit:FileNotFound",
                    folder_.path("no/t"));
  std::filesystem::create_hard_link(folder_.native("a.sam"), folder_.native("hard"));
  const std::string before = folder_.read("a.sam");
  EXPECT_CALL_FAILS(sam_to_bam("a.sam", "hard"), "seqlab:readkit:CannotOpenOutFile",
                    folder_.path("hard"));
  EXPECT_EQ(folder_.read("a.sam"), before);
  folder_.write("a.sam", before + "cut\n");
  EXPECT_CALL_FAILS(sam_to_bam("a.sam", "t"), "seqlab:readkit:InvalidSAMFormat",
                    folder_.path("a.sam"));
  EXPECT_EQ(records_in(folder_, "t").size(), 3U);
  EXPECT_EQ(open_files(), files);
}

TEST_F(ConvertErrors, SamToBamReadsBothNamesBeforeAFileIsOpened) {
  EXPECT_CALL_FAILS(
      call_gateway("samToBam", 0, inputs(text(folder_, "missing"), host::make_scalar(1.0))),
      kMustBeText);
  EXPECT_CALL_FAILS(call_gateway("samToBam", 0,
                                 inputs(text(folder_, "missing"), host::make_string(std::nullopt))),
                    "Tessel:string:MissingNotSupported");
  EXPECT_CALL_FAILS(call_gateway("samToBam", 0, inputs(text(""), text(folder_, "t"))),
                    "seqlab:readkit:FileNotFound", u"");
  EXPECT_FALSE(folder_.exists("t"));
}

}  // namespace
}  // namespace readkit::gateway_convert_format_errors_test
