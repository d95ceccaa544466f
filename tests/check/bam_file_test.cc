// BAM files: header and records, and what is read behind damage.
#include "check/bam_file.h"

#include <string>

#include <gtest/gtest.h>

#include "support/bam_builder.h"
#include "support/bgzf_builder.h"
#include "support/check_words.h"
#include "support/memory.h"
#include "support/reference_decoder.h"

namespace readkit::check_bam_file_test {
namespace {

RecordBuilder at(int pos, const std::string& name = "read") {
  return RecordBuilder(name).at(0, pos).cigar("8M").seq("ACGTACGT").tag("NM", 'C', 0);
}
BamBuilder empty() { return BamBuilder().text("@HD\tVN:1.6\n").ref("chr1", 1000).ref("chr2", 500); }
BamBuilder sample(int records = 3) {
  BamBuilder file = empty();
  for (int i = 0; i < records; ++i) file.record(at(10 * i));
  return file;
}
// Bytes as the content of blocks.
std::string blocks_of(const std::string& content) {
  return BgzfFile().blocks(content, 0xff00).marker().bytes();
}

TEST(BamFile, SoundFilePasses) {
  const CheckResult result = check_bytes(sample().bytes());
  EXPECT_EQ(found(result), Found{});
  EXPECT_EQ(result.kind, "BAM");
  EXPECT_EQ(result.records, 3U);
  EXPECT_EQ(result.blocks, 2U);
  EXPECT_TRUE(result.sorted);
  EXPECT_TRUE(result.end_marker);
}

TEST(BamFile, BlocksMayBeCutAnywhere) {
  for (const std::size_t size : {1U, 3U, 4U, 7U, 35U, 36U, 37U, 100U}) {
    const BamBuilder file = sample(5).block_size(size);
    const CheckResult result = check_bytes(file.bytes());
    EXPECT_EQ(found(result), Found{}) << size;
    EXPECT_EQ(result.records, 5U) << size;
  }
}

TEST(BamFile, FindingsHaveTheOffsetAndTheOrdinalOfTheirRecord) {
  for (const std::size_t size : {20U, 50U, 65280U}) {
    BamBuilder file = sample(4).record(at(50).bin(1)).record(at(60).bin(2));
    file.block_size(size);
    EXPECT_EQ(found(check_bytes(file.bytes())), (Found{finding("Bin", file.record_offset(4), 5),
                                                       finding("Bin", file.record_offset(5), 6)}))
        << size;
  }
}

TEST(BamFile, OrderIsFoundAndIsAFindingWhereTheHeaderStatesIt) {
  const auto unsorted = [](const char* text) {
    return BamBuilder().text(text).ref("chr1", 1000).record(at(9)).record(at(8)).record(at(7));
  };
  const CheckResult result = check_bytes(unsorted("").bytes());
  EXPECT_FALSE(result.sorted);
  EXPECT_EQ(found(result), Found{});
  const BamBuilder stated = unsorted("@HD\tVN:1.6\tSO:coordinate\n");
  EXPECT_EQ(found(check_bytes(stated.bytes())),
            (Found{finding("SortOrder", stated.record_offset(1), 2)}));
  const RecordBuilder unplaced = RecordBuilder("u").flag(4);
  EXPECT_TRUE(check_bytes(sample().record(unplaced).record(unplaced).bytes()).sorted);
  EXPECT_FALSE(check_bytes(sample().record(unplaced).record(at(900)).bytes()).sorted);
}

TEST(BamFile, HeaderIsCheckedAgainstItsText) {
  const BamBuilder file = BamBuilder().text("@SQ\tSN:chr1\tLN:7\n").ref("chr1", 1000);
  EXPECT_EQ(found(check_bytes(file.bytes())), (Found{"HeaderReference 0 0"}));
}

TEST(BamFile, OtherContentIsNoBam) {
  const CheckResult result = check_bytes(BgzfFile().block("@HD\tVN:1.6\n").marker().bytes());
  EXPECT_EQ(found(result), (Found{"HeaderMagic 0 0"}));
  EXPECT_EQ(result.kind, "BGZF");
  EXPECT_EQ(result.blocks, 2U);
  // Its blocks are verified all the same.
  EXPECT_EQ(
      found(check_bytes(BgzfFile().block(BgzfBlock("@HD\tVN:1.6\n").set_crc(1)).marker().bytes())),
      (Found{"BlockCRC 0 0", "HeaderMagic 0 0"}));
}

TEST(BamFile, HeaderCutShortIsFound) {
  const std::string header = empty().header_bytes();
  for (std::size_t size = 0; size < header.size(); ++size) {
    EXPECT_EQ(found(check_bytes(blocks_of(header.substr(0, size)))), (Found{"HeaderTruncated 0 0"}))
        << size;
  }
  EXPECT_EQ(found(check_bytes(blocks_of(header))), Found{});
}

TEST(BamFile, NegativeLengthsOfTheHeaderAreFoundAndRecordsSearched) {
  const std::string header = empty().header_bytes();
  const std::string records = at(5).bytes() + at(6).bytes();
  const std::size_t n_ref = 8 + std::string("@HD\tVN:1.6\n").size();
  for (const std::size_t place : {std::size_t{4}, n_ref, n_ref + 4, n_ref + 13}) {
    std::string damaged = header;
    damaged.replace(place, 4, "\xff\xff\xff\xff");
    const CheckResult result = check_bytes(blocks_of(damaged + records));
    EXPECT_EQ(found(result), (Found{"HeaderLength 0 0", "RecordsLost 0 0"})) << place;
    EXPECT_EQ(result.records, 2U) << place;
  }
}

TEST(BamFile, NoBytesAreLostWhereNoneAreBehindADamagedHeader) {
  std::string damaged = empty().header_bytes();
  damaged.replace(damaged.size() - 4, 4, "\xff\xff\xff\xff");
  EXPECT_EQ(found(check_bytes(blocks_of(damaged))), (Found{"HeaderLength 0 0"}));
  const std::string records = at(5).bytes() + at(6).bytes();
  const CheckResult result =
      check_bytes(BgzfFile().block(damaged).block("").block(records).marker().bytes());
  EXPECT_EQ(found(result), (Found{"HeaderLength 0 0", "RecordsLost 0 0"}));
  EXPECT_EQ(result.records, 2U);
}

TEST(BamFile, ReferenceNameNeedsItsNul) {
  std::string header = empty().header_bytes();
  header[header.find(std::string("chr2\0", 5)) + 4] = 'x';
  EXPECT_EQ(found(check_bytes(blocks_of(header))), (Found{"ReferenceName 0 0"}));
}

TEST(BamFile, RecordCutShortIsFound) {
  const std::string content = sample(1).content();
  const std::string next = at(10).bytes();
  const std::uint64_t offset = virtual_offset(0, content.size());
  for (std::size_t size = 1; size < next.size(); ++size) {
    const CheckResult result = check_bytes(blocks_of(content + next.substr(0, size)));
    EXPECT_EQ(found(result), (Found{finding("RecordTruncated", offset, 2)})) << size;
    EXPECT_EQ(result.records, 1U);
  }
}

TEST(BamFile, RecordWhosePartsDoNotFitIsPassedOver) {
  for (const std::size_t size : {45U, 65280U}) {
    BamBuilder file = sample(2).record(at(30).l_seq(1 << 20)).record(at(40)).record(at(50));
    file.block_size(size);
    const CheckResult result = check_bytes(file.bytes());
    ASSERT_FALSE(result.findings.list().empty());
    EXPECT_EQ(found(result)[0], finding("RecordLayout", file.record_offset(2), 3)) << size;
    if (size != 45) {
      EXPECT_EQ(found(result).size(), 1U);
      EXPECT_EQ(result.records, 5U);
    }
  }
  const BamBuilder last = sample(2).record(at(30).l_seq(-1));
  EXPECT_EQ(found(check_bytes(last.bytes())),
            (Found{finding("RecordLayout", last.record_offset(2), 3)}));
}

TEST(BamFile, BehindALengthThatCannotBeTheNextRecordIsSearched) {
  for (const int length : {-1, 5, 0x7fffffff}) {
    const BamBuilder file = sample(2).record(at(30).block_size(length)).record(at(40));
    const CheckResult result = check_bytes(file.bytes());
    EXPECT_EQ(found(result), (Found{finding("RecordLayout", file.record_offset(2), 3),
                                    finding("RecordsLost", file.record_offset(2))}))
        << length;
    EXPECT_EQ(result.records, 4U) << length;
  }
}

TEST(BamFile, BlockThatIsLostCostsItsRecordsOnly) {
  BamBuilder file = sample(6).one_block_each();
  std::string bytes = file.bytes();
  const std::uint64_t lost = file.record_offset(2);
  bytes[(lost >> 16) + 18] = 0x07;  // a kind of compressed data that does not exist
  const CheckResult result = check_bytes(bytes);
  EXPECT_EQ(found(result), (Found{finding("BlockData", lost), finding("RecordsLost", lost)}));
  EXPECT_EQ(result.records, 5U);
  EXPECT_EQ(result.blocks, 8U);
  EXPECT_EQ(result.findings.list()[1].text, "no record can be made out up to virtual offset " +
                                                std::to_string(file.record_offset(3)));
}

TEST(BamFile, RecordsThatReachIntoALostBlockAreLost) {
  BamBuilder file = sample(40).block_size(200);
  std::string bytes = file.bytes();
  const std::uint64_t third = file.record_offset(10) >> 16;
  bytes[third + 18] = 0x07;
  const CheckResult result = check_bytes(bytes);
  const Found all = found(result);
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0], finding("BlockData", third << 16));
  EXPECT_EQ(all[1].substr(0, 11), "RecordsLost");
  EXPECT_GE(result.records, 40U - 8);
  EXPECT_LT(result.records, 40U);
}

