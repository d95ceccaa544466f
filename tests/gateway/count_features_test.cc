// getFeatureCountData. The other function of the same source is in starts_in_reference_test.
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/bam_builder.h"
#include "support/gateway_calls.h"

namespace readkit::gateway_count_features_test {
namespace {

using Texts = std::vector<std::string>;
using Ints = std::vector<std::int32_t>;

RecordBuilder read(const std::string& name, int flag = 0, int mapq = 60) {
  return RecordBuilder(name).at(0, 99).flag(flag).mapq(mapq).cigar("5M").seq("ACGTA");
}
RecordBuilder read_nh(const std::string& name, int hits, int flag = 0) {
  return read(name, flag).tag("NH", 'C', hits);
}

struct Options {
  double multi_mapping = 0;
  bool both_ends_mapped = false;
  bool properly_mapped = false;
  double min_quality = 0;
};

// The six tallies in their order.
struct Tallies {
  double unmapped, supplementary, below_min_quality, failed_pairing, multi_mapped, total;
  bool operator==(const Tallies&) const = default;
};
void PrintTo(const Tallies& t, std::ostream* out) {
  *out << t.unmapped << ' ' << t.supplementary << ' ' << t.below_min_quality << ' '
       << t.failed_pairing << ' ' << t.multi_mapped << ' ' << t.total;
}

class FeatureCounts : public testing::Test {
 protected:
  void write(const std::vector<RecordBuilder>& records) {
    BamBuilder file;
    file.refs(2, 100000);
    for (const RecordBuilder& record : records) file.record(record);
    file.write(folder_, "a.bam");
  }
  Inputs arguments(const Options& o = {}) {
    return inputs(text(folder_, "a.bam"), host::make_scalar(o.multi_mapping),
                  host::make_scalar(o.both_ends_mapped), host::make_scalar(o.properly_mapped),
                  host::make_scalar(o.min_quality));
  }
  Outputs call(const Inputs& list, int nlhs = 9) {
    return call_gateway("getFeatureCountData", nlhs, list);
  }
  Outputs count(const std::vector<RecordBuilder>& records, const Options& options = {}) {
    write(records);
    return call(arguments(options));
  }
  static Tallies tallies_of(const Outputs& outputs) {
    expect_shape(outputs[7], txCELL_CLASS, 6, 1);
    std::vector<double> all;
    for (std::size_t i = 0; i < 6; ++i) {
      const txArray* const cell = host::cell_of(outputs[7].get(), i);
      EXPECT_EQ(host::dims_of(cell), (host::Dims{1, 1}));
      all.push_back(host::data_of<double>(cell)[0]);
    }
    return {all[0], all[1], all[2], all[3], all[4], all[5]};
  }

