// Records against an index.
#include "check/index_checks.h"

#include <string>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/bam_builder.h"
#include "support/bgzf_builder.h"
#include "support/check_words.h"
#include "support/expect_kind.h"

namespace readkit::check_index_checks_test {
namespace {

std::string number(std::uint64_t value, std::size_t size = 4) { return little_endian(value, size); }
std::string chunk(std::uint64_t beg, std::uint64_t end) { return number(beg, 8) + number(end, 8); }

// Three records in the windows 0, 0 to 1, and 3, and one without a reference.
BamBuilder sample() {
  const auto at = [](int pos) {
    return RecordBuilder("r").at(0, pos).cigar("100M").seq(std::string(100, 'A'));
  };
  return BamBuilder()
      .ref("chr1", 100000)
      .record(at(5))
      .record(at(16350))
      .record(at(49200).flag(16))
      .record(RecordBuilder("none").flag(4).seq("ACGT"));
}
std::uint64_t offset(std::size_t n) { return sample().record_offset(n); }

struct Parts {
  std::string first = chunk(offset(0), offset(1));   // of bin 4681
  std::string across = chunk(offset(1), offset(2));  // of bin 585
  std::string third = chunk(offset(2), offset(3));   // of bin 4684
  std::uint64_t mapped = 3;
  std::uint64_t unmapped = 0;
  std::uint64_t without = 1;
  std::uint64_t window3 = offset(2);
  std::uint64_t references = 1;
  std::uint64_t chunks_of_third = 1;

