// kxSamWriteRegions: the records of regions as SAM lines, in one pass, and what a list of regions
// means.
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/bam_builder.h"
#include "support/gateway_calls.h"

namespace readkit::gateway_region_arguments_test {
namespace {

using Numbers = std::vector<double>;

constexpr double kAnywhere = 100000;

class WriteRegions : public testing::Test {
 protected:
  WriteRegions() {
    BamBuilder()
        .refs(2, 100000)
        .record(RecordBuilder("other").at(0, 9).cigar("5M").seq("AAAAA"))
        .record(RecordBuilder("first").at(1, 99).cigar("2M10N2M").seq("ACGT").tag("NH", 'i', 1))
        .record(RecordBuilder("second").at(1, 100))
        .record(RecordBuilder("third").at(1, 200).cigar("5M").seq("ACGTA"))
        .write(folder_, "a.bam");
    call_gateway("kxBamIndexComplete", 0, inputs(text(folder_, "a.bam"), text(folder_, "a.bai")));
  }

  Inputs list(const Numbers& references, const Numbers& firsts, const Numbers& lasts,
              bool with_tags = false) const {
    return inputs(text(folder_, "a.bam"), text(folder_, "a.bai"), text(folder_, "a.sam"),
                  host::make_column(references), host::make_column(firsts),
                  host::make_column(lasts), host::make_scalar(with_tags));
  }
  static void call(const Inputs& list) { call_gateway("kxSamWriteRegions", 0, list); }

  // The names of the records that are written for the regions.
  std::vector<std::string> names(const Numbers& references, const Numbers& firsts,
                                 const Numbers& lasts) {
    folder_.write("a.sam", "");
    call(list(references, firsts, lasts));
    std::vector<std::string> names;
    std::string rest = folder_.read("a.sam");
    while (!rest.empty()) {
      names.push_back(rest.substr(0, rest.find('\t')));
      rest.erase(0, rest.find('\n') + 1);
    }
    return names;
  }

