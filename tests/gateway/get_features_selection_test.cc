// Which records getFeatures picks: the step per record, and the span that it scans.
#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gateway/get_features.h"
#include "support/bam_builder.h"
#include "support/gateway_calls.h"
#include "support/index_model.h"
#include "support/random_data.h"

namespace readkit::gateway_get_features_selection_test {
namespace {

using Texts = std::vector<std::string>;
using List = std::vector<std::uint32_t>;

// ---- The step ----------------------------------------------------------------------------------

// A scan that wants the positions of some records.
class GetFeaturesStep : public testing::Test {
 protected:
  GetFeaturesStep() {
    state_.outputs = outputs_.data();
    state_.features = {kPosition};
  }

  void want(const List& ordinals) {
    ordinals_ = ordinals;
    state_.next_index = ordinals_.data();
    state_.index = ordinals_.front();
    state_.last_index = ordinals_.back();
  }
  void take(int pos) { get_features(RecordBuilder().at(0, pos).record(), state_); }

  GetFeatures_T state_;
  List ordinals_;
  std::array<std::uint32_t, 4> positions_{};
  std::array<void*, 1> outputs_ = {positions_.data()};
};

TEST_F(GetFeaturesStep, NewStateIsAtTheBeginning) {
  const GetFeatures_T fresh;
  EXPECT_EQ(fresh.skip, 0);
  EXPECT_EQ(fresh.index, 0U);
  EXPECT_EQ(fresh.row, 0U);
  EXPECT_EQ(fresh.next_index, nullptr);
}

TEST_F(GetFeaturesStep, RecordThatBeginsBeforeTheSpanIsNotCounted) {
  want({1, 2});
  state_.skip = 1;
  state_.start = 10;
  take(9);
  EXPECT_EQ(state_.skip, 1);
  EXPECT_EQ(state_.index, 1U);
  EXPECT_EQ(state_.row, 0U);
}

TEST_F(GetFeaturesStep, SkippedRecordIsNotCounted) {
  want({1, 2});
  state_.skip = 2;
  take(5);
  EXPECT_EQ(state_.skip, 1);
  EXPECT_EQ(state_.index, 1U);
}

TEST_F(GetFeaturesStep, WantedRecordFillsARowAndMovesOn) {
  want({1, 3});
  take(5);
  EXPECT_EQ(positions_[0], 6U);
  EXPECT_EQ(state_.index, 2U);
  EXPECT_EQ(state_.row, 1U);
  EXPECT_EQ(state_.next_index, ordinals_.data() + 1);
}

TEST_F(GetFeaturesStep, UnwantedRecordIsCountedOnly) {
  want({1, 3});
  take(5);
  take(6);
  EXPECT_EQ(state_.index, 3U);
  EXPECT_EQ(state_.row, 1U);
  take(7);
  EXPECT_EQ(positions_, (std::array<std::uint32_t, 4>{6, 8, 0, 0}));
}

TEST_F(GetFeaturesStep, RecordsBehindTheLastWantedOneAreIgnored) {
  want({1});
  take(5);
  take(6);
  EXPECT_EQ(state_.index, 2U);
  EXPECT_EQ(state_.row, 1U);
  EXPECT_EQ(positions_[1], 0U);
}

TEST_F(GetFeaturesStep, CodeThatIsNoFeatureWritesNothing) {
  want({1});
  state_.features = {kFeatureCount};
  take(5);
  EXPECT_EQ(positions_[0], 0U);
  EXPECT_EQ(state_.row, 1U);
}

TEST_F(GetFeaturesStep, RecordWithoutAPositionHasPositionAndEndZero) {
  want({1});
  state_.start = -1;
  take(-1);
  EXPECT_EQ(positions_[0], 0U);
  state_.features = {kEndPosition};
  positions_[0] = 99;
  want({1});
  state_.row = 0;
  take(-1);
  EXPECT_EQ(positions_[0], 0U);
}

// ---- The span ----------------------------------------------------------------------------------

// Records of reference 0, named by their ordinals, that begin at the given positions.
class GetFeaturesSpan : public testing::Test {
 protected:
  void write(const std::vector<int>& positions, int length = 5) {
    BamBuilder file;
    file.refs(2, 536870911);
    starts_.clear();
    for (std::size_t i = 0; i < positions.size(); ++i) {
      file.record(RecordBuilder(std::to_string(i + 1))
                      .at(0, positions[i])
                      .cigar(std::to_string(length) + "M")
                      .seq(std::string(static_cast<std::size_t>(length), 'A')));
      starts_.push_back(static_cast<std::uint32_t>(positions[i]));
    }
    file.record(RecordBuilder("other").at(1, 7));
    file.write(folder_, "a.bam");
    call_gateway("bamIndex", 0, inputs(text(folder_, "a.bam"), text(folder_, "a.bai")));
  }
  // The names in the rows; the same with and without an index.
  Texts pick(const List& ordinals) {
    folder_.write("none.bai", encode_bai({.refs = {}}));
    const Texts names = pick_with("a.bai", ordinals);
    EXPECT_EQ(pick_with("none.bai", ordinals), names);
    return names;
  }
  Texts pick_with(const std::string& index, const List& ordinals) {
    return texts_of(
        call_gateway("getFeatures", 1,
                     inputs(text(folder_, "a.bam"), text(folder_, index),
                            host::make_cell_of_texts({"Header"}), host::make_scalar(0.0),
                            host::make_column(ordinals), host::make_column(starts_)))[0]);
  }

