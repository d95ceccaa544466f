// bamSort, samSort and kxBamShuffle: make a file from a file.
#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/bgzf_builder.h"
#include "support/full_disk.h"
#include "support/gateway_calls.h"
#include "support/hostile_calls.h"
#include "support/sort_words.h"

namespace readkit::gateway_sort_gateways_test {
namespace {

// One of the three: its name, the name that its argument errors carry, and the files it works on.
struct Gateway {
  std::string name;
  std::u16string name_in_errors;
  std::string input;
  std::string output;
};
const Gateway kGateways[] = {{"bamSort", u"bamSort", "a.bam", "t.bam"},
                             {"samSort", u"samSort", "a.sam", "t.sam"},
                             {"kxBamShuffle", u"bamshuffle", "a.bam", "t.bam"}};

// Records that SAM text can hold, out of order.
Reads reads_out_of_order() {
  Random random(61);
  return random_reads(random, 50);
}

class SortGateways : public testing::TestWithParam<Gateway> {
 protected:
  SortGateways() {
    bam_of(reads_out_of_order()).write(folder_, "a.bam");
    folder_.write("a.sam", sam_of(reads_out_of_order()));
  }

  Outputs call(const std::string& input, const std::string& base = "t") {
    return call_gateway(name(), 0, inputs(text(folder_, input), text(folder_, base)));
  }
  Outputs call() { return call(GetParam().input); }
  const std::string& name() const { return GetParam().name; }

