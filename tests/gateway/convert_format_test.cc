// convertFormat and samToBam: the conversions as a host calls them.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/conversions.h"
#include "support/gateway_calls.h"
#include "support/hostile_calls.h"

namespace readkit::gateway_convert_format_test {
namespace {

using Numbers = std::vector<std::uint32_t>;

host::Owned all_records() { return host::make_row<std::uint32_t>({}); }

// "a.bam" and "a.sam" hold the reads "r0" to "r7".
class ConvertFormat : public testing::Test {
 protected:
  ConvertFormat() {
    Random random(121);
    const Reads reads = random_reads(random, 8);
    bam_of(reads).write(folder_, "a.bam");
    folder_.write("a.sam", sam_of(reads));
  }

  Inputs job(const Conversion& conversion, host::Owned ordinals = all_records()) {
    return inputs(text(folder_, conversion.input()), text(conversion.from),
                  text(folder_, conversion.output()), text(conversion.to), std::move(ordinals));
  }
  void run(const Inputs& list) {
    const LeakCheck leaks;
    call_gateway("convertFormat", 0, list);
  }
  void run_job(const Conversion& conversion, host::Owned ordinals = all_records()) {
    run(job(conversion, std::move(ordinals)));
  }
  Names taken(host::Owned ordinals) {
    run_job({"bam", "fasta"}, std::move(ordinals));
    return written_names(folder_, "t.fasta");
  }

