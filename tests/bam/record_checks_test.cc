// Records that contradict themselves, met by every operation that reads records of a BAM file.
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/bam_builder.h"
#include "support/bgzf_builder.h"
#include "support/expect_kind.h"
#include "support/memory.h"
#include "support/temp_dir.h"

namespace readkit::bam_record_checks_test {
namespace {

// A sound record, then `bytes`, then another sound one.
Path file_with(const TempDir& folder, const std::string& bytes) {
  return BamBuilder()
      .ref("chr1", 1000)
      .record(RecordBuilder("before").at(0, 10).cigar("5M"))
      .record_bytes(bytes)
      .record(RecordBuilder("after").at(0, 30).cigar("5M"))
      .write(folder, "a.bam");
}

struct Operation {
  std::string name;
  std::function<void(BAM&)> run;
};

const std::vector<Operation>& operations() {
  static const std::vector<Operation> all = {
      {"next_alignment",
       [](BAM& bam) {
         while (bam.next_alignment()) continue;
       }},
      {"is_sorted", [](BAM& bam) { bam.is_sorted(); }},
      {"build_index", [](BAM& bam) { bam.build_index(); }},
      {"find_next",
       [](BAM& bam) {
         while (bam.find_next(0, 0, 1000)) continue;
       }},
      {"filter_overlapping", [](BAM& bam) { bam.filter_overlapping(0, 0, 1000); }},
      {"filter_all", [](BAM& bam) { bam.filter_all([](const Alignment&) { return true; }); }},
  };
  return all;
}

class RecordChecks : public testing::TestWithParam<Operation> {
 protected:
  void expect_refused(const RecordBuilder& record) {
    const Path path = file_with(folder_, record.bytes());
    BAM bam(path);
    EXPECT_KIND(GetParam().run(bam), InvalidBAMFormat, path);
  }
  void expect_accepted(const RecordBuilder& record) {
    BAM bam(file_with(folder_, record.bytes()));
    EXPECT_NO_THROW(GetParam().run(bam));
  }

  TempDir folder_;
};

INSTANTIATE_TEST_SUITE_P(Readers, RecordChecks, testing::ValuesIn(operations()),
                         [](const auto& param) { return param.param.name; });

// The fixed fields of a record, cut to `size` bytes.
std::string cut_block(std::size_t size) {
  const std::string block = RecordBuilder("").at(0, 20).block().substr(0, size);
  return little_endian(block.size(), 4) + block;
}

TEST_P(RecordChecks, BlockShorterThanTheFixedFieldsIsInvalid) {
  for (const std::size_t size : {0U, 1U, 12U, 31U}) {
    const Path path = file_with(folder_, cut_block(size));
    BAM bam(path);
    EXPECT_KIND(GetParam().run(bam), InvalidBAMFormat, path);
  }
}

TEST_P(RecordChecks, NegativeSequenceLengthIsInvalid) {
  expect_refused(RecordBuilder().at(0, 20).l_seq(-1));
  expect_refused(RecordBuilder().at(0, 20).l_seq(-2147483647 - 1));
}

TEST_P(RecordChecks, NameThatRunsPastTheBlockIsInvalid) {
  expect_refused(RecordBuilder("name").at(0, 20).l_read_name(6));
  expect_refused(RecordBuilder("name").at(0, 20).l_read_name(255));
}

TEST_P(RecordChecks, CigarThatRunsPastTheBlockIsInvalid) {
  expect_refused(RecordBuilder().at(0, 20).cigar("5M").n_cigar_op(2));
  expect_refused(RecordBuilder().at(0, 20).n_cigar_op(65535));
}

TEST_P(RecordChecks, SequenceThatRunsPastTheBlockIsInvalid) {
  expect_refused(RecordBuilder().at(0, 20).l_seq(1));
  expect_refused(RecordBuilder().at(0, 20).seq("ACGT").l_seq(5));
  expect_refused(RecordBuilder().at(0, 20).l_seq(2147483647));
}

TEST_P(RecordChecks, SequenceThatEndsWithTheBlockIsValid) {
  expect_accepted(RecordBuilder().at(0, 20).seq("ACGTA").qual("IIIII"));
}

TEST_P(RecordChecks, NameLengthZeroIsValid) {
  expect_accepted(RecordBuilder().at(0, 20).stored_name("").l_read_name(0));
}

TEST_P(RecordChecks, NameWithoutItsNulIsValid) {
  expect_accepted(RecordBuilder().at(0, 20).stored_name("abc"));
}

TEST_P(RecordChecks, NegativeBlockSizeRaisesTheAllocationError) {
  BAM bam(file_with(folder_, RecordBuilder().at(0, 20).block_size(-1).bytes()));
  EXPECT_STD(GetParam().run(bam), std::bad_alloc, std::bad_alloc().what());
}

TEST_P(RecordChecks, BlockSizeBeyondTheFileIsTheEndAndTakesNoMemory) {
  BAM bam(file_with(folder_, RecordBuilder().at(0, 20).block_size(2147483647).bytes()));
  EXPECT_LT(memory_growth([&] { GetParam().run(bam); }), kMuchMemory);
}

TEST(RecordNames, NameLengthZeroIsTheEmptyName) {
  const TempDir folder;
  BAM bam(
      BamBuilder().record(RecordBuilder().stored_name("").l_read_name(0)).write(folder, "a.bam"));
  ASSERT_TRUE(bam.next_alignment());
  EXPECT_EQ(bam.read_name_text(), "");
}

TEST(RecordNames, NameWithoutItsNulLosesItsLastByte) {
  const TempDir folder;
  BAM bam(BamBuilder().record(RecordBuilder().stored_name("abc")).write(folder, "a.bam"));
  ASSERT_TRUE(bam.next_alignment());
  EXPECT_EQ(bam.read_name_text(), "ab");
}

TEST(RecordNames, NameEndsAtItsFirstNul) {
  const TempDir folder;
  BAM bam(BamBuilder()
              .record(RecordBuilder().stored_name(std::string("ab\0cd\0", 6)))
              .write(folder, "a.bam"));
  ASSERT_TRUE(bam.next_alignment());
  EXPECT_EQ(bam.read_name_text(), "ab");
}

TEST(BamHeaderCounts, TextLengthBeyondTheFileRaisesBamReadAndTakesNoMemory) {
  const TempDir folder;
  const Path path = folder.write(
      "a.bam", BgzfFile().block("BAM\1" + little_endian(2147483647, 4)).marker().bytes());
  const auto open = [&] { EXPECT_KIND(BAM{path}, BAMRead, path); };
  EXPECT_LT(memory_growth(open), kMuchMemory);
}

TEST(BamHeaderCounts, ReferenceCountBeyondTheFileRaisesBamReadAndTakesNoMemory) {
  const TempDir folder;
  const std::string header = "BAM\1" + little_endian(0, 4) + little_endian(2147483647, 4);
  const Path path = folder.write("a.bam", BgzfFile().block(header).marker().bytes());
  const auto open = [&] { EXPECT_KIND(BAM{path}, BAMRead, path); };
  EXPECT_LT(memory_growth(open), kMuchMemory);
}

TEST(BamHeaderCounts, NegativeReferenceCountRaisesTheContainersLengthError) {
  const TempDir folder;
  const std::string header = "BAM\1" + little_endian(0, 4) + little_endian(0xffffffff, 4);
  const Path path = folder.write("a.bam", BgzfFile().block(header).marker().bytes());
  EXPECT_THROW(BAM{path}, std::length_error);
}

}  // namespace
}  // namespace readkit::bam_record_checks_test