  TempDir folder_;
  LeakCheck leaks_;
};

TEST_P(SortGateways, MakesTheOutputAndNothingElseAndReturnsNothing) {
  const std::size_t files = open_files();
  const Outputs outputs = call();
  ASSERT_EQ(outputs.size(), 1U);
  EXPECT_EQ(outputs[0], nullptr);
  EXPECT_EQ(folder_.names(), (Names{"a.bam", "a.sam", GetParam().output}));
  EXPECT_EQ(open_files(), files);
}

TEST_P(SortGateways, InputStaysAsItWas) {
  const std::string before = folder_.read(GetParam().input);
  call();
  EXPECT_EQ(folder_.read(GetParam().input), before);
}

TEST_P(SortGateways, StringScalarsAreNames) {
  call_gateway(name(), 0,
               inputs(host::make_string(folder_.text(GetParam().input)),
                      host::make_string(folder_.text("t"))));
  EXPECT_TRUE(folder_.exists(GetParam().output));
}

TEST_P(SortGateways, NamesOutsideAsciiAreTaken) {
  const std::string base = "r\xc3\xa9\xf0\x9f\xa7\xac";
  call(GetParam().input, base);
  EXPECT_TRUE(folder_.exists(base + GetParam().output.substr(1)));
}

TEST_P(SortGateways, OtherCountsOfInputsRaiseInvalidArgCountWithTheName) {
  const std::u16string error_name = GetParam().name_in_errors;
  const auto call_with = [&](Inputs given) { call_gateway(name(), 0, given); };
  EXPECT_CALL_FAILS(call_with({}), "seqlab:readkit:InvalidArgCount", error_name);
  EXPECT_CALL_FAILS(call_with(inputs(text(folder_, "a.bam"))), "seqlab:readkit:InvalidArgCount",
                    error_name);
  EXPECT_CALL_FAILS(call_with(inputs(text(folder_, "a.bam"), text(folder_, "t"), text("x"))),
                    "seqlab:readkit:InvalidArgCount", error_name);
  EXPECT_EQ(folder_.names(), (Names{"a.bam", "a.sam"}));
}

TEST_P(SortGateways, AnyOutputAskedForRaisesTooManyOutputsBeforeAFileIsTouched) {
  EXPECT_CALL_FAILS(
      call_gateway(name(), 1, inputs(text(folder_, GetParam().input), text(folder_, "t"))),
      "seqlab:readkit:TooManyOutputs");
  EXPECT_EQ(folder_.names(), (Names{"a.bam", "a.sam"}));
}

TEST_P(SortGateways, MissingInputRaisesFileNotFoundAndMakesNoFile) {
  EXPECT_CALL_FAILS(call("missing"), "seqlab:readkit:FileNotFound", folder_.path("missing"));
  EXPECT_CALL_FAILS(call_gateway(name(), 0, inputs(text(""), text(folder_, "t"))),
                    "seqlab:readkit:FileNotFound", u"");
  EXPECT_EQ(folder_.names(), (Names{"a.bam", "a.sam"}));
}

TEST_P(SortGateways, OutputInAMissingFolderRaisesFileNotFoundWithItsWholeName) {
  EXPECT_CALL_FAILS(call(GetParam().input, "no/t"), "seqlab:readkit:FileNotFound",
                    folder_.path("no/" + GetParam().output));
}

TEST_P(SortGateways, FullDiskRaisesFileWriteWithTheOutput) {
  const std::size_t files = open_files();
  link_to_full_device(folder_, GetParam().output);
  EXPECT_CALL_FAILS(call(), "seqlab:readkit:FileWrite", folder_.path(GetParam().output));
  EXPECT_EQ(open_files(), files);
}

TEST_P(SortGateways, ArgumentsThatAreNoTextRaiseBeforeTheFileIsOpened) {
  EXPECT_CALL_FAILS(
      call_gateway(name(), 0, inputs(text(folder_, "missing"), host::make_scalar(1.0))),
      "Tessel:string:MustBeStringScalarOrCharacterVector");
  EXPECT_CALL_FAILS(
      call_gateway(name(), 0, inputs(host::make_string(std::nullopt), host::make_scalar(1.0))),
      "Tessel:string:MissingNotSupported");
}

INSTANTIATE_TEST_SUITE_P(Gateways, SortGateways, testing::ValuesIn(kGateways),
                         [](const auto& param) { return param.param.name; });

// ---- What is in the files --------------------------------------------------------------------

TEST(SortGatewayResults, BamSortPutsTheRecordsIntoOrder) {
  const TempDir folder;
  bam_of(reads_out_of_order()).write(folder, "a.bam");
  call_gateway("bamSort", 0, inputs(text(folder, "a.bam"), text(folder, "t")));
  EXPECT_EQ(decode_bam(folder.read("t.bam")).text, header_text());
  EXPECT_EQ(names_in(folder, "t.bam"), names_of(in_order(records_in(folder, "a.bam"))));
  EXPECT_EQ(same_records(records_in(folder, "t.bam")), same_records(records_in(folder, "a.bam")));
}

TEST(SortGatewayResults, SortedBamFileCanBeIndexed) {
  const TempDir folder;
  Reads reads;
  for (int i = 0; i < 50; ++i) reads.push_back(RecordBuilder().at(i % 4 - 1, 100 - i));
  bam_of(reads).write(folder, "a.bam");
  const auto index = [&](const std::string& bam) {
    call_gateway("bamIndex", 0, inputs(text(folder, bam), text(folder, bam + ".bai")));
  };
  EXPECT_CALL_FAILS(index("a.bam"), "seqlab:readkit:BAMUnsorted");
  call_gateway("bamSort", 0, inputs(text(folder, "a.bam"), text(folder, "t")));
  index("t.bam");
  EXPECT_TRUE(folder.exists("t.bam.bai"));
}

TEST(SortGatewayResults, SamSortPutsTheLinesIntoOrder) {
  const TempDir folder;
  folder.write("a.sam", sam_of(reads_out_of_order()));
  call_gateway("samSort", 0, inputs(text(folder, "a.sam"), text(folder, "t")));
  DecodedBam expected = decode_bam(bam_of(reads_out_of_order()).bytes());
  std::string lines = header_text();
  for (const DecodedRecord& record : in_order(expected.records)) {
    lines += decoded_line(record, expected) + '\n';
  }
  EXPECT_EQ(folder.read("t.sam"), lines);
}

TEST(SortGatewayResults, ShuffleKeepsTheRecordsAndChangesTheirOrderEachTime) {
  const TempDir folder;
  bam_of(reads_out_of_order()).write(folder, "a.bam");
  for (const std::string base : {"t", "u"}) {
    call_gateway("kxBamShuffle", 0, inputs(text(folder, "a.bam"), text(folder, base)));
  }
  EXPECT_EQ(decode_bam(folder.read("t.bam")).text, header_text());
  EXPECT_EQ(same_records(records_in(folder, "t.bam")), same_records(records_in(folder, "a.bam")));
  EXPECT_NE(names_in(folder, "t.bam"), names_in(folder, "a.bam"));
  EXPECT_NE(names_in(folder, "t.bam"), names_in(folder, "u.bam"));
}

class SeededShuffle : public testing::Test {
 protected:
  SeededShuffle() { bam_of(reads_out_of_order()).write(folder_, "a.bam"); }
  void shuffle(const std::string& base, host::Owned seed) {
    call_gateway("kxBamShuffleSeeded", 0,
                 inputs(text(folder_, "a.bam"), text(folder_, base), std::move(seed)));
  }
  void shuffle(const std::string& base, double seed) { shuffle(base, host::make_scalar(seed)); }