  std::string bytes() const {
    std::string all = "BAI\1" + number(references) + number(4);
    all += number(4681) + number(1) + first + number(585) + number(1) + across;
    all += number(4684) + number(chunks_of_third) + third;
    all += number(37450) + number(2) + chunk(offset(0), offset(3)) + chunk(mapped, unmapped);
    all += number(4) + number(offset(0), 8) + number(offset(1), 8) + number(offset(1), 8) +
           number(window3, 8);
    for (std::uint64_t more = 1; more < references; ++more) all += number(0, 8);
    return all + number(without, 8);
  }
};

Found found_with(const Parts& parts) { return found(check_bytes(sample().bytes(), parts.bytes())); }

TEST(IndexChecks, EveryRecordIsFoundThroughASoundIndex) { EXPECT_EQ(found_with({}), Found{}); }

TEST(IndexChecks, RecordOutsideOfTheChunksOfItsBinsIsFound) {
  Parts parts;
  parts.first = chunk(offset(1), offset(2));
  EXPECT_EQ(found_with(parts), (Found{finding("IndexRecord", offset(0), 1)}));
  parts = {};
  parts.third = chunk(0, offset(0));
  EXPECT_EQ(found_with(parts), (Found{finding("IndexRecord", offset(2), 3), "IndexChunk 0 0"}));
}

// The check found nothing, since the chunk has the record in it; a query through it found nothing
// either, since it took the bytes at the chunk's begin for a record.
TEST(IndexChecks, ChunkThatBeginsInsideARecordIsFound) {
  Parts parts;
  parts.third = chunk(offset(2) - 7, offset(3));
  EXPECT_EQ(found_with(parts), Found{"IndexChunk 0 0"});
  parts.third = chunk(offset(2) - 7, offset(2) - 7) + chunk(offset(2), offset(3));
  parts.chunks_of_third = 2;
  EXPECT_EQ(found_with(parts), Found{});  // without anything in it
}

// With another record behind the end of a block, its begin may be told as that end.
TEST(IndexChecks, EndOfABlockIsTheBeginOfTheNextOne) {
  const BamBuilder file = BamBuilder()
                              .ref("chr1", 1000)
                              .record(RecordBuilder("a").at(0, 40).cigar("4M").seq("ACGT"))
                              .record(RecordBuilder("b").at(0, 50).cigar("4M").seq("ACGT"))
                              .one_block_each();
  const std::uint64_t first = file.record_offset(0);
  const std::uint64_t size = RecordBuilder("a").at(0, 40).cigar("4M").seq("ACGT").bytes().size();
  const auto found_at = [&](std::uint64_t begin) {
    return found(check_bytes(file.bytes(), "BAI\1" + number(1) + number(1) + number(4681) +
                                               number(2) + chunk(first, first + size) +
                                               chunk(begin, file.record_offset(2)) + number(0)));
  };
  EXPECT_EQ(found_at(first + size), Found{});
  EXPECT_EQ(found_at(file.record_offset(1)), Found{});
  EXPECT_EQ(found_at(file.record_offset(1) - (1 << 16)).back(), "IndexChunk 0 0");
}

TEST(IndexChecks, RecordBeforeTheLinearIndexIsFound) {
  Parts parts;
  parts.window3 = offset(3) + (1 << 20);
  EXPECT_EQ(found_with(parts), (Found{finding("IndexRecord", offset(2), 3)}));
}

TEST(IndexChecks, CountsAreThoseOfTheFile) {
  Parts parts;
  parts.mapped = 4;
  EXPECT_EQ(found_with(parts), (Found{"IndexCount 0 0"}));
  parts = {};
  parts.unmapped = 1;
  EXPECT_EQ(found_with(parts), (Found{"IndexCount 0 0"}));
  parts = {};
  parts.without = 0;
  EXPECT_EQ(found_with(parts), (Found{"IndexCount 0 0"}));
}

TEST(IndexChecks, CountsOfAnotherKindOfPseudoBinAreNotCompared) {
  Parts parts;
  parts.mapped = 4;
  std::string bytes = parts.bytes();
  const std::size_t at = bytes.find(number(37450) + number(2));
  ASSERT_NE(at, std::string::npos);
  bytes.replace(at + 4, 4, number(1)).erase(at + 8, 16);
  EXPECT_EQ(found(check_bytes(sample().bytes(), bytes)), (Found{finding("IndexMetadata", at + 4)}));
}

TEST(IndexChecks, ReferencesAreAsManyAsThoseOfTheHeader) {
  Parts parts;
  parts.references = 3;
  EXPECT_EQ(found_with(parts), (Found{"IndexReferences 0 0"}));
}

TEST(IndexChecks, IndexOfNoReferenceFindsNothing) {
  EXPECT_EQ(found(check_bytes(sample().bytes(), "BAI\1" + number(0) + number(1, 8))),
            (Found{finding("IndexRecord", offset(0), 1), finding("IndexRecord", offset(1), 2),
                   finding("IndexRecord", offset(2), 3), "IndexReferences 0 0"}));
}

TEST(IndexChecks, DamagedIndexIsNotAsked) {
  const std::string cut = Parts().bytes().substr(0, 40);
  EXPECT_EQ(found(check_bytes(sample().bytes(), cut)), (Found{"IndexTruncated 40 0"}));
  EXPECT_EQ(found(check_bytes(sample().bytes(), "text")), (Found{"IndexMagic 0 0"}));
}

TEST(IndexChecks, BehindADamagedHeaderRecordsAreLookedForAllTheSame) {
  std::string content = sample().content();
  content.replace(4, 4, "\xff\xff\xff\xff");
  const std::string file = BgzfFile().block(content).marker().bytes();
  const Found damage = {"HeaderLength 0 0", "RecordsLost 0 0"};
  Parts parts;
  parts.references = 3;  // as many as the header had cannot be told
  EXPECT_EQ(found(check_bytes(file, parts.bytes())), damage);
  parts.third = chunk(0, offset(0));
  EXPECT_EQ(found(check_bytes(file, parts.bytes())),
            (Found{damage[0], damage[1], finding("IndexRecord", offset(2), 3)}));
}

TEST(IndexChecks, RecordWithoutAPositionIsNotLookedFor) {
  const std::string nothing = "BAI\1" + number(1) + number(0) + number(0);
  const auto found_at = [&](int pos) {
    const BamBuilder file =
        BamBuilder().ref("chr1", 1000).record(RecordBuilder("r").at(0, pos).flag(4).seq("ACGT"));
    return found(check_bytes(file.bytes(), nothing));
  };
  EXPECT_EQ(found_at(-1), Found{});
  ASSERT_EQ(found_at(0).size(), 1U);
  EXPECT_TRUE(found_at(0)[0].starts_with("IndexRecord"));
}

// What was found for one region is kept for others of the same windows only.
TEST(IndexChecks, RegionsThatBeginAlikeAndEndElsewhereAreLookedForEach) {
  const std::uint64_t first = std::uint64_t{1} << 16;
  const std::uint64_t second = std::uint64_t{2} << 16;
  const TempDir folder;
  // The second record's window 1 leads to it, and the first does not have that.
  const Path path = folder.write("a.bai", "BAI\1" + number(1) + number(2) + number(4681) +
                                              number(1) + chunk(first, first + 9) + number(4682) +
                                              number(1) + chunk(second, second + 9) + number(0));
  Findings findings;
  IndexChecks checks(path, findings);
  const auto check = [&](const char* cigar, std::uint64_t offset) {
    checks.check(RecordBuilder("r").at(0, 5).cigar(cigar).seq("AA").record(), offset, 1);
  };
  check("2M", first);
  check("1M1048576N1M", second);  // 64 windows more
  EXPECT_EQ(found(findings), Found{});
  check("2M", second);
  EXPECT_EQ(found(findings), Found{finding("IndexRecord", second, 1)});
}

TEST(IndexChecks, BinMayHaveAnyNumberOfChunks) {
  constexpr std::uint64_t kChunks = (std::uint64_t{1} << 16) + 1;
  const auto place = [](std::uint64_t n) { return (2 * n + 1) << 16; };  // too far off to merge
  std::string index = "BAI\1" + number(1) + number(1) + number(4681) + number(kChunks);
  for (std::uint64_t n = 0; n < kChunks; ++n) index += chunk(place(n), place(n) + 9);
  const TempDir folder;
  const Path path = folder.write("a.bai", index + number(0));
  Findings findings;
  IndexChecks checks(path, findings);
  const auto check = [&](std::uint64_t offset) {
    checks.check(RecordBuilder("r").at(0, 5).cigar("1M").seq("A").record(), offset, 1);
  };
  check(place(0));
  check(place(kChunks - 1));
  EXPECT_EQ(found(findings), Found{});
  check(place(kChunks));
  EXPECT_EQ(found(findings), Found{finding("IndexRecord", place(kChunks), 1)});
}

TEST(IndexChecks, FileThatIsNotSortedIsFound) {
  const BamBuilder file = BamBuilder()
                              .ref("chr1", 1000)
                              .record(RecordBuilder("a").at(0, 50).cigar("4M").seq("ACGT"))
                              .record(RecordBuilder("b").at(0, 40).cigar("4M").seq("ACGT"));
  const std::string index = "BAI\1" + number(1) + number(1) + number(4681) + number(1) +
                            chunk(file.record_offset(0), file.record_offset(2)) + number(0);
  EXPECT_EQ(found(check_bytes(file.bytes(), index)),
            (Found{finding("SortOrder", file.record_offset(1), 2)}));
  EXPECT_EQ(found(check_bytes(file.bytes())), Found{});
}

TEST(IndexChecks, CountsOfADamagedFileAreNotCompared) {
  std::string bytes = sample().one_block_each().bytes();
  const TempDir folder;
  const Path good = folder.write("a.bam", bytes);
  BAM bam(good);
  bam.build_index();
  bam.save_index(folder.path("a.bai"));
  bytes[(sample().one_block_each().record_offset(1) >> 16) + 18] ^= 0x06;  // not a kind of block
  const Found damaged = found(check_bytes(bytes, folder.read("a.bai")));
  ASSERT_FALSE(damaged.empty());
  for (const std::string& one : damaged) EXPECT_NE(one, "IndexCount 0 0");
}

TEST(IndexChecks, IndexThatTakesTooLongIsNotAskedAnyFurther) {
  const TempDir folder;
  const Path path = folder.write("a.bai", Parts().bytes());
  Findings findings;
  IndexChecks checks(path, findings, 0);
  const auto at = [](int pos) {
    return RecordBuilder("r").at(0, pos).cigar("6000000M").seq("A").record();
  };
  checks.check(at(5), offset(0), 1);  // takes some steps
  checks.check(at(16350), offset(0), 2);
  checks.check(at(33000), offset(0), 3);
  checks.check(at(49200), offset(0), 4);
  const Found all = found(findings);
  EXPECT_EQ(findings.count(FindingKind::kIndexEffort), 1U);
  EXPECT_EQ(all.back().substr(0, 11), "IndexEffort");
}

TEST(IndexChecks, MissingIndexRaisesFileNotFound) {
  const TempDir folder;
  Findings findings;
  EXPECT_KIND(IndexChecks(folder.path("none.bai"), findings), FileNotFound,
              folder.text("none.bai"));
}

}  // namespace
}  // namespace readkit::check_index_checks_test