TEST(BamFile, LostBlockAtTheEndIsALostSpan) {
  BamBuilder file = sample(2).one_block_each();
  std::string bytes = file.bytes();
  const std::uint64_t lost = file.record_offset(1);
  bytes[(lost >> 16) + 18] = 0x07;
  EXPECT_EQ(found(check_bytes(bytes)),
            (Found{finding("BlockData", lost), finding("RecordsLost", lost)}));
}

TEST(BamFile, FirstBlockThatIsLostTakesTheHeader) {
  std::string bytes = sample(4).one_block_each().bytes();
  bytes[18] = 0x07;
  const CheckResult result = check_bytes(bytes);
  EXPECT_EQ(found(result), (Found{"BlockData 0 0", "HeaderTruncated 0 0", "RecordsLost 0 0"}));
  EXPECT_EQ(result.kind, "BAM");
  EXPECT_EQ(result.records, 4U);
}

TEST(BamFile, EveryTruncationIsFound) {
  const std::string bytes = sample(3).block_size(60).bytes();
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    const CheckResult result = check_bytes(bytes.substr(0, size));
    EXPECT_GE(result.findings.count(), 1U) << size;
    EXPECT_FALSE(result.end_marker) << size;
  }
}

// A bit that means nothing, in the compressed data of which another reader makes the same bytes, is
// no damage.
TEST(BamFile, EveryFlippedBitThatChangesTheDataIsFound) {
  const std::string bytes = sample(2).bytes();
  const std::string data = decode_bgzf(bytes);
  int without_meaning = 0;
  const std::size_t end = bytes.size() - 28;
  for (std::size_t bit = 16 * 8; bit < end * 8; ++bit) {
    std::string flipped = bytes;
    flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ 1 << bit % 8);
    if (check_bytes(flipped).findings.count() != 0) continue;
    EXPECT_EQ(decode_bgzf(flipped), data) << bit;
    ++without_meaning;
  }
  EXPECT_LT(without_meaning, 16);
}

TEST(BamFile, ClaimsTakeNoMemory) {
  const std::string header = empty().header_bytes();
  std::string much_text = header;
  much_text.replace(4, 4, "\xff\xff\xff\x7f");
  std::string many_references = header;
  many_references.replace(8 + 11, 4, "\xff\xff\xff\x7f");
  const std::string record = at(5).block_size(1 << 28).bytes();
  const std::size_t growth = memory_growth([&] {
    EXPECT_EQ(found(check_bytes(blocks_of(much_text))), (Found{"HeaderTruncated 0 0"}));
    EXPECT_EQ(found(check_bytes(blocks_of(many_references))), (Found{"HeaderTruncated 0 0"}));
    EXPECT_EQ(found(check_bytes(blocks_of(header + record))),
              (Found{finding("RecordTruncated", virtual_offset(0, header.size()), 1)}));
  });
  EXPECT_LT(growth, kMuchMemory);
}

}  // namespace
}  // namespace readkit::check_bam_file_test