  TempDir folder_;
  LeakCheck leaks_;
};

// ---- Outputs -----------------------------------------------------------------------------------

TEST_F(FeatureCounts, KeptRecordsAreReturnedInFileOrder) {
  const Outputs outputs =
      count({read("b").mate(1, 499), RecordBuilder("a").at(1, 9).flag(0x10).cigar("2S3M4D1I1M"),
             RecordBuilder("").at(1, 20)});
  ASSERT_EQ(outputs.size(), 9U);
  EXPECT_EQ(texts_of(outputs[0]), (Texts{"b", "a", ""}));
  EXPECT_EQ(texts_of(outputs[1]), (Texts{"5M", "2S3M4D1I1M", "*"}));
  EXPECT_EQ(column_of<std::int32_t>(outputs[2]), (Ints{100, 10, 21}));
  EXPECT_EQ(column_of<std::int32_t>(outputs[3]), (Ints{104, 17, 21}));
  EXPECT_EQ(texts_of(outputs[4]), (Texts{"chr1", "chr2", "chr2"}));
  EXPECT_EQ(column_of<std::uint16_t>(outputs[5]), (std::vector<std::uint16_t>{0, 0x10, 0}));
  EXPECT_EQ(column_of<std::int32_t>(outputs[6]), (Ints{500, 0, 0}));
  EXPECT_EQ(tallies_of(outputs), (Tallies{0, 0, 0, 0, 0, 3}));
  EXPECT_FALSE(scalar_of<bool>(outputs[8]));
}

TEST_F(FeatureCounts, FileWithoutRecordsGivesNineOutputsWithoutRows) {
  for (const double mode : {0.0, 1.0, 2.0}) {
    const Outputs outputs = count({}, {.multi_mapping = mode});
    expect_shape(outputs[0], txCELL_CLASS, 0, 1);
    expect_shape(outputs[1], txCELL_CLASS, 0, 1);
    expect_shape(outputs[2], txINT32_CLASS, 0, 1);
    expect_shape(outputs[3], txINT32_CLASS, 0, 1);
    expect_shape(outputs[4], txCELL_CLASS, 0, 1);
    expect_shape(outputs[5], txUINT16_CLASS, 0, 1);
    expect_shape(outputs[6], txINT32_CLASS, 0, 1);
    EXPECT_EQ(tallies_of(outputs), (Tallies{0, 0, 0, 0, 0, 0}));
    EXPECT_FALSE(scalar_of<bool>(outputs[8]));
  }
}

TEST_F(FeatureCounts, AllOutputsAreMadeWhateverNumberIsAskedFor) {
  write({read("a")});
  for (int nlhs = 0; nlhs <= 9; ++nlhs) {
    const Outputs outputs = call(arguments(), nlhs);
    EXPECT_EQ(outputs.size(), static_cast<std::size_t>(std::max(nlhs, 1)));
    for (const host::Owned& output : outputs) EXPECT_NE(output, nullptr);
  }
}

TEST_F(FeatureCounts, KeptRecordWithoutAReferenceIsNamedWithAStar) {
  const Outputs outputs = count({RecordBuilder("a").at(-1, -1), RecordBuilder("b").at(-9, 4)});
  EXPECT_EQ(texts_of(outputs[4]), (Texts{"*", "*"}));
  EXPECT_EQ(column_of<std::int32_t>(outputs[2]), (Ints{0, 5}));
  EXPECT_EQ(column_of<std::int32_t>(outputs[3]), (Ints{0, 5}));
}

TEST_F(FeatureCounts, UnmappedRecordWithoutAReferenceNeverReachesTheOutputs) {
  const Outputs outputs = count({RecordBuilder("a").flag(4), read("b")});
  EXPECT_EQ(texts_of(outputs[0]), (Texts{"b"}));
}

TEST_F(FeatureCounts, ReferenceBeyondTheDictionaryRaisesReferenceIdNotFoundAndLeavesNothing) {
  write({read("a"), RecordBuilder("b").at(2, 5)});
  EXPECT_CALL_FAILS(call(arguments()), "seqlab:readkit:ReferenceIDNotFound", u"2");
}

TEST_F(FeatureCounts, NamesKeepBytesOutsideUtf8) {
  EXPECT_EQ(texts_of(count({read("n\xff\xc3\xa9")})[0]), (Texts{"n\xff\xc3\xa9"}));
}

TEST_F(FeatureCounts, ManyRecordsKeepTheirTextsApart) {
  std::vector<RecordBuilder> records;
  Texts names;
  Texts cigars;
  for (int i = 0; i < 3000; ++i) {
    names.push_back("read" + std::to_string(i * 37));
    cigars.push_back(std::to_string(i + 1) + "M" + (i % 2 == 0 ? "1I" : ""));
    records.push_back(RecordBuilder(names.back()).at(0, i).cigar(cigars.back()));
  }
  const Outputs outputs = count(records);
  EXPECT_EQ(texts_of(outputs[0]), names);
  EXPECT_EQ(texts_of(outputs[1]), cigars);
}

// ---- Filters -----------------------------------------------------------------------------------

TEST_F(FeatureCounts, UnmappedRecordsAreCounted) {
  EXPECT_EQ(tallies_of(count({read("a", 0x4), read("b")})), (Tallies{1, 0, 0, 0, 0, 2}));
}

TEST_F(FeatureCounts, SupplementaryRecordsAreCounted) {
  EXPECT_EQ(tallies_of(count({read("a", 0x800), read("b")})), (Tallies{0, 1, 0, 0, 0, 2}));
}

TEST_F(FeatureCounts, SupplementaryUnmappedRecordCountsOnlyAsUnmapped) {
  EXPECT_EQ(tallies_of(count({read("a", 0x804)})), (Tallies{1, 0, 0, 0, 0, 1}));
}

TEST_F(FeatureCounts, QualityBelowTheLeastIsCountedAndEqualQualityPasses) {
  const Outputs outputs =
      count({read("a", 0, 9), read("b", 0, 10), read("c", 0, 11)}, {.min_quality = 10});
  EXPECT_EQ(texts_of(outputs[0]), (Texts{"b", "c"}));
  EXPECT_EQ(tallies_of(outputs), (Tallies{0, 0, 1, 0, 0, 3}));
}

TEST_F(FeatureCounts, LeastQualityMayLieBetweenWholeNumbers) {
  const Outputs outputs = count({read("a", 0, 9), read("b", 0, 10)}, {.min_quality = 9.5});
  EXPECT_EQ(texts_of(outputs[0]), (Texts{"b"}));
  EXPECT_EQ(texts_of(count({read("a", 0, 0)}, {.min_quality = 0.25})[0]), Texts{});
}

TEST_F(FeatureCounts, LeastQualityOfZeroOrLessOrNaNSwitchesTheTestOff) {
  for (const double least : {0.0, -5.0, -std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(texts_of(count({read("a", 0, 0)}, {.min_quality = least})[0]), (Texts{"a"})) << least;
  }
}

TEST_F(FeatureCounts, LeastQualityAboveAllRejectsAll) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(tallies_of(count({read("a", 0, 255)}, {.min_quality = infinity})),
            (Tallies{0, 0, 1, 0, 0, 1}));
}

TEST_F(FeatureCounts, BothEndsMappedRejectsPairsWithAnUnmappedMate) {
  const Options options = {.both_ends_mapped = true};
  const Outputs outputs =
      count({read("paired", 0x1 | 0x8), read("single", 0x8), read("mapped", 0x1), read("plain")},
            options);
  EXPECT_EQ(texts_of(outputs[0]), (Texts{"single", "mapped", "plain"}));
  EXPECT_EQ(tallies_of(outputs), (Tallies{0, 0, 0, 1, 0, 4}));
}

TEST_F(FeatureCounts, ProperlyMappedRejectsPairsThatAreNotProper) {
  const Options options = {.properly_mapped = true};
  const Outputs outputs =
      count({read("improper", 0x1), read("proper", 0x3), read("single")}, options);
  EXPECT_EQ(texts_of(outputs[0]), (Texts{"proper", "single"}));
  EXPECT_EQ(tallies_of(outputs), (Tallies{0, 0, 0, 1, 0, 3}));
}

TEST_F(FeatureCounts, OneTallyServesBothRequirements) {
  const Options options = {.both_ends_mapped = true, .properly_mapped = true};
  EXPECT_EQ(
      tallies_of(count({read("a", 0x1 | 0x2 | 0x8), read("b", 0x1), read("c", 0x9)}, options)),
      (Tallies{0, 0, 0, 3, 0, 3}));
}

TEST_F(FeatureCounts, WithoutRequirementsPairsPass) {
  EXPECT_EQ(tallies_of(count({read("a", 0x9), read("b", 0x1)})), (Tallies{0, 0, 0, 0, 0, 2}));
}

TEST_F(FeatureCounts, FiltersApplyInTheirOrder) {
  const Options all = {
      .multi_mapping = 2, .both_ends_mapped = true, .properly_mapped = true, .min_quality = 10};
  EXPECT_EQ(tallies_of(count({read("unmapped", 0x904 | 0x1, 0)}, all)),
            (Tallies{1, 0, 0, 0, 0, 1}));
  EXPECT_EQ(tallies_of(count({read("supplementary", 0x900 | 0x1, 0)}, all)),
            (Tallies{0, 1, 0, 0, 0, 1}));
  EXPECT_EQ(tallies_of(count({read("quality", 0x100 | 0x1, 0)}, all)), (Tallies{0, 0, 1, 0, 0, 1}));
  EXPECT_EQ(tallies_of(count({read("pairing", 0x100 | 0x1, 60)}, all)),
            (Tallies{0, 0, 0, 1, 0, 1}));
  EXPECT_EQ(tallies_of(count({read("multi", 0x100, 60)}, all)), (Tallies{0, 0, 0, 0, 1, 1}));
}

// ---- Multi-mapping -----------------------------------------------------------------------------

TEST_F(FeatureCounts, ModeOneRejectsRecordsWithTwoHitsOrMore) {
  const Outputs outputs = count(
      {read_nh("a", 1), read_nh("b", 2), read_nh("c", 0), read_nh("d", 200)}, {.multi_mapping = 1});
  EXPECT_EQ(texts_of(outputs[0]), (Texts{"a", "c"}));
  EXPECT_EQ(tallies_of(outputs), (Tallies{0, 0, 0, 0, 2, 4}));
  EXPECT_FALSE(scalar_of<bool>(outputs[8]));
}

TEST_F(FeatureCounts, ModeOneKeepsRecordsWithoutNhAndMarksThem) {
  const Outputs outputs = count({read("a"), read_nh("b", 1)}, {.multi_mapping = 1});
  EXPECT_EQ(texts_of(outputs[0]), (Texts{"a", "b"}));
  EXPECT_TRUE(scalar_of<bool>(outputs[8]));
}

TEST_F(FeatureCounts, ModeOneTakesANegativeOrUnusableNhForMissing) {
  const Outputs outputs =
      count({read("a").tag("NH", 'c', -3), read("b").tag_text("NH", 'Z', "3"), read_nh("c", 1)},
            {.multi_mapping = 1});
  EXPECT_EQ(texts_of(outputs[0]), (Texts{"a", "b", "c"}));
  EXPECT_TRUE(scalar_of<bool>(outputs[8]));
}

TEST_F(FeatureCounts, ModeOneFindsNhBehindOtherFields) {
  const RecordBuilder behind = read("a")
                                   .tag_text("XZ", 'Z', "text")
                                   .tag_array("XB", 's', {1, 2, 3})
                                   .tag("XA", 'A', 'q')
                                   .tag("NH", 'I', 5);
  EXPECT_EQ(tallies_of(count({behind}, {.multi_mapping = 1})), (Tallies{0, 0, 0, 0, 1, 1}));
}

TEST_F(FeatureCounts, ModeOneTakesNhBehindADamagedFieldForMissing) {
  for (const std::int64_t size : {-8, -2, 1 << 30}) {
    const RecordBuilder damaged =
        read("a")
            .tag_bytes("XBBc" + std::string{static_cast<char>(size), static_cast<char>(size >> 8),
                                            static_cast<char>(size >> 16),
                                            static_cast<char>(size >> 24)})
            .tag("NH", 'C', 1);
    const Outputs outputs = count({damaged, read_nh("b", 1)}, {.multi_mapping = 1});
    EXPECT_EQ(texts_of(outputs[0]), (Texts{"a", "b"}));
    // A negative count is an empty array, behind which NH is found.
    EXPECT_EQ(scalar_of<bool>(outputs[8]), size > 0);
  }
}

TEST_F(FeatureCounts, ModeOneKeepsSecondaryRecords) {
  EXPECT_EQ(texts_of(count({read_nh("a", 1, 0x100)}, {.multi_mapping = 1})[0]), (Texts{"a"}));
}

TEST_F(FeatureCounts, ModeTwoRejectsSecondaryRecordsAndIgnoresNh) {
  const Outputs outputs =
      count({read("a", 0x100), read_nh("b", 5), read("c")}, {.multi_mapping = 2});
  EXPECT_EQ(texts_of(outputs[0]), (Texts{"b", "c"}));
  EXPECT_EQ(tallies_of(outputs), (Tallies{0, 0, 0, 0, 1, 3}));
  EXPECT_FALSE(scalar_of<bool>(outputs[8]));
}

TEST_F(FeatureCounts, OtherModesFilterNothing) {
  for (const double mode :
       {0.0, 3.0, -1.0, 1e300, -1e300, 2.5, 0.49, std::numeric_limits<double>::quiet_NaN(),
        std::numeric_limits<double>::infinity()}) {
    const Outputs outputs = count({read("a", 0x100), read_nh("b", 5)}, {.multi_mapping = mode});
    EXPECT_EQ(texts_of(outputs[0]), (Texts{"a", "b"})) << mode;
    EXPECT_FALSE(scalar_of<bool>(outputs[8])) << mode;
  }
}

TEST_F(FeatureCounts, ModeIsRoundedWithHalvesAwayFromZero) {
  const auto multi_mapped = [&](double mode) {
    return texts_of(count({read("second", 0x100).tag("NH", 'C', 1), read_nh("hits", 5)},
                          {.multi_mapping = mode})[0]);
  };
  for (const double one : {0.5, 1.0, 1.49}) EXPECT_EQ(multi_mapped(one), (Texts{"second"})) << one;
  for (const double two : {1.5, 2.0, 2.49}) EXPECT_EQ(multi_mapped(two), (Texts{"hits"})) << two;
}

// ---- No NH at all ------------------------------------------------------------------------------

TEST_F(FeatureCounts, KeptRecordsWithoutAnyNhRaiseAllNhTagsMissing) {
  write({read("a"), read("b")});
  EXPECT_CALL_FAILS(call(arguments({.multi_mapping = 1})), "seqlab:readkit:AllNHTagsMissing",
                    folder_.path("a.bam"));
}

TEST_F(FeatureCounts, RejectedRecordWithNhIsEnough) {
  const Outputs outputs = count({read("a"), read_nh("b", 3)}, {.multi_mapping = 1});
  EXPECT_EQ(texts_of(outputs[0]), (Texts{"a"}));
  EXPECT_TRUE(scalar_of<bool>(outputs[8]));
}

TEST_F(FeatureCounts, NhOfARecordRejectedEarlierDoesNotCount) {
  write({read("a"), read_nh("b", 1, 0x4)});
  EXPECT_CALL_FAILS(call(arguments({.multi_mapping = 1})), "seqlab:readkit:AllNHTagsMissing",
                    folder_.path("a.bam"));
}

TEST_F(FeatureCounts, WithoutKeptRecordsNothingIsMissing) {
  EXPECT_EQ(tallies_of(count({read("a", 0x4)}, {.multi_mapping = 1})), (Tallies{1, 0, 0, 0, 0, 1}));
}

TEST_F(FeatureCounts, NoNhIsNoErrorInOtherModes) {
  EXPECT_EQ(texts_of(count({read("a")}, {.multi_mapping = 0})[0]), (Texts{"a"}));
  EXPECT_EQ(texts_of(count({read("a")}, {.multi_mapping = 2})[0]), (Texts{"a"}));
}

}  // namespace
}  // namespace readkit::gateway_count_features_test
