// kxCheck: the check of a file as a host sees it.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/bam_builder.h"
#include "support/gateway_calls.h"

namespace readkit::gateway_check_file_test {
namespace {

using Texts = std::vector<std::string>;

BamBuilder sample() {
  return BamBuilder()
      .text("@HD\tVN:1.6\n")
      .ref("chr1", 1000)
      .record(RecordBuilder("a").at(0, 5).cigar("4M").seq("ACGT"))
      .record(RecordBuilder("b").at(0, 9).cigar("4M").seq("ACGT").bin(1));
}

class CheckGateway : public testing::Test {
 protected:
  CheckGateway() { sample().write(folder_, "a.bam"); }
  host::Owned check(Inputs in) {
    Outputs out = call_gateway("kxCheck", 1, in);
    return std::move(out.at(0));
  }
  TempDir folder_;
};

double number(const host::Owned& a, const char* field) {
  return host::data_of<double>(host::field_of(a.get(), field))[0];
}
bool truth(const host::Owned& a, const char* field) {
  return host::data_of<bool>(host::field_of(a.get(), field))[0];
}

TEST_F(CheckGateway, ResultIsAStructure) {
  const host::Owned result = check(inputs(text(folder_, "a.bam")));
  EXPECT_EQ(host::field_names_of(result.get()),
            (Texts{"kind", "records", "blocks", "sorted", "end_marker", "count", "findings"}));
  EXPECT_EQ(host::text_of(host::field_of(result.get(), "kind")), "BAM");
  EXPECT_EQ(number(result, "records"), 2.0);
  EXPECT_EQ(number(result, "blocks"), 2.0);
  EXPECT_TRUE(truth(result, "sorted"));
  EXPECT_TRUE(truth(result, "end_marker"));
  EXPECT_EQ(number(result, "count"), 1.0);
}

TEST_F(CheckGateway, FindingsAreColumnsOfOneLength) {
  const host::Owned result = check(inputs(text(folder_, "a.bam")));
  const txArray* const findings = host::field_of(result.get(), "findings");
  EXPECT_EQ(host::field_names_of(findings), (Texts{"identifier", "offset", "record", "text"}));
  EXPECT_EQ(host::texts_of(host::field_of(findings, "identifier")), (Texts{"Bin"}));
  EXPECT_EQ(host::data_of<std::uint64_t>(host::field_of(findings, "offset"))[0],
            sample().record_offset(1));
  EXPECT_EQ(host::data_of<double>(host::field_of(findings, "record"))[0], 2.0);
  EXPECT_EQ(host::texts_of(host::field_of(findings, "text")),
            (Texts{"the bin is 1, the positions give 4681"}));
  EXPECT_EQ(host::dims_of(host::field_of(findings, "offset")), (host::Dims{1, 1}));
}

TEST_F(CheckGateway, NoFindingsAreEmptyColumns) {
  BamBuilder().write(folder_, "empty.bam");
  const host::Owned result = check(inputs(text(folder_, "empty.bam")));
  const txArray* const findings = host::field_of(result.get(), "findings");
  for (const char* column : {"identifier", "offset", "record", "text"}) {
    EXPECT_EQ(host::dims_of(host::field_of(findings, column)), (host::Dims{0, 1})) << column;
  }
}

TEST_F(CheckGateway, IndexIsNamedAsForQueries) {
  call_gateway("bamIndex", 0, inputs(text(folder_, "a.bam"), text(folder_, "a.bam.bai")));
  for (const char* name : {"a.bam", "a.bam.bai"}) {
    const host::Owned result = check(inputs(text(folder_, "a.bam"), text(folder_, name)));
    EXPECT_GE(number(result, "count"), 1.0);
  }
  EXPECT_CALL_FAILS(check(inputs(text(folder_, "a.bam"), text(folder_, "none"))),
                    "seqlab:readkit:FileNotFound", folder_.text("none.bai"));
}

TEST_F(CheckGateway, ArgumentsAreCounted) {
  EXPECT_CALL_FAILS(call_gateway("kxCheck", 1, {}), "seqlab:readkit:InvalidArgCount", u"kxCheck");
  EXPECT_CALL_FAILS(call_gateway("kxCheck", 1, inputs(text("a"), text("b"), text("c"))),
                    "seqlab:readkit:InvalidArgCount", u"kxCheck");
  EXPECT_CALL_FAILS(call_gateway("kxCheck", 2, inputs(text("a"))), "seqlab:readkit:TooManyOutputs");
  EXPECT_CALL_FAILS(call_gateway("kxCheck", 1, inputs(host::make_scalar(1.0))),
                    "Tessel:string:MustBeStringScalarOrCharacterVector");
  EXPECT_CALL_FAILS(call_gateway("kxCheck", 1, inputs(text(folder_, "none"))),
                    "seqlab:readkit:FileNotFound", folder_.text("none"));
}

TEST_F(CheckGateway, NothingLeaks) {
  const LeakCheck leaks;
  check(inputs(text(folder_, "a.bam")));
}

}  // namespace
}  // namespace readkit::gateway_check_file_test