  TempDir folder_;
  LeakCheck leaks_;
};

TEST_F(SeededShuffle, SameSeedGivesTheSameFileAndAnotherSeedAnotherOrder) {
  shuffle("one", 7);
  shuffle("two", 7);
  shuffle("other", 8);
  EXPECT_EQ(folder_.read("one.bam"), folder_.read("two.bam"));
  EXPECT_NE(names_in(folder_, "one.bam"), names_in(folder_, "other.bam"));
  EXPECT_NE(names_in(folder_, "one.bam"), names_in(folder_, "a.bam"));
}

TEST_F(SeededShuffle, HeaderAndRecordsStay) {
  shuffle("t", 1);
  EXPECT_EQ(decode_bam(folder_.read("t.bam")).text, header_text());
  EXPECT_EQ(same_records(records_in(folder_, "t.bam")), same_records(records_in(folder_, "a.bam")));
}

TEST_F(SeededShuffle, SeedIsANumberOfAnyClassCutToItsRange) {
  const auto same = [&](host::Owned a, host::Owned b) {
    shuffle("one", std::move(a));
    shuffle("two", std::move(b));
    return folder_.read("one.bam") == folder_.read("two.bam");
  };
  EXPECT_TRUE(same(host::make_scalar(7.9), host::make_scalar(std::uint8_t{7})));
  EXPECT_TRUE(same(host::make_scalar(-3.0), host::make_scalar(0.0)));
  EXPECT_TRUE(same(host::make_scalar(1e300), host::make_scalar(4294967295.0)));
  EXPECT_FALSE(same(host::make_scalar(4294967295.0), host::make_scalar(4294967294.0)));
}

TEST_F(SeededShuffle, SeedThatIsNoNumberRaisesInvalidInputTypeBeforeAFileIsMade) {
  EXPECT_CALL_FAILS(shuffle("t", text("7")), "seqlab:readkit:InvalidInputType", u"seed", u"double");
  EXPECT_CALL_FAILS(shuffle("t", host::make_column(std::vector<double>{})),
                    "seqlab:readkit:InvalidInputType", u"seed", u"double");
  EXPECT_FALSE(folder_.exists("t.bam"));
}

TEST(SortGatewayResults, DamagedInputsRaiseTheErrorsOfReading) {
  const TempDir folder;
  const auto call = [&](const std::string& name, const std::string& input) {
    call_gateway(name, 0, inputs(text(folder, input), text(folder, "t")));
  };
  const Path bam = folder.write("a.bam", BgzfFile()
                                             .block(bam_of({}).header_bytes())
                                             .block(BgzfBlock::around("\xff\xff"))
                                             .marker()
                                             .bytes());
  const Path sam = folder.write("a.sam", header_text() + "no record\n");
  EXPECT_CALL_FAILS(call("bamSort", "a.bam"), "seqlab:readkit:ZLIBInflate", bam);
  EXPECT_CALL_FAILS(call("kxBamShuffle", "a.bam"), "seqlab:readkit:ZLIBInflate", bam);
  EXPECT_CALL_FAILS(call("bamSort", "a.sam"), "seqlab:readkit:InvalidBAMFormat", sam);
  EXPECT_CALL_FAILS(call("samSort", "a.sam"), "seqlab:readkit:InvalidSAMFormat", sam);
  EXPECT_EQ(folder.names(), (Names{"a.bam", "a.sam"}));
}

TEST(SortGatewayResults, ShuffleIsExportedButNotRegistered) {
  const std::vector<std::string> names = gateway_library().function_names();
  const auto registered = [&](const std::string& name) {
    return std::count(names.begin(), names.end(), "seqlab.internal.readkit." + name);
  };
  EXPECT_EQ(registered("bamSort"), 1);
  EXPECT_EQ(registered("samSort"), 1);
  EXPECT_EQ(registered("kxBamShuffle"), 0);
  EXPECT_EQ(gateway_library().function("kxBamShuffle").name(), "kxBamShuffle");
}

}  // namespace
}  // namespace readkit::gateway_sort_gateways_test