  TempDir folder_;
  LeakCheck leaks_;
};

using Names = std::vector<std::string>;

TEST_F(WriteRegions, LinesAreAppendedInTheOrderOfTheFileAndOnceEach) {
  folder_.write("a.sam", "before\n");
  call(list({1, 0, 1, 1}, {201, 10, 1, 99}, {201, 10, 150, 101}, true));
  EXPECT_EQ(folder_.read("a.sam"),
            "before\n"
            "other\t0\tchr1\t10\t0\t5M\t*\t0\t0\tAAAAA\t*\n"
            "first\t0\tchr2\t100\t0\t2M10N2M\t*\t0\t0\tACGT\t*\tNH:i:1\n"
            "second\t0\tchr2\t101\t0\t*\t*\t0\t0\t*\t*\n"
            "third\t0\tchr2\t201\t0\t5M\t*\t0\t0\tACGTA\t*\n");
}

TEST_F(WriteRegions, OptionalFieldsCanStayAway) {
  call(list({1}, {100}, {100}));
  EXPECT_EQ(folder_.read("a.sam"), "first\t0\tchr2\t100\t0\t2M10N2M\t*\t0\t0\tACGT\t*\n");
}

TEST_F(WriteRegions, PositionsCountFromOneAndBothEndsBelongToTheRegion) {
  EXPECT_EQ(names({0}, {1}, {9}), Names());
  EXPECT_EQ(names({0}, {1}, {10}), Names({"other"}));
  EXPECT_EQ(names({0}, {14}, {20}), Names({"other"}));
  EXPECT_EQ(names({0}, {15}, {20}), Names());
  // What a gap skips is overlapped, too.
  EXPECT_EQ(names({1}, {105}, {106}), Names({"first"}));
}

TEST_F(WriteRegions, EndsBeyondWhatThereCanBeAreMovedThere) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(names({0}, {-5}, {infinity}), Names({"other"}));
  EXPECT_EQ(names({0}, {12}, {3}), Names({"other"}));  // its first position remains
  EXPECT_EQ(names({0}, {15}, {3}), Names());
}

TEST_F(WriteRegions, NoRegionsMakeAnEmptyFile) {
  EXPECT_EQ(names({}, {}, {}), Names());
  EXPECT_TRUE(folder_.exists("a.sam"));
}

// More regions than are read in one part, and as many that say the same.
TEST_F(WriteRegions, ARecordOfManyRegionsComesOnce) {
  constexpr std::size_t kMany = 600000;
  BamBuilder()
      .refs(1, 3 * kMany)
      .record(RecordBuilder("long").at(0, 9).cigar("1M1700000N1M"))
      .record(RecordBuilder("between").at(0, 10).cigar("1M"))
      .record(RecordBuilder("late").at(0, 1700000).cigar("3M"))
      .write(folder_, "a.bam");
  call_gateway("kxBamIndexComplete", 0, inputs(text(folder_, "a.bam"), text(folder_, "a.bai")));
  Numbers every_third(kMany);
  for (std::size_t i = 0; i < kMany; ++i) every_third[i] = static_cast<double>(3 * i + 1);
  EXPECT_EQ(names(Numbers(kMany), every_third, every_third), Names({"long", "late"}));
  EXPECT_EQ(names(Numbers(kMany), Numbers(kMany, 1), Numbers(kMany, 3 * kMany)),
            Names({"long", "between", "late"}));
}

TEST_F(WriteRegions, WrongListsAreErrorsBeforeThereIsAnOutput) {
  EXPECT_CALL_FAILS(call(list({2}, {1}, {2})), "seqlab:readkit:ReferenceIDNotFound", u"2");
  EXPECT_CALL_FAILS(call(list({-1}, {1}, {2})), "seqlab:readkit:ReferenceIDNotFound", u"-1");
  EXPECT_CALL_FAILS(call(list({0, 1}, {1}, {2})), "seqlab:readkit:BadIndex");
  EXPECT_CALL_FAILS(call(list({0}, {1}, {2, 3})), "seqlab:readkit:BadIndex");
  const char16_t* const names[] = {u"references", u"firsts", u"lasts"};
  for (std::size_t i = 0; i < 3; ++i) {
    Inputs wrong = list({0}, {1}, {2});
    wrong[3 + i] = text("1");
    EXPECT_CALL_FAILS(call(wrong), "seqlab:readkit:InvalidInputType", names[i], u"int64");
  }
  Inputs wrong = list({0}, {1}, {2});
  wrong[6] = text("1");
  EXPECT_CALL_FAILS(call(wrong), "seqlab:readkit:InvalidInputType", u"withTags", u"double");
  EXPECT_FALSE(folder_.exists("a.sam"));
}

TEST_F(WriteRegions, TheOutputIsNoneOfTheInputs) {
  for (const char* name : {"a.bam", "a.bai"}) {
    const std::string before = folder_.read(name);
    Inputs wrong = list({0}, {1}, {2});
    wrong[2] = text(folder_, name);
    EXPECT_CALL_FAILS(call(wrong), "seqlab:readkit:CannotOpenOutFile", folder_.text(name));
    EXPECT_EQ(folder_.read(name), before);
  }
}

TEST_F(WriteRegions, AFileThatIsNotSortedIsAnError) {
  BamBuilder()
      .refs(1, 100000)
      .record(RecordBuilder("late").at(0, 50).cigar("1M"))
      .record(RecordBuilder("early").at(0, 10).cigar("1M"))
      .write(folder_, "a.bam");
  // An index of another number of references is passed over.
  EXPECT_CALL_FAILS(call(list({0}, {1}, {kAnywhere})), "seqlab:readkit:BAMUnsorted");
}

}  // namespace
}  // namespace readkit::gateway_region_arguments_test
