// A record as a value, and its way from and to a stream.
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "records/alignment.h"
#include "support/bam_builder.h"
#include "support/bgzf_builder.h"
#include "support/bgzf_words.h"
#include "support/expect_kind.h"
#include "support/memory.h"
#include "support/random_data.h"
#include "support/record_builder.h"
#include "support/reference_decoder.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::records_alignment_storage_test {
namespace {

std::string block_of(const Alignment& record) {
  return {reinterpret_cast<const char*>(record.data()),
          static_cast<std::size_t>(record.block_size())};
}

class AlignmentStorage : public testing::Test {
 protected:
  // A stream whose data is `content`, in blocks of this size.
  BGZF stream(const std::string& content, std::size_t block_size = 0xff00) {
    folder_.write("f", BgzfFile().blocks(content, block_size).marker().bytes());
    return BGZF(folder_.path("f"));
  }

  TempDir folder_;
  const RecordBuilder first_ = RecordBuilder("first").at(0, 5).cigar("4M").seq("ACGT");
  const RecordBuilder second_ = RecordBuilder("the_second").at(1, 6).tag("NH", 'C', 1);
};

// ---- A value ----------------------------------------------------------------------------------

TEST_F(AlignmentStorage, StartsEmpty) {
  const Alignment record;
  EXPECT_EQ(record.block_size(), 0);
  EXPECT_EQ(record.data(), nullptr);
}

TEST_F(AlignmentStorage, ResizeGivesABlockOfThatSize) {
  Alignment record;
  for (const int size : {10, 0, 5000, 36, 1}) {
    std::uint8_t* data = record.resize(size);
    EXPECT_EQ(data, record.data());
    EXPECT_EQ(record.block_size(), size);
    std::memset(data, 0x5a, static_cast<std::size_t>(size));
    EXPECT_EQ(record.data_end() - record.data(), size);
  }
}

TEST_F(AlignmentStorage, ResizeToANegativeSizeRaisesTheStandardAllocationError) {
  Alignment record;
  EXPECT_THROW(record.resize(-1), std::bad_alloc);
}

TEST_F(AlignmentStorage, CopyIsIndependent) {
  Alignment record = first_.record();
  const Alignment copy = record;
  record.set_ref_id(77);
  EXPECT_EQ(block_of(copy), first_.block());
  Alignment assigned = second_.record();
  assigned = copy;
  EXPECT_EQ(block_of(assigned), first_.block());
  EXPECT_NE(assigned.data(), copy.data());
}

TEST_F(AlignmentStorage, CopyOfAnEmptyRecordIsEmpty) {
  const Alignment empty;
  const Alignment copy = empty;
  EXPECT_EQ(copy.data(), nullptr);
  EXPECT_EQ(copy.block_size(), 0);
  Alignment assigned = first_.record();
  assigned = empty;
  EXPECT_EQ(assigned.block_size(), 0);
}

TEST_F(AlignmentStorage, AssignmentToItselfChangesNothing) {
  Alignment record = first_.record();
  Alignment& same = record;
  record = same;
  EXPECT_EQ(block_of(record), first_.block());
  record = std::move(same);
  EXPECT_EQ(block_of(record), first_.block());
}

TEST_F(AlignmentStorage, MoveTakesTheBlockAndLeavesNone) {
  Alignment record = first_.record();
  const std::uint8_t* const data = record.data();
  Alignment moved = std::move(record);
  EXPECT_EQ(moved.data(), data);
  EXPECT_EQ(block_of(moved), first_.block());
  EXPECT_EQ(record.data(), nullptr);
  Alignment assigned = second_.record();
  assigned = std::move(moved);
  EXPECT_EQ(assigned.data(), data);
  EXPECT_EQ(moved.data(), nullptr);
}

TEST_F(AlignmentStorage, MovedFromRecordCanBeUsedAgain) {
  Alignment record = first_.record();
  const Alignment moved = std::move(record);
  BGZF in = stream(second_.bytes());
  EXPECT_TRUE(record.next(in));
  EXPECT_EQ(block_of(record), second_.block());
  EXPECT_EQ(block_of(moved), first_.block());
}

// ---- Reading ----------------------------------------------------------------------------------

TEST_F(AlignmentStorage, RecordsAreReadOneAfterTheOther) {
  BGZF in = stream(first_.bytes() + second_.bytes());
  Alignment record;
  EXPECT_TRUE(record.next(in));
  EXPECT_EQ(block_of(record), first_.block());
  EXPECT_TRUE(record.next(in));
  EXPECT_EQ(block_of(record), second_.block());
  EXPECT_FALSE(record.next(in));
}

TEST_F(AlignmentStorage, RecordsMayBeCutByBlocksAnywhere) {
  const std::string content = first_.bytes() + second_.bytes() + first_.bytes();
  for (std::size_t block_size = 1; block_size <= content.size(); ++block_size) {
    BGZF in = stream(content, block_size);
    Alignment record;
    for (const RecordBuilder* builder : {&first_, &second_, &first_}) {
      ASSERT_TRUE(record.next(in)) << block_size;
      ASSERT_EQ(block_of(record), builder->block()) << block_size;
    }
    ASSERT_FALSE(record.next(in)) << block_size;
  }
}

TEST_F(AlignmentStorage, FewerThanFourBytesLeftGiveFalseAndLeaveTheRecordUnchanged) {
  const std::string rest("\x20\0\0", 3);
  for (std::size_t left = 0; left < 4; ++left) {
    BGZF in = stream(first_.bytes() + rest.substr(0, left));
    Alignment record;
    EXPECT_TRUE(record.next(in));
    EXPECT_FALSE(record.next(in));
    EXPECT_EQ(block_of(record), first_.block());
  }
}

TEST_F(AlignmentStorage, RecordCutShortGivesFalseWithItsLengthSet) {
  const std::string whole = second_.bytes();
  for (std::size_t size = 4; size < whole.size(); ++size) {
    BGZF in = stream(whole.substr(0, size));
    Alignment record = first_.record();
    EXPECT_FALSE(record.next(in)) << size;
    EXPECT_EQ(record.block_size(), static_cast<int>(whole.size() - 4)) << size;
    const Alignment copy = record;  // an incomplete block can be copied and given up
    EXPECT_EQ(copy.block_size(), record.block_size());
  }
}

TEST_F(AlignmentStorage, NoFieldIsChecked) {
  BGZF in = stream(little_endian(3, 4) + "abc" + little_endian(0, 4) + first_.bytes());
  Alignment record;
  EXPECT_TRUE(record.next(in));
  EXPECT_EQ(block_of(record), "abc");
  EXPECT_FALSE(record.is_well_formed());
  EXPECT_TRUE(record.next(in));
  EXPECT_EQ(record.block_size(), 0);
  EXPECT_FALSE(record.is_well_formed());
  EXPECT_TRUE(record.next(in));
  EXPECT_EQ(block_of(record), first_.block());
}

TEST_F(AlignmentStorage, NegativeLengthRaisesTheStandardAllocationError) {
  for (const std::uint32_t size : {0xffffffffU, 0x80000000U}) {
    BGZF in = stream(little_endian(size, 4) + std::string(100, 'x'));
    Alignment record;
    EXPECT_THROW(record.next(in), std::bad_alloc);
  }
}

TEST_F(AlignmentStorage, LengthBeyondTheFileGivesFalseWithoutTheMemoryForIt) {
  BGZF in = stream(little_endian(0x7fffffff, 4) + "short");
  Alignment record;
  EXPECT_LT(memory_growth([&] { EXPECT_FALSE(record.next(in)); }), kMuchMemory);
  EXPECT_EQ(record.block_size(), 0x7fffffff);
  const Alignment copy = record;
  EXPECT_LT(memory_growth([&] { const Alignment another = record; }), kMuchMemory);
}

TEST_F(AlignmentStorage, LargeRecordIsReadWhole) {
  Random random(80);
  const std::string block = random_bytes(random, 5000000);
  BGZF in = stream(little_endian(block.size(), 4) + block + first_.bytes());
  Alignment record;
  ASSERT_TRUE(record.next(in));
  EXPECT_TRUE(block_of(record) == block);
  ASSERT_TRUE(record.next(in));
  EXPECT_EQ(block_of(record), first_.block());
}

TEST_F(AlignmentStorage, ErrorsOfTheStreamPassThrough) {
  const std::string content = first_.bytes() + second_.bytes();
  const Path path = folder_.write("f", BgzfFile().block(content.substr(0, 20)).bytes());
  BGZF in(path);
  Alignment record;
  EXPECT_KIND(record.next(in), InvalidBAMFormat, path);
}

TEST_F(AlignmentStorage, SequencesOfRecordsOfAnySizeAreReadInAnyBlocks) {
  Random random(81);
  std::vector<std::string> blocks;
  std::string content;
  for (int i = 0; i < 300; ++i) {
    blocks.push_back(random_bytes(random, random() % (i % 50 == 0 ? 200000 : 500)));
    content += little_endian(blocks.back().size(), 4) + blocks.back();
  }
  for (const std::size_t block_size : {std::size_t{700}, std::size_t{65280}}) {
    BGZF in = stream(content, block_size);
    Alignment record;
    for (const std::string& block : blocks) {
      ASSERT_TRUE(record.next(in));
      ASSERT_TRUE(block_of(record) == block);
    }
    ASSERT_FALSE(record.next(in));
  }
}

// ---- Writing ----------------------------------------------------------------------------------

TEST_F(AlignmentStorage, WritingGivesLengthWordAndBlock) {
  BGZF out(folder_.path("out"), "w");
  EXPECT_TRUE(first_.record().write(out));
  EXPECT_TRUE(second_.record().write(out));
  EXPECT_EQ(out.tell(), 0u);  // nothing is flushed
  EXPECT_EQ(out.close(), 0);
  EXPECT_EQ(decode_bgzf(folder_.read("out")), first_.bytes() + second_.bytes());
}

TEST_F(AlignmentStorage, EmptyRecordIsWrittenAsALengthOfZero) {
  BGZF out(folder_.path("out"), "w");
  EXPECT_TRUE(Alignment().write(out));
  EXPECT_EQ(out.close(), 0);
  EXPECT_EQ(decode_bgzf(folder_.read("out")), std::string(4, '\0'));
}

TEST_F(AlignmentStorage, WritingToAReaderRaisesBAMReadOnly) {
  BGZF in = stream("");
  EXPECT_KIND(first_.record().write(in), BAMReadOnly, folder_.path("f"));
}

TEST_F(AlignmentStorage, EveryRealRecordIsReadAndWrittenByteForByte) {
  SKIP_WITHOUT_TEST_DATA();
  for (const std::string& name : bam_files()) {
    const std::string file = read_file(name);
    if (file.size() > 500000 || !file.ends_with(bgzf_marker())) continue;
    const std::string data = gunzip_file(name);
    BGZF in(to_path(name));
    BGZF out(folder_.path("out"), "w");
    BamHeader header;
    header.read(in);
    header.write(out);
    Alignment record;
    while (record.next(in)) {
      EXPECT_TRUE(record.is_well_formed()) << name;
      record.write(out);
    }
    ASSERT_EQ(out.close(), 0);
    EXPECT_TRUE(decode_bgzf(folder_.read("out")) == data) << name;
  }
}

}  // namespace
}  // namespace readkit::records_alignment_storage_test
