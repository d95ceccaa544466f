// The check of a file of any kind.
#include "check/check.h"

#include <filesystem>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "support/bam_builder.h"
#include "support/bgzf_builder.h"
#include "support/check_words.h"
#include "support/expect_kind.h"
#include "support/samtools.h"
#include "support/test_data.h"

namespace readkit::check_check_test {
namespace {

TEST(CheckFile, KindIsThatOfTheContent) {
  EXPECT_EQ(check_bytes(BamBuilder().bytes()).kind, "BAM");
  EXPECT_EQ(check_bytes(BgzfFile().block("text").marker().bytes()).kind, "BGZF");
  EXPECT_EQ(check_bytes("@HD\tVN:1.6\n").kind, "SAM");
  EXPECT_EQ(check_bytes("@r\nA\n+\nI\n").kind, "FASTQ");
  const CheckResult index = check_bytes("BAI\1" + little_endian(0, 4) + little_endian(7, 8));
  EXPECT_EQ(index.kind, "BAI");
  EXPECT_EQ(index.records, 7U);
  EXPECT_TRUE(index.end_marker);
  EXPECT_EQ(found(index), Found{});
}

TEST(CheckFile, WhatIsOfNoKnownKindIsAFinding) {
  for (const std::string& bytes :
       {std::string(), std::string("\x1f\x8b\x08 gzip"), std::string(">chr1\nACGT\n")}) {
    const CheckResult result = check_bytes(bytes);
    EXPECT_EQ(result.kind, "unknown");
    EXPECT_EQ(found(result), (Found{"UnknownKind 0 0"}));
  }
}

TEST(CheckFile, WhatCannotBeReadIsAFinding) {
  const TempDir folder;
  std::filesystem::create_directory(folder.native("folder"));
  EXPECT_EQ(found(check_file(folder.path("folder"), nullptr)), (Found{"ReadFailed 0 0"}));
}

TEST(CheckFile, WhatCannotBeOpenedRaisesFileNotFound) {
  const TempDir folder;
  const Path file = folder.write("a.bam", BamBuilder().bytes());
  const Path none = folder.path("none");
  EXPECT_KIND(check_file(none, nullptr), FileNotFound, none);
  EXPECT_KIND(check_file(file, &none), FileNotFound, none);
}

TEST(CheckFile, IndexOfAnotherKindOfFileIsCheckedByItself) {
  EXPECT_EQ(found(check_bytes("@HD\tVN:1.6\n", "text")), (Found{"IndexMagic 0 0"}));
}

// Whatever bytes come in, a result comes out.
TEST(CheckFile, DamageOfAnyKindGivesAResult) {
  BamBuilder file = BamBuilder().text("@HD\tVN:1.6\n").ref("chr1", 100000).block_size(150);
  for (int i = 0; i < 20; ++i) {
    file.record(RecordBuilder("r").at(0, i).cigar("4M").seq("ACGT").tag_array("XB", 's', {1, 2}));
  }
  const std::string texts[] = {file.bytes(), file.content(),
                               "@SQ\tSN:a\tLN:5\nr\t0\ta\t1\t0\t1M\t*\t0\t0\tA\tI\tNM:i:1\n",
                               "@r\nA\n+\nI\n@s\nA\n+\nI\n"};
  std::mt19937 random(20);  // the same files on every run
  for (int i = 0; i < 400; ++i) {
    std::string bytes = texts[i % 4];
    for (int flips = i % 7 + 1; flips > 0; --flips) {
      bytes[random() % bytes.size()] = static_cast<char>(random());
    }
    if (i % 4 == 1) bytes = BgzfFile().blocks(bytes, 150).marker().bytes();
    const CheckResult result = check_bytes(bytes);
    EXPECT_LE(result.records, bytes.size());
    EXPECT_GE(result.findings.count(), result.findings.list().size());
  }
}

// Real files: blocks, records and marker are those that other means find, and no record of a sound
// file has a finding of these kinds. What is found in them beside these is there.
TEST(CheckFile, RealBamFilesHaveAllTheirBlocksAndRecords) {
  SKIP_WITHOUT_TEST_DATA();
  int with_index = 0;
  for (const std::string& name : bam_files()) {
    const Path index = to_path(index_beside(name));
    with_index += index.text().empty() ? 0 : 1;
    const CheckResult result = check_file(to_path(name), index.text().empty() ? nullptr : &index);
    SCOPED_TRACE(name);
    EXPECT_EQ(result.kind, "BAM");
    EXPECT_EQ(result.records, std::stoull(samtools({"view", "-c", name}).at(0)));
    EXPECT_EQ(result.end_marker, has_end_marker(read_file(name)));
    EXPECT_EQ(result.findings.count(FindingKind::kEndMarker), result.end_marker ? 0U : 1U);
    for (const FindingKind kind :
         {FindingKind::kBlockHeader, FindingKind::kBlockData, FindingKind::kBlockCRC,
          FindingKind::kBlockLength, FindingKind::kRecordLayout, FindingKind::kRecordsLost,
          FindingKind::kRecordTruncated, FindingKind::kCigarLength, FindingKind::kReference,
          FindingKind::kMateReference, FindingKind::kQuality, FindingKind::kHeaderReference,
          FindingKind::kIndexRecord, FindingKind::kIndexReferences}) {
      EXPECT_EQ(result.findings.count(kind), 0U) << finding_identifier(kind);
    }
  }
  EXPECT_GT(with_index, 0);
}

}  // namespace
}  // namespace readkit::check_check_test
