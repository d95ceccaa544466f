#include "gateway/results.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/gateway_calls.h"

namespace readkit::gateway_results_test {
namespace {

TEST(Results, ColumnOfZerosHasTheClassOfItsElements) {
  const LeakCheck leaks;
  EXPECT_EQ(column_of<std::uint8_t>(make_column<std::uint8_t>(2)),
            (std::vector<std::uint8_t>{0, 0}));
  EXPECT_EQ(column_of<std::uint16_t>(make_column<std::uint16_t>(1)),
            (std::vector<std::uint16_t>{0}));
  EXPECT_EQ(column_of<std::int32_t>(make_column<std::int32_t>(1)), (std::vector<std::int32_t>{0}));
  EXPECT_EQ(column_of<std::uint32_t>(make_column<std::uint32_t>(1)),
            (std::vector<std::uint32_t>{0}));
  EXPECT_EQ(column_of<double>(make_column<double>(1)), (std::vector<double>{0}));
}

TEST(Results, ColumnWithoutRowsIsZeroByOne) {
  expect_shape(make_column<double>(0), txDOUBLE_CLASS, 0, 1);
  expect_shape(make_column<double>(std::span<const double>()), txDOUBLE_CLASS, 0, 1);
  expect_shape(make_cells(0), txCELL_CLASS, 0, 1);
}

TEST(Results, ColumnWithElementsHoldsThem) {
  const std::vector<std::uint32_t> values = {7, 4294967295U};
  EXPECT_EQ(column_of<std::uint32_t>(make_column<std::uint32_t>(values)), values);
}

TEST(Results, ColumnTakesCollectedValuesOver) {
  const LeakCheck leaks;
  HostValues<std::uint32_t> values;
  expect_shape(take_column(values), txUINT32_CLASS, 0, 1);
  std::vector<std::uint32_t> expected;
  for (std::uint32_t value = 0; value < 5000; ++value) {
    values.push_back(value);
    expected.push_back(value);
  }
  values.append(std::vector<std::uint32_t>(3000, 7));
  expected.resize(8000, 7);
  ASSERT_EQ(values.size(), expected.size());
  const std::uint32_t* const block = values.values().data();
  EXPECT_EQ(std::vector<std::uint32_t>(block, block + values.size()), expected);

  const matrix::Owned column = take_column(values);
  EXPECT_EQ(column_of<std::uint32_t>(column), expected);
  EXPECT_EQ(values.size(), 0U);
  values.push_back(9);
  EXPECT_EQ(column_of<std::uint32_t>(take_column(values)), (std::vector<std::uint32_t>{9}));
}

TEST(Results, ColumnDataIsTheArraysOwn) {
  const matrix::Owned column = make_column<std::int32_t>(2);
  column_data<std::int32_t>(column)[1] = -5;
  EXPECT_EQ(column_of<std::int32_t>(column), (std::vector<std::int32_t>{0, -5}));
}

TEST(Results, CellsAreEmptyUntilTheyAreSet) {
  const LeakCheck leaks;
  const matrix::Owned cells = make_cells(3);
  set_text(cells, 1, std::string_view("a\0b", 3));
  EXPECT_EQ(texts_of(cells),
            (std::vector<std::string>{kEmptyCell, std::string("a\0b", 3), kEmptyCell}));
}

TEST(Results, TextBytesOutsideUtf8Survive) {
  const matrix::Owned cells = make_cells(1);
  set_text(cells, 0, "\xff\xc3\xa9\x80");
  EXPECT_EQ(texts_of(cells), (std::vector<std::string>{"\xff\xc3\xa9\x80"}));
}

TEST(Results, OutputSlotTakesTheArray) {
  const LeakCheck leaks;
  txArray* slot = nullptr;
  matrix::Owned column = make_column<double>(1);
  const txArray* const array = column.get();
  set_output(&slot, std::move(column));
  EXPECT_EQ(slot, array);
  EXPECT_EQ(column, nullptr);
  matrix::destroyArray(slot);
}

}  // namespace
}  // namespace readkit::gateway_results_test
