// Building an index: the order of records, bins, metadata, windows. Folding has a file of its own.
#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bai.h"
#include "bam/bam.h"
#include "support/expect_kind.h"
#include "support/random_data.h"
#include "support/record_builder.h"
#include "support/reference_decoder.h"

namespace readkit::bam_bai_build_test {
namespace {

using Pairs = std::vector<std::pair<std::uint64_t, std::uint64_t>>;
using Windows = std::vector<std::uint64_t>;

// Records are given one by one; each lies in a compressed block of its own, far away from the one
// before, so that nothing is folded. The n-th record, from 0, begins at `offset(n)`.
class BaiBuild : public testing::Test {
 protected:
  static std::uint64_t offset(std::uint64_t n) { return (n + 1) * 100000 << 16; }

  BaiBuild() { index_.init(offset(0)); }

  void add(const RecordBuilder& record) { index_.add(record.record(), offset(++count_)); }
  void finish() { EXPECT_TRUE(index_.finish(offset(count_))); }

  const RefIndex& ref(std::size_t id) const { return index_.refs().at(id); }
  Pairs chunks(std::size_t id, std::uint32_t bin) const {
    Pairs pairs;
    for (const Chunk& chunk : ref(id).bins.at(bin).chunks) pairs.emplace_back(chunk.beg, chunk.end);
    return pairs;
  }
  std::vector<std::uint32_t> bins(std::size_t id) const {
    std::map<std::uint32_t, int> numbers;
    for (const auto& [number, bin] : ref(id).bins) {
      numbers[number];
      EXPECT_EQ(bin.bin, number);
      EXPECT_EQ(bin.n_chunk, static_cast<int>(bin.chunks.size()));
    }
    EXPECT_EQ(ref(id).n_bin, static_cast<int>(numbers.size()));
    std::vector<std::uint32_t> all;
    for (const auto& [number, unused] : numbers) all.push_back(number);
    return all;
  }
  // The windows in use.
  Windows windows(std::size_t id) const {
    const Windows& all = ref(id).linear;
    return {all.begin(), all.begin() + ref(id).n_intv};
  }