  TempDir folder_;
};

// ---- Every pair of formats ---------------------------------------------------------------------

TEST_F(ConvertFormat, EveryPairOfFormatsGivesTheFileOfTheConversion) {
  for (const Conversion& conversion : conversions()) {
    for (const Ordinals& ordinals : {Ordinals{}, Ordinals{2, 5}, Ordinals{5, 2}, Ordinals{9}}) {
      conversion.run(folder_, ordinals);
      const std::string expected = folder_.read(conversion.output());
      folder_.write(conversion.output(), "before");
      run_job(conversion, host::make_row<std::uint32_t>(ordinals));
      EXPECT_EQ(folder_.read(conversion.output()), expected) << name_of(conversion);
    }
  }
}

TEST_F(ConvertFormat, CallReturnsNothingAndClosesItsFiles) {
  const std::size_t files = open_files();
  for (const Conversion& conversion : conversions()) {
    const Outputs outputs = call_gateway("convertFormat", 0, job(conversion));
    ASSERT_EQ(outputs.size(), 1U);
    EXPECT_EQ(outputs[0], nullptr);
  }
  EXPECT_EQ(open_files(), files);
}

TEST_F(ConvertFormat, SamNeverHasHeaderLines) {
  for (const std::string from : {"bam", "sam"}) {
    run_job({from, "sam"});
    EXPECT_TRUE(folder_.read("t.sam").starts_with("r0\t")) << from;
  }
}

TEST_F(ConvertFormat, NamesOfFilesDoNotDecideTheirFormats) {
  Inputs list =
      inputs(text(folder_, "a.sam"), text("bam"), text(folder_, "t"), text("sam"), all_records());
  EXPECT_CALL_FAILS(run(list), kNotBam, folder_.path("a.sam"));
  list[1] = text("sam");
  list[2] = text(folder_, "t.bam");
  run(list);
  EXPECT_TRUE(folder_.read("t.bam").starts_with("r0\t"));
}

TEST_F(ConvertFormat, StringScalarsAndNamesOutsideAsciiAreTaken) {
  const std::string name = "r\xc3\xa9\xf0\x9f\xa7\xac";
  run(inputs(host::make_string(folder_.text("a.bam")), host::make_string(u"bam"),
             host::make_string(folder_.text(name)), host::make_string(u"fasta"), all_records()));
  EXPECT_TRUE(folder_.read(name).starts_with(">r0\n"));
}

// ---- Ordinals ----------------------------------------------------------------------------------

TEST_F(ConvertFormat, OrdinalsAreARowOrAColumn) {
  const Numbers chosen = {2, 5};
  EXPECT_EQ(taken(host::make_row<std::uint32_t>(chosen)), (Names{"r1", "r4"}));
  EXPECT_EQ(taken(host::make_column<std::uint32_t>(chosen)), (Names{"r1", "r4"}));
  EXPECT_EQ(taken(host::make_scalar<std::uint32_t>(8)), (Names{"r7"}));
  EXPECT_EQ(taken(host::make_array<std::uint32_t>({1, 1, 2}, chosen)), (Names{"r1", "r4"}));
  EXPECT_EQ(taken(host::make_array<std::uint32_t>({1, 2, 1}, chosen)), (Names{"r1", "r4"}));
}

TEST_F(ConvertFormat, EmptyOrdinalsOfAnyShapeAreAllRecords) {
  for (const host::Dims& dims :
       {host::Dims{0, 0}, host::Dims{1, 0}, host::Dims{0, 1}, host::Dims{0, 5}, host::Dims{5, 0},
        host::Dims{1, 0, 3}, host::Dims{1, 3, 0}}) {
    EXPECT_EQ(taken(host::make_array<std::uint32_t>(dims, {})).size(), 8U);
  }
}

TEST_F(ConvertFormat, OrdinalsWithRowsAndColumnsRaiseInvalidIndex) {
  const Numbers numbers = {1, 2, 3, 4, 5, 6, 7, 8};
  for (const host::Dims& dims : {host::Dims{2, 2}, host::Dims{2, 4}, host::Dims{4, 2},
                                 host::Dims{2, 1, 2}, host::Dims{2, 2, 2}, host::Dims{4, 1, 2}}) {
    std::size_t count = 1;
    for (const std::size_t size : dims) count *= size;
    const std::span<const std::uint32_t> values(numbers.data(), count);
    EXPECT_CALL_FAILS(taken(host::make_array<std::uint32_t>(dims, values)),
                      "seqlab:readkit:InvalidIndex");
  }
  EXPECT_FALSE(folder_.exists("t.fasta"));
}

TEST_F(ConvertFormat, OrdinalsOfAnotherClassRaiseInvalidIndexEvenIfEmpty) {
  std::vector<host::Owned> arrays;
  arrays.push_back(host::make_scalar(1.0));
  arrays.push_back(host::make_row<double>({1, 2}));
  arrays.push_back(host::make_row<double>({}));
  arrays.push_back(host::make_array<double>({0, 0}, {}));
  arrays.push_back(host::make_scalar(1.0F));
  arrays.push_back(host::make_scalar<std::int32_t>(1));
  arrays.push_back(host::make_scalar<std::uint16_t>(1));
  arrays.push_back(host::make_scalar<std::uint64_t>(1));
  arrays.push_back(host::make_scalar(true));
  arrays.push_back(host::make_complex({1, 1}, std::vector<double>{1}, std::vector<double>{2}));
  arrays.push_back(text("1"));
  arrays.push_back(host::make_string(u"1"));
  arrays.push_back(host::make_cell({0, 0}, {}));
  arrays.push_back(host::make_struct({}));
  for (host::Owned& array : arrays) {
    const Inputs list = job({"bam", "fasta"}, std::move(array));
    EXPECT_CALL_FAILS(run(list), "seqlab:readkit:InvalidIndex");
  }
  EXPECT_FALSE(folder_.exists("t.fasta"));
}

// ---- References --------------------------------------------------------------------------------

class ConvertReferences : public ConvertFormat {
 protected:
  ConvertReferences() {
    const Reads reads = {RecordBuilder("a").at(1, 5).mate(2, 6).seq("A").qual("I"),
                         RecordBuilder("b").at(0, 5).seq("A").qual("I")};
    bam_of(reads).write(folder_, "a.bam");
    folder_.write("a.sam", sam_of(reads));
  }
  // The first record, with a dictionary.
  void run_with(const std::string& from, host::Owned dictionary, const std::string& to = "bam") {
    Inputs list = job({from, to}, host::make_scalar<std::uint32_t>(1));
    list.push_back(std::move(dictionary));
    run(list);
  }
  Names dictionary() const {
    Names names;
    for (const auto& [name, length] : decode_bam(folder_.read("t.bam")).refs) names.push_back(name);
    return names;
  }
};

TEST_F(ConvertReferences, DictionaryIsAStringArrayACellOrOneText) {
  const auto makers = {+[] {
                         return host::make_string_array({1, 2}, {u"chr2", u"chrZ"});
                       },
                       +[] {
                         return host::make_string_array({2, 1}, {u"chr2", u"chr2"});
                       },
                       +[] {
                         return host::make_cell_of_texts({"chr2", "", "chr2"});
                       },
                       +[] { return host::make_string(u"chr2"); }, +[] { return text("chr2"); }};
  for (const std::string from : {"bam", "sam"}) {
    for (const auto& make : makers) {
      run_with(from, make());
      EXPECT_EQ(dictionary(), (Names{"chr2", "chr3"})) << from;
      EXPECT_EQ(records_in(folder_, "t.bam").at(0).ref_id, 0);
      EXPECT_EQ(records_in(folder_, "t.bam").at(0).next_ref_id, 1);
    }
  }
}

TEST_F(ConvertReferences, WithoutDictionaryAllReferencesStay) {
  run_job({"bam", "bam"});
  EXPECT_EQ(dictionary(), (Names{"chr1", "chr2", "chr3"}));
}

TEST_F(ConvertReferences, EmptyDictionaryRaisesInvalidSequenceDictionaryType) {
  for (const std::string to : {"bam", "sam", "fastq"}) {
    EXPECT_CALL_FAILS(run_with("bam", host::make_string_array({0, 0}, {}), to),
                      "seqlab:readkit:InvalidSequenceDictionaryType");
    EXPECT_CALL_FAILS(run_with("bam", host::make_cell({0, 0}, {}), to),
                      "seqlab:readkit:InvalidSequenceDictionaryType");
    EXPECT_CALL_FAILS(run_with("bam", host::make_cell({1, 0}, {}), to),
                      "seqlab:readkit:InvalidSequenceDictionaryType");
  }
}

TEST_F(ConvertReferences, DictionaryOfUnknownNamesRaisesInvalidHeaderSubset) {
  EXPECT_CALL_FAILS(run_with("bam", text("chrZ")), "seqlab:readkit:InvalidHeaderSubset");
  EXPECT_CALL_FAILS(run_with("sam", text("CHR1")), "seqlab:readkit:InvalidHeaderSubset");
  EXPECT_CALL_FAILS(run_with("bam", text("")), "seqlab:readkit:InvalidHeaderSubset");
}

TEST_F(ConvertReferences, RecordThatIsNotOnAKeptReferenceRaisesOutOfRange) {
  EXPECT_CALL_FAILS(run_with("bam", text("chr1")), "Tessel:cpp:out_of_range",
                    "unordered_map::at: key not found");
  EXPECT_CALL_FAILS(run_with("sam", text("chr1")), "Tessel:cpp:out_of_range",
                    "unordered_map::at: key not found");
}

TEST_F(ConvertReferences, DictionaryMattersForABamOutputOnly) {
  for (const Conversion& conversion : conversions()) {
    if (conversion.to == "bam") continue;
    run_with(conversion.from, text("chrZ"), conversion.to);
    EXPECT_EQ(written_names(folder_, conversion.output()), (Names{"a"}));
  }
}

TEST_F(ConvertReferences, DictionaryThatIsNoListOfTextsRaisesTheErrorsOfText) {
  constexpr char kMustBeText[] = "Tessel:string:MustBeStringScalarOrCharacterVector";
  EXPECT_CALL_FAILS(run_with("bam", host::make_scalar(1.0)), kMustBeText);
  EXPECT_CALL_FAILS(run_with("bam", host::make_column<double>({})), kMustBeText);
  EXPECT_CALL_FAILS(run_with("bam", host::make_struct({})), kMustBeText);
  EXPECT_CALL_FAILS(run_with("bam", host::make_cell({1, 1}, inputs(host::make_scalar(1.0)))),
                    kMustBeText);
  EXPECT_CALL_FAILS(run_with("bam", host::make_string_array({1, 2}, {u"chr2", std::nullopt})),
                    "Tessel:string:MissingNotSupported");
}

}  // namespace
}  // namespace readkit::gateway_convert_format_test
