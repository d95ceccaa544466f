// Arrays that hold arrays: cells and structures, what they own and what they refuse.
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "host/array.h"
#include "tests/host/host_test_support.h"

namespace readkit::host::host_array_container_test {
namespace {

constexpr std::size_t kHuge = std::numeric_limits<std::size_t>::max();

class Container : public NothingLeaks {};

// ---- Cells -----------------------------------------------------------------------------------

TEST_F(Container, CellsAreEmptyAtFirst) {
  const Owned a(txCreateCellMatrix(2, 2));
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(txGetCell(a.get(), i), nullptr);
}

TEST_F(Container, SetCellTakesOwnershipAndDestroysWhatWasThere) {
  const Owned a(txCreateCellMatrix(1, 1));
  const std::size_t before = live_arrays();
  txSetCell(a.get(), 0, txCreateString("first"));
  EXPECT_EQ(live_arrays(), before + 1);
  txSetCell(a.get(), 0, txCreateString("second"));
  EXPECT_EQ(live_arrays(), before + 1);
  EXPECT_EQ(text_of(cell_of(a.get(), 0)), "second");
  txSetCell(a.get(), 0, nullptr);
  EXPECT_EQ(live_arrays(), before);
}

TEST_F(Container, SettingACellToItsOwnContentKeepsIt) {
  const Owned a = make_cell_of_texts({"same"});
  txSetCell(a.get(), 0, txGetCell(a.get(), 0));
  EXPECT_EQ(text_of(cell_of(a.get(), 0)), "same");
}

TEST_F(Container, CellsNestedAtAnyDepthAreDestroyed) {
  Owned a = make_scalar(1.0);
  for (int depth = 0; depth < 200000; ++depth) {
    std::vector<Owned> inner;
    inner.push_back(std::move(a));
    a = make_cell({1, 1}, std::move(inner));
  }
  EXPECT_GE(live_arrays(), 200001U);
}  // the fixture counts

TEST_F(Container, DestroyingAnArrayInsideACellLeavesItToTheCell) {
  const Owned a = make_cell_of_texts({"kept"});
  matrix::destroyArray(txGetCell(a.get(), 0));
  EXPECT_EQ(text_of(cell_of(a.get(), 0)), "kept");
  matrix::destroyArray(nullptr);
}

TEST_F(Container, SetCellRefusesWhatItCannotStoreAndLeavesTheValue) {
  const Owned number = make_scalar(1.0);
  const Owned cells = make_cell_of_texts({"a"});
  const Owned outer(txCreateCellMatrix(1, 1));
  const Owned value = make_text("value");
  EXPECT_HOST_ERROR(txSetCell(nullptr, 0, value.get()), id::kNullArray);
  EXPECT_HOST_ERROR(txSetCell(number.get(), 0, value.get()), id::kWrongClass);
  EXPECT_HOST_ERROR(txSetCell(cells.get(), 1, value.get()), id::kIndexOutOfRange);
  EXPECT_HOST_ERROR(txSetCell(cells.get(), kHuge, value.get()), id::kIndexOutOfRange);
  EXPECT_HOST_ERROR(txSetCell(outer.get(), 0, txGetCell(cells.get(), 0)), id::kArrayInUse);
  EXPECT_HOST_ERROR(txSetCell(cells.get(), 0, cells.get()), id::kArrayInUse);
  EXPECT_EQ(text_of(value.get()), "value");
  EXPECT_EQ(text_of(cell_of(cells.get(), 0)), "a");
}

TEST_F(Container, ACellCannotHoldACellThatHoldsIt) {
  std::vector<Owned> inner;
  inner.emplace_back(txCreateCellMatrix(1, 1));
  txArray* const innermost = inner[0].get();
  const Owned outer = make_cell({1, 1}, std::move(inner));
  EXPECT_HOST_ERROR(txSetCell(innermost, 0, outer.get()), id::kArrayInUse);
}

TEST_F(Container, GetCellGivesNothingOutsideOfCells) {
  const Owned number = make_scalar(1.0);
  const Owned cells = make_cell_of_texts({"a"});
  EXPECT_EQ(txGetCell(nullptr, 0), nullptr);
  EXPECT_EQ(txGetCell(number.get(), 0), nullptr);
  EXPECT_EQ(txGetCell(cells.get(), 1), nullptr);
  EXPECT_HOST_ERROR(cell_of(number.get(), 0), id::kWrongClass);
  EXPECT_HOST_ERROR(cell_of(cells.get(), 1), id::kIndexOutOfRange);
}

// ---- Structures ------------------------------------------------------------------------------

TEST_F(Container, FieldsAreFoundByNameInEachElement) {
  const Owned a = make_struct_array({2, 1}, {"Name", "Length"});
  set_field(a.get(), 0, "Name", make_text("chr1"));
  set_field(a.get(), 1, "Name", make_text("chr2"));
  set_field(a.get(), 1, "Length", make_scalar(10.0));
  EXPECT_EQ(text_of(txGetField(a.get(), 0, "Name")), "chr1");
  EXPECT_EQ(text_of(field_of(a.get(), "Name", 1)), "chr2");
  EXPECT_EQ(txGetScalar(txGetField(a.get(), 1, "Length")), 10.0);
  EXPECT_EQ(txGetField(a.get(), 0, "Length"), nullptr);
  EXPECT_EQ(field_names_of(a.get()), (std::vector<std::string>{"Name", "Length"}));
}

TEST_F(Container, StructMatrixHasTheNamedFieldsAllEmpty) {
  const char* const names[] = {"b", "a"};
  const Owned a(txCreateStructMatrix(2, 3, 2, names));
  EXPECT_EQ(txGetClassID(a.get()), txSTRUCT_CLASS);
  EXPECT_EQ(dims_of(a.get()), (Dims{2, 3}));
  EXPECT_EQ(field_names_of(a.get()), (std::vector<std::string>{"b", "a"}));
  for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(txGetField(a.get(), i, "a"), nullptr);
  const Owned without_fields(txCreateStructMatrix(1, 1, 0, nullptr));
  EXPECT_EQ(field_names_of(without_fields.get()), std::vector<std::string>{});
  const char* const no_name[] = {nullptr};
  EXPECT_HOST_ERROR(txCreateStructMatrix(1, 1, 1, nullptr), id::kNullArray);
  EXPECT_HOST_ERROR(txCreateStructMatrix(1, 1, 1, no_name), id::kNullArray);
}

TEST_F(Container, SetFieldOfTheLibraryTakesOwnershipAndDestroysWhatWasThere) {
  const char* const names[] = {"x", "y"};
  const Owned a(txCreateStructMatrix(2, 1, 2, names));
  const std::size_t before = live_arrays();
  txSetField(a.get(), 1, "y", txCreateString("first"));
  txSetField(a.get(), 1, "y", txCreateString("second"));
  EXPECT_EQ(live_arrays(), before + 1);
  EXPECT_EQ(text_of(txGetField(a.get(), 1, "y")), "second");
  EXPECT_EQ(txGetField(a.get(), 0, "y"), nullptr);
  txSetField(a.get(), 1, "y", nullptr);
  EXPECT_EQ(live_arrays(), before);
}

TEST_F(Container, SetFieldOfTheLibraryRefusesWhatItCannotStoreAndLeavesTheValue) {
  const char* const names[] = {"x"};
  const Owned a(txCreateStructMatrix(1, 1, 1, names));
  const Owned number = make_scalar(1.0);
  const Owned value = make_text("value");
  EXPECT_HOST_ERROR(txSetField(nullptr, 0, "x", value.get()), id::kNullArray);
  EXPECT_HOST_ERROR(txSetField(a.get(), 0, nullptr, value.get()), id::kNullArray);
  EXPECT_HOST_ERROR(txSetField(number.get(), 0, "x", value.get()), id::kWrongClass);
  EXPECT_HOST_ERROR(txSetField(a.get(), 1, "x", value.get()), id::kIndexOutOfRange);
  EXPECT_HOST_ERROR(txSetField(a.get(), 0, "y", value.get()), id::kNoSuchField);
  EXPECT_HOST_ERROR(txSetField(a.get(), 0, "x", a.get()), id::kArrayInUse);
  EXPECT_EQ(text_of(value.get()), "value");
}

TEST_F(Container, SetFieldDestroysWhatWasThere) {
  const Owned a = make_struct_array({1, 1}, {"x"});
  set_field(a.get(), 0, "x", make_text("first"));
  const std::size_t before = live_arrays();
  set_field(a.get(), 0, "x", make_text("second"));
  EXPECT_EQ(live_arrays(), before);
  EXPECT_EQ(text_of(field_of(a.get(), "x")), "second");
}

TEST_F(Container, AStructureOfFieldsKeepsTheirOrderAndValues) {
  std::vector<std::pair<std::string, Owned>> fields;
  fields.emplace_back("b", make_scalar(1.0));
  fields.emplace_back("a", make_text("text"));
  const Owned a = make_struct(std::move(fields));
  EXPECT_EQ(dims_of(a.get()), (Dims{1, 1}));
  EXPECT_EQ(field_names_of(a.get()), (std::vector<std::string>{"b", "a"}));
  EXPECT_EQ(text_of(field_of(a.get(), "a")), "text");
}

TEST_F(Container, StructureArraysHaveAnyDimensions) {
  const Owned a = make_struct_array({2, 3, 2}, {"x"});
  EXPECT_EQ(dims_of(a.get()), (Dims{2, 3, 2}));
  set_field(a.get(), 11, "x", make_scalar(11.0));
  EXPECT_EQ(txGetScalar(txGetField(a.get(), 11, "x")), 11.0);
}

TEST_F(Container, GetFieldGivesNothingForWhatIsNotThere) {
  const Owned a = make_struct_array({1, 1}, {"x"});
  const Owned without_fields = make_struct({});
  const Owned number = make_scalar(1.0);
  EXPECT_EQ(txGetField(a.get(), 0, "y"), nullptr);
  EXPECT_EQ(txGetField(a.get(), 1, "x"), nullptr);
  EXPECT_EQ(txGetField(a.get(), 0, nullptr), nullptr);
  EXPECT_EQ(txGetField(nullptr, 0, "x"), nullptr);
  EXPECT_EQ(txGetField(number.get(), 0, "x"), nullptr);
  EXPECT_EQ(txGetField(without_fields.get(), 0, "x"), nullptr);
  EXPECT_HOST_ERROR(field_of(a.get(), "y"), id::kNoSuchField);
  EXPECT_HOST_ERROR(field_of(a.get(), "x", 1), id::kIndexOutOfRange);
  EXPECT_HOST_ERROR(field_of(number.get(), "x"), id::kWrongClass);
  EXPECT_HOST_ERROR(set_field(a.get(), 0, "y", make_scalar(1.0)), id::kNoSuchField);
  EXPECT_HOST_ERROR(set_field(a.get(), 1, "x", make_scalar(1.0)), id::kIndexOutOfRange);
}

}  // namespace
}  // namespace readkit::host::host_array_container_test