  TempDir folder_;
  List starts_;
  LeakCheck leaks_;
};

TEST_F(GetFeaturesSpan, RecordsArePickedByTheirOrdinals) {
  write({10, 20, 30, 40, 50});
  EXPECT_EQ(pick({1, 2, 3, 4, 5}), (Texts{"1", "2", "3", "4", "5"}));
  EXPECT_EQ(pick({2, 4}), (Texts{"2", "4"}));
  EXPECT_EQ(pick({5}), (Texts{"5"}));
}

TEST_F(GetFeaturesSpan, RecordsWithTheFirstOnesStartThatComeBeforeItArePassedOver) {
  write({10, 20, 20, 20, 20, 30});
  EXPECT_EQ(pick({4}), (Texts{"4"}));
  EXPECT_EQ(pick({3, 5}), (Texts{"3", "5"}));
  EXPECT_EQ(pick({2, 6}), (Texts{"2", "6"}));
}

TEST_F(GetFeaturesSpan, AllEarlierRecordsMayShareTheFirstOnesStart) {
  write({20, 20, 20});
  EXPECT_EQ(pick({3}), (Texts{"3"}));
  EXPECT_EQ(pick({1, 3}), (Texts{"1", "3"}));
}

TEST_F(GetFeaturesSpan, RecordsThatReachIntoTheSpanAreNotCounted) {
  write({10, 15, 20, 25, 30}, 100);
  EXPECT_EQ(pick({3}), (Texts{"3"}));
  EXPECT_EQ(pick({4, 5}), (Texts{"4", "5"}));
}

TEST_F(GetFeaturesSpan, RecordsWithTheLastOnesStartThatComeBehindItAreIgnored) {
  write({10, 20, 20, 20});
  EXPECT_EQ(pick({1, 2}), (Texts{"1", "2"}));
}

TEST_F(GetFeaturesSpan, WithoutOrdinalsOutputsHaveNoRows) {
  write({10, 20});
  EXPECT_EQ(pick({}), Texts{});
  const Outputs outputs =
      call_gateway("getFeatures", 2,
                   inputs(text(folder_, "a.bam"), text(folder_, "a.bai"),
                          host::make_cell_of_texts({"Flag", "Quality"}), host::make_scalar(0.0),
                          host::make_row<std::uint32_t>({}), host::make_row<std::uint32_t>({})));
  expect_shape(outputs[0], txUINT16_CLASS, 0, 1);
  expect_shape(outputs[1], txCELL_CLASS, 0, 1);
}

TEST_F(GetFeaturesSpan, WithoutOrdinalsTheFilesAreOpenedAllTheSame) {
  write({10});
  EXPECT_CALL_FAILS(pick_with("no.bai", {}), "seqlab:readkit:FileNotFound", folder_.path("no.bai"));
}

TEST_F(GetFeaturesSpan, FirstOrLastOrdinalZeroRaisesBadIndex) {
  write({10, 20, 30});
  for (const List& ordinals : {List{0}, List{0, 1}, List{1, 0}, List{3, 2, 0}}) {
    EXPECT_CALL_FAILS(pick_with("a.bai", ordinals), "seqlab:readkit:BadIndex");
  }
}

TEST_F(GetFeaturesSpan, FirstOrLastOrdinalBeyondTheStartsRaisesBadIndex) {
  write({10, 20, 30});
  for (const List& ordinals : {List{4}, List{1, 4}, List{4, 1}, List{4294967295U}}) {
    EXPECT_CALL_FAILS(pick_with("a.bai", ordinals), "seqlab:readkit:BadIndex");
  }
  starts_.clear();
  EXPECT_CALL_FAILS(pick_with("a.bai", {1}), "seqlab:readkit:BadIndex");
}

TEST_F(GetFeaturesSpan, OrdinalsBetweenMayBeAnything) {
  write({10, 20, 30});
  EXPECT_EQ(pick({1, 0, 3}), (Texts{"1", kEmptyCell, kEmptyCell}));
  EXPECT_EQ(pick({1, 77, 3}), (Texts{"1", kEmptyCell, kEmptyCell}));
}

TEST_F(GetFeaturesSpan, DescendingOrdinalsFillNothing) {
  write({10, 20, 30});
  EXPECT_EQ(pick({3, 1}), (Texts{kEmptyCell, kEmptyCell}));
}

TEST_F(GetFeaturesSpan, RepeatedOrdinalsFillTheirFirstRowOnly) {
  write({10, 20, 30});
  EXPECT_EQ(pick({2, 2}), (Texts{"2", kEmptyCell}));
  EXPECT_EQ(pick({1, 2, 2, 3}), (Texts{"1", "2", kEmptyCell, kEmptyCell}));
}

TEST_F(GetFeaturesSpan, RowsOfRecordsThatTheQueryNeverReachesStayEmpty) {
  write({10, 20, 30});
  starts_ = {10, 20, 30, 40, 50};
  EXPECT_EQ(pick({3, 5}), (Texts{"3", kEmptyCell}));
}

TEST_F(GetFeaturesSpan, StartsThatAreNotTheRecordsOnesCountFromTheFirstRecordOfTheSpan) {
  write({10, 20, 30});
  starts_ = {15, 20, 30};
  EXPECT_EQ(pick({1, 3}), (Texts{"2", kEmptyCell}));
}

TEST_F(GetFeaturesSpan, StartsBeyond31BitsAreNegativePositions) {
  write({10, 20});
  starts_ = {4294967295U, 20};
  EXPECT_EQ(pick({1, 2}), (Texts{"1", "2"}));
  starts_ = {2147483647U, 2147483647U};
  EXPECT_EQ(pick({1, 2}), (Texts{kEmptyCell, kEmptyCell}));
}

TEST_F(GetFeaturesSpan, RecordBeforePositionZeroHasPositionAndEndZero) {
  BamBuilder()
      .refs(1, 1000)
      .record(RecordBuilder("a").at(0, -1).flag(4).cigar("5M"))
      .record(RecordBuilder("b").at(0, 3).cigar("5M"))
      .write(folder_, "a.bam");
  folder_.write("none.bai", encode_bai({.refs = {}}));
  const Outputs outputs =
      call_gateway("getFeatures", 3,
                   inputs(text(folder_, "a.bam"), text(folder_, "none.bai"),
                          host::make_cell_of_texts({"Header", "Position", "EndPosition"}),
                          host::make_scalar(0.0), host::make_column<std::uint32_t>({1, 2}),
                          host::make_column<std::uint32_t>({4294967295U, 3})));
  EXPECT_EQ(texts_of(outputs[0]), (Texts{"a", "b"}));
  EXPECT_EQ(column_of<std::uint32_t>(outputs[1]), (List{0, 4}));
  EXPECT_EQ(column_of<std::uint32_t>(outputs[2]), (List{0, 9}));
}

TEST_F(GetFeaturesSpan, RandomChoicesPickTheRecordsOfTheirOrdinals) {
  Random random(45);
  for (int round = 0; round < 40; ++round) {
    std::vector<int> positions;
    int pos = 0;
    for (auto n = random_number(random, 1, 60); n > 0; --n) {
      pos += static_cast<int>(random_number(random, 0, 3) * random_number(random, 0, 4));
      positions.push_back(pos);
    }
    write(positions, static_cast<int>(random_number(random, 1, 30)));
    for (int choice = 0; choice < 5; ++choice) {
      List ordinals;
      Texts expected;
      for (std::uint32_t i = 1; i <= positions.size(); ++i) {
        if (random() % 3 != 0) continue;
        ordinals.push_back(i);
        expected.push_back(std::to_string(i));
      }
      ASSERT_EQ(pick(ordinals), expected) << round;
    }
  }
}

}  // namespace
}  // namespace readkit::gateway_get_features_selection_test