  BAI index_;
  std::uint64_t count_ = 0;
};

RecordBuilder placed(int ref, int pos, int bases = 5) {
  const std::string letters(static_cast<std::size_t>(bases), 'A');
  RecordBuilder record("read");
  record.at(ref, pos).seq(letters);
  return bases > 0 ? record.cigar(std::to_string(bases) + "M") : record;
}
RecordBuilder unmapped(int ref, int pos) { return placed(ref, pos).flag(4).cigar("*"); }
RecordBuilder unplaced() { return RecordBuilder("nowhere").flag(4).seq("ACGT"); }

// ---- The binning scheme ------------------------------------------------------------------------

using BinNumbers = std::vector<std::uint32_t>;

TEST(BinningScheme, SmallestBinThatHoldsAnInterval) {
  EXPECT_EQ(BAM::reg2bin(0, 1), 4681);
  EXPECT_EQ(BAM::reg2bin(0, 16384), 4681);
  EXPECT_EQ(BAM::reg2bin(0, 16385), 585);
  EXPECT_EQ(BAM::reg2bin(0, 536870912), 0);
  EXPECT_EQ(BAM::reg2bin(536870911, 536870912), 37448);
}

TEST(BinningScheme, EmptyIntervalEndsBeforeItBegins) {
  EXPECT_EQ(BAM::reg2bin(100, 100), 4681);
  EXPECT_EQ(BAM::reg2bin(16384, 16384), 585);
  EXPECT_EQ(BAM::reg2bin(67108864, 67108864), 0);
}

TEST(BinningScheme, BinsThatMayOverlapAnInterval) {
  EXPECT_EQ(BAM::reg2bins(0, 1), (BinNumbers{0, 1, 9, 73, 585, 4681}));
  EXPECT_EQ(BAM::reg2bins(16383, 16385), (BinNumbers{0, 1, 9, 73, 585, 4681, 4682}));
}

TEST(BinningScheme, EndBeyondTwoToThe29IsClamped) {
  EXPECT_EQ(BAM::reg2bins(536870911, 2147483647), BAM::reg2bins(536870911, 536870912));
  EXPECT_EQ(BAM::reg2bins(0, 2147483647).size(), 37449U);
}

TEST(BinningScheme, BeginIsNotClamped) {
  EXPECT_EQ(BAM::reg2bins(-1, 1), (BinNumbers{0, 0, 1, 8, 9, 72, 73, 584, 585, 4680, 4681}));
  EXPECT_EQ(BAM::reg2bins(536870912, 536870913), (BinNumbers{0}));
}

TEST(BinningScheme, RandomIntervalsHaveTheBinsThatTryingAllFinds) {
  Random random(40);
  for (int round = 0; round < 200; ++round) {
    const auto beg = static_cast<int>(random_number(random, 0, 536870911));
    const std::int64_t length =
        random_number(random, 1, std::int64_t{1} << random_number(random, 1, 29));
    const auto end = static_cast<int>(std::min(beg + length, std::int64_t{536870912}));
    EXPECT_EQ(BAM::reg2bin(beg, end), slow_bin(beg, end));
    EXPECT_EQ(BAM::reg2bins(beg, end), slow_bins(beg, end));
  }
}

TEST(BinningScheme, FirstBinsOfTheLevelsAndParents) {
  const std::vector<int> first_bins = {0, 1, 9, 73, 585, 4681};
  for (int level = 0; level <= 5; ++level) {
    EXPECT_EQ(BAM::first_bin(level), first_bins[static_cast<std::size_t>(level)]);
  }
  EXPECT_EQ(BAM::parent_bin(4681), 585);
  EXPECT_EQ(BAM::parent_bin(4689), 586);
  EXPECT_EQ(BAM::parent_bin(1), 0);
  EXPECT_EQ(BAM::parent_bin(8), 0);
  EXPECT_EQ(BAM::parent_bin(0), -1);
}

// ---- Order -------------------------------------------------------------------------------------

TEST_F(BaiBuild, WithoutRecordsHasNoReferences) {
  finish();
  EXPECT_EQ(index_.get_num_refs(), 0);
  EXPECT_TRUE(index_.refs().empty());
  EXPECT_TRUE(index_.finished());
}

TEST_F(BaiBuild, LowerPositionOnOneReferenceRaisesBamUnsorted) {
  add(placed(0, 10));
  add(placed(0, 10));
  add(placed(0, 11));
  EXPECT_KIND(add(placed(0, 10)), BAMUnsorted);
}

TEST_F(BaiBuild, PositionsStartAnewOnEachReference) {
  add(placed(0, 10));
  EXPECT_NO_THROW(add(placed(1, 0)));
}

TEST_F(BaiBuild, LowerReferenceRaisesBamUnsorted) {
  add(placed(2, 10));
  EXPECT_KIND(add(placed(1, 10)), BAMUnsorted);
}

TEST_F(BaiBuild, ChangeBackToReferenceZeroIsAccepted) {
  add(placed(0, 10));
  add(placed(2, 10));
  add(placed(0, 5));
  finish();
  EXPECT_EQ(index_.get_num_refs(), 3);
  EXPECT_EQ(chunks(0, 4681), (Pairs{{offset(0), offset(1)}, {offset(2), offset(3)}}));
  EXPECT_EQ(chunks(0, kMetadataBin),
            (Pairs{{offset(0), offset(1)}, {1, 0}, {offset(2), offset(3)}, {1, 0}}));
  EXPECT_EQ(chunks(2, kMetadataBin), (Pairs{{offset(1), offset(2)}, {1, 0}}));
}

TEST_F(BaiBuild, PlacedRecordAfterUnplacedRaisesBamUnsorted) {
  add(placed(1, 10));
  add(unplaced());
  EXPECT_KIND(add(placed(2, 10)), BAMUnsorted);
}

TEST_F(BaiBuild, ReferenceZeroAfterUnplacedRaisesBamUnsortedToo) {
  add(unplaced());
  EXPECT_KIND(add(placed(0, 10)), BAMUnsorted);
}

TEST_F(BaiBuild, MappedRecordBeforePositionZeroCountsAsAtZeroForTheOrder) {
  add(placed(0, -1));
  EXPECT_KIND(add(placed(0, -1)), BAMUnsorted);
}

TEST_F(BaiBuild, UnmappedRecordsBeforePositionZeroKeepTheirPositionForTheOrder) {
  add(unmapped(0, -1));
  add(unmapped(0, -1));
  add(placed(0, -1));
  add(placed(0, 0));
  finish();
  EXPECT_EQ(chunks(0, kMetadataBin), (Pairs{{offset(0), offset(4)}, {2, 2}}));
}

// ---- Limits ----------------------------------------------------------------------------------

TEST_F(BaiBuild, EndAtTwoToThe29RaisesPositionTooBigWithTheName) {
  EXPECT_KIND(add(placed(0, 536870911, 1)), PositionTooBig, u"read");
}

TEST_F(BaiBuild, LastPositionWithoutBasesIsAccepted) {
  add(placed(0, 536870911, 0));
  finish();
  EXPECT_EQ(ref(0).n_intv, 32768);
}

TEST_F(BaiBuild, EndJustBelowTwoToThe29IsAccepted) {
  add(placed(0, 536870910, 1));
  finish();
  EXPECT_EQ(ref(0).n_intv, 32768);
  EXPECT_EQ(ref(0).linear[32767], offset(0));
}

TEST_F(BaiBuild, PositionAtTwoToThe29RaisesPositionTooBig) {
  EXPECT_KIND(add(placed(0, 536870912, 0)), PositionTooBig, u"read");
  EXPECT_KIND(add(placed(0, 2147483647, 5)), PositionTooBig, u"read");
}

TEST_F(BaiBuild, UnmappedPlacedRecordsAreLimitedToo) {
  EXPECT_KIND(add(unmapped(0, 536870911)), PositionTooBig, u"read");
}

TEST_F(BaiBuild, UnplacedRecordsMayClaimAnyPosition) {
  EXPECT_NO_THROW(add(unplaced().at(-1, 2147483647)));
}

TEST_F(BaiBuild, PositionIsCheckedBeforeTheOrder) {
  add(placed(3, 10));
  EXPECT_KIND(add(placed(1, 536870912)), PositionTooBig, u"read");
}

// ---- Bins ------------------------------------------------------------------------------------

TEST_F(BaiBuild, StoredBinIsTakenAsItIs) {
  add(placed(0, 10).bin(600));
  finish();
  EXPECT_EQ(bins(0), (std::vector<std::uint32_t>{600, kMetadataBin}));
}

TEST_F(BaiBuild, NeighboursOfOneBinShareAChunk) {
  add(placed(0, 10));
  add(placed(0, 20));
  add(placed(0, 20000));
  add(placed(0, 20001));
  finish();
  EXPECT_EQ(chunks(0, 4681), (Pairs{{offset(0), offset(2)}}));
  EXPECT_EQ(chunks(0, 4682), (Pairs{{offset(2), offset(4)}}));
}

TEST_F(BaiBuild, BinThatComesBackGetsAnotherChunk) {
  add(placed(0, 10).bin(4681));
  add(placed(0, 20).bin(4682));
  add(placed(0, 30).bin(4681));
  finish();
  EXPECT_EQ(chunks(0, 4681), (Pairs{{offset(0), offset(1)}, {offset(2), offset(3)}}));
}

TEST_F(BaiBuild, SameBinOnTheNextReferenceIsAnotherBin) {
  add(placed(0, 10));
  add(placed(1, 10));
  finish();
  EXPECT_EQ(chunks(0, 4681), (Pairs{{offset(0), offset(1)}}));
  EXPECT_EQ(chunks(1, 4681), (Pairs{{offset(1), offset(2)}}));
}

TEST_F(BaiBuild, ReferencesWithoutRecordsAreEmpty) {
  add(placed(1, 10));
  add(placed(3, 10));
  finish();
  EXPECT_EQ(index_.get_num_refs(), 4);
  EXPECT_EQ(bins(0), std::vector<std::uint32_t>{});
  EXPECT_EQ(bins(2), std::vector<std::uint32_t>{});
  EXPECT_EQ(ref(2).n_intv, 0);
}

TEST_F(BaiBuild, PseudoBinHoldsOffsetsAndCounts) {
  add(placed(0, 10));
  add(unmapped(0, 10));
  add(placed(0, 20000));
  add(placed(1, 10));
  add(unplaced());
  finish();
  EXPECT_EQ(chunks(0, kMetadataBin), (Pairs{{offset(0), offset(3)}, {2, 1}}));
  EXPECT_EQ(chunks(1, kMetadataBin), (Pairs{{offset(3), offset(4)}, {1, 0}}));
  EXPECT_EQ(index_.n_no_coor(), 1U);
}

TEST_F(BaiBuild, UnplacedRecordsAreOnlyCounted) {
  add(unplaced().bin(4680));
  add(unplaced().bin(7));
  add(unplaced().bin(7));
  finish();
  EXPECT_EQ(index_.n_no_coor(), 3U);
  EXPECT_EQ(index_.get_num_refs(), 0);
}

TEST_F(BaiBuild, UnplacedRecordsOfDifferentBinsDoNotTouchTheLastReference) {
  add(placed(0, 10));
  add(unplaced().bin(4681));
  add(unplaced().bin(7));
  add(unplaced().bin(8));
  finish();
  EXPECT_EQ(bins(0), (std::vector<std::uint32_t>{4681, kMetadataBin}));
  EXPECT_EQ(chunks(0, 4681), (Pairs{{offset(0), offset(1)}}));
  EXPECT_EQ(chunks(0, kMetadataBin), (Pairs{{offset(0), offset(1)}, {1, 0}}));
  EXPECT_EQ(index_.n_no_coor(), 3U);
}

TEST_F(BaiBuild, ReferenceBelowMinusOneCountsAsNone) {
  add(placed(0, 10));
  add(RecordBuilder().at(-5, 3));
  add(RecordBuilder().at(-2147483647 - 1, 0));
  finish();
  EXPECT_EQ(index_.n_no_coor(), 2U);
  EXPECT_EQ(index_.get_num_refs(), 1);
}

// ---- Windows ---------------------------------------------------------------------------------

TEST_F(BaiBuild, UnmappedPlacedRecordsGetBinsButNoWindows) {
  add(unmapped(0, 10));
  add(unmapped(0, 20000));
  finish();
  EXPECT_EQ(bins(0), (std::vector<std::uint32_t>{4681, 4682, kMetadataBin}));
  EXPECT_EQ(ref(0).n_intv, 0);
  EXPECT_EQ(chunks(0, kMetadataBin), (Pairs{{offset(0), offset(2)}, {0, 2}}));
}

TEST_F(BaiBuild, OnlyRecordsThatMakeTheIndexGrowFillWindows) {
  add(placed(0, 0));          // the array grows to 1 window
  add(placed(0, 16384));      // to 2
  add(placed(0, 2 * 16384));  // to 4, of which the last one stays unset
  add(placed(0, 3 * 16384));  // lies within it, and leaves it so
  add(placed(0, 4 * 16384));  // to 8
  finish();
  EXPECT_EQ(windows(0), (Windows{offset(0), offset(1), offset(2), 0, offset(4)}));
  EXPECT_EQ(ref(0).linear.size(), 8U);
}

TEST_F(BaiBuild, RecordFillsEveryUnsetWindowThatItsBasesTouch) {
  add(placed(0, 100, 3 * 16384));
  add(placed(0, 2 * 16384, 5 * 16384));
  finish();
  EXPECT_EQ(windows(0),
            (Windows{offset(0), offset(0), offset(0), offset(0), offset(1), offset(1), offset(1)}));
}

TEST_F(BaiBuild, WindowsBeforeTheFirstRecordStayZero) {
  add(placed(0, 3 * 16384));
  finish();
  EXPECT_EQ(windows(0), (Windows{0, 0, 0, offset(0)}));
}

TEST_F(BaiBuild, ExtentIsTheSequenceLengthNotTheCigar) {
  add(placed(0, 100).cigar("2M100000N3M"));
  add(placed(1, 100, 20000).cigar("1M"));
  finish();
  EXPECT_EQ(windows(0), (Windows{offset(0)}));
  EXPECT_EQ(windows(1), (Windows{offset(1), offset(1)}));
}

TEST_F(BaiBuild, CigarBeyondTwoToThe29IsNotLookedAt) {
  EXPECT_NO_THROW(add(placed(0, 536870900).cigar("2M100000N3M").bin(0)));
}

TEST_F(BaiBuild, RecordWithoutBasesAtAWindowsBeginReachesTheWindowBefore) {
  add(placed(0, 16384, 0));
  finish();
  EXPECT_EQ(windows(0), (Windows{0}));
}

TEST_F(BaiBuild, RecordWithoutBasesAtPositionZeroUsesNoWindow) {
  add(placed(0, 0, 0));
  add(placed(0, 0, 0));
  finish();
  EXPECT_EQ(ref(0).n_intv, 0);
}

TEST_F(BaiBuild, RecordBeforePositionZeroFillsFromWindowZero) {
  add(placed(0, -1, 20000));
  finish();
  EXPECT_EQ(windows(0), (Windows{offset(0), offset(0)}));
}

TEST_F(BaiBuild, FarNegativePositionUsesNoWindow) {
  add(placed(0, -2147483647 - 1));
  finish();
  EXPECT_EQ(ref(0).n_intv, 0);
}

// ---- State -----------------------------------------------------------------------------------

TEST_F(BaiBuild, IndexIsUnfinishedUntilFinish) {
  EXPECT_FALSE(index_.finished());
  add(placed(0, 10));
  EXPECT_FALSE(index_.finished());
  finish();
  EXPECT_TRUE(index_.finished());
}

TEST_F(BaiBuild, StartingAnewForgetsAllButThatItWasFinished) {
  add(placed(0, 10));
  add(placed(4, 10));
  add(unplaced());
  finish();
  index_.init(5);
  EXPECT_TRUE(index_.finished());
  EXPECT_EQ(index_.get_num_refs(), 0);
  EXPECT_EQ(index_.n_no_coor(), 0U);
  EXPECT_TRUE(index_.refs().empty());
  index_.add(placed(0, 3).record(), 7 << 16);
  index_.finish(7 << 16);
  EXPECT_EQ(chunks(0, 4681), (Pairs{{5, 7 << 16}}));
}

}  // namespace
}  // namespace readkit::bam_bai_build_test
