// bamInfo: whether a file is sorted, and how many records each reference has.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/bam_builder.h"
#include "support/gateway_calls.h"
#include "support/memory.h"

namespace readkit::gateway_file_info_test {
namespace {

using Places = std::vector<std::pair<int, int>>;
using Counts = std::vector<double>;

class FileInfo : public testing::Test {
 protected:
  void write(const Places& places) {
    BamBuilder file;
    file.refs(4, 100000);
    for (const auto& [ref, pos] : places) file.record(RecordBuilder().at(ref, pos).cigar("5M"));
    file.write(folder_, "a.bam");
  }
  Outputs call(int nlhs) { return call_gateway("bamInfo", nlhs, inputs(text(folder_, "a.bam"))); }

  // The sorted flag; one output and two must agree.
  bool sorted(const Places& places) {
    write(places);
    const bool alone = scalar_of<bool>(call(1)[0]);
    EXPECT_EQ(scalar_of<bool>(call(2)[0]), alone);
    return alone;
  }
  Counts counts(const Places& places) {
    write(places);
    return column_of<double>(call(2)[1]);
  }

  TempDir folder_;
  LeakCheck leaks_;
};

TEST_F(FileInfo, RecordsOfReferenceZeroCountInTheSecondRow) {
  EXPECT_EQ(counts({{0, 1}, {0, 2}, {0, 3}}), (Counts{0, 3}));
}

TEST_F(FileInfo, UnplacedRecordsCountInTheFirstRow) {
  EXPECT_EQ(counts({{-1, -1}, {-1, -1}}), (Counts{2}));
}

TEST_F(FileInfo, RowsEndWithTheHighestReferenceThatHasRecords) {
  EXPECT_EQ(counts({{0, 1}, {2, 1}, {2, 1}, {-1, -1}}), (Counts{1, 1, 0, 2}));
}

TEST_F(FileInfo, FileWithoutRecordsIsSortedAndHasNoRows) {
  EXPECT_TRUE(sorted({}));
  expect_shape(call(2)[1], txDOUBLE_CLASS, 0, 1);
}

TEST_F(FileInfo, OrderOfRecordsDecidesTheFlag) {
  EXPECT_TRUE(sorted({{0, 5}, {0, 5}, {1, 0}, {-1, -1}, {-1, 7}, {-1, 3}}));
  EXPECT_FALSE(sorted({{0, 5}, {0, 4}}));
  EXPECT_FALSE(sorted({{1, 5}, {0, 6}}));
  EXPECT_FALSE(sorted({{-1, -1}, {0, 6}}));
  EXPECT_FALSE(sorted({{1, 5}, {2, 5}, {1, 6}}));
}

TEST_F(FileInfo, UnsortedFileIsStillCountedToItsEnd) {
  EXPECT_FALSE(sorted({{1, 5}, {0, 6}, {1, 1}, {2, 2}, {-1, -1}}));
  EXPECT_EQ(column_of<double>(call(2)[1]), (Counts{1, 1, 2, 1}));
}

TEST_F(FileInfo, OneOutputReadsNoFurtherThanTheFirstRecordOutOfOrder) {
  BamBuilder()
      .refs(2, 1000)
      .record(RecordBuilder().at(0, 9))
      .record(RecordBuilder().at(0, 8))
      .record(RecordBuilder().l_seq(-1))
      .write(folder_, "a.bam");
  EXPECT_FALSE(scalar_of<bool>(call(1)[0]));
  EXPECT_CALL_FAILS(call(2), "seqlab:readkit:InvalidBAMFormat", folder_.path("a.bam"));
}

TEST_F(FileInfo, WithoutOutputsTheRecordsAreNotRead) {
  BamBuilder().refs(1, 9).record(RecordBuilder().l_seq(-1)).write(folder_, "a.bam");
  EXPECT_EQ(call(0)[0], nullptr);
  EXPECT_CALL_FAILS(call(1), "seqlab:readkit:InvalidBAMFormat", folder_.path("a.bam"));
}

TEST_F(FileInfo, ReferenceBelowMinusOneCountsAsNone) {
  EXPECT_EQ(counts({{-7, -1}, {-1, -1}}), (Counts{2}));
}

TEST_F(FileInfo, ReferenceBeyondTheDictionaryIsCountedBelowTwoToThe20) {
  const Counts rows = counts({{0, 1}, {1048575, 1}});
  EXPECT_EQ(rows.size(), 1048577U);
  EXPECT_EQ(rows.back(), 1);
}

TEST_F(FileInfo, ReferenceBeyondTheDictionaryAndTwoToThe20RaisesReferenceIdNotFound) {
  write({{0, 1}, {1048576, 1}});
  EXPECT_CALL_FAILS(call(2), "seqlab:readkit:ReferenceIDNotFound", u"1048576");
  write({{2147483647, 1}});
  const auto count = [&] {
    EXPECT_CALL_FAILS(call(2), "seqlab:readkit:ReferenceIDNotFound", u"2147483647");
  };
  EXPECT_LT(memory_growth(count), kMuchMemory);
  EXPECT_TRUE(scalar_of<bool>(call(1)[0]));
}

TEST_F(FileInfo, FileWithoutEndMarkerRaisesInvalidBamFormat) {
  BamBuilder().refs(1, 9).record(RecordBuilder().at(0, 1)).without_marker().write(folder_, "a.bam");
  EXPECT_EQ(call(0)[0], nullptr);
  EXPECT_CALL_FAILS(call(1), "seqlab:readkit:InvalidBAMFormat", folder_.path("a.bam"));
  EXPECT_CALL_FAILS(call(2), "seqlab:readkit:InvalidBAMFormat", folder_.path("a.bam"));
}

TEST_F(FileInfo, ManyRecordsAreCountedOneByOne) {
  Places places(5000, {1, 10});
  places.insert(places.end(), 3000, {2, 10});
  EXPECT_EQ(counts(places), (Counts{0, 0, 5000, 3000}));
}

}  // namespace
}  // namespace readkit::gateway_file_info_test
