// Arrays: made from values, and read back as values.
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

#include "host/array.h"
#include "tests/host/host_test_support.h"

namespace readkit::host::host_array_build_test {
namespace {

class ArrayBuild : public NothingLeaks {};
class ArrayBuildMisuse : public NothingLeaks {};

// ---- Numbers ---------------------------------------------------------------------------------

TEST_F(ArrayBuild, ScalarConstructorsStoreTheirValue) {
  const Owned number(txCreateDoubleScalar(6.25));
  const Owned truth(txCreateLogicalScalar(true));
  const Owned untruth(txCreateLogicalScalar(false));
  EXPECT_EQ(txGetScalar(number.get()), 6.25);
  EXPECT_EQ(txGetClassID(truth.get()), txLOGICAL_CLASS);
  EXPECT_EQ(txGetScalar(truth.get()), 1.0);
  EXPECT_EQ(txGetScalar(untruth.get()), 0.0);
}

TEST_F(ArrayBuild, DimensionListsAreCompletedAndTrailingOnesDropped) {
  const auto dims = [](const Dims& wanted) { return dims_of(matrix::create_cell(wanted).get()); };
  EXPECT_EQ(dims({}), (Dims{0, 0}));
  EXPECT_EQ(dims({5}), (Dims{5, 1}));
  EXPECT_EQ(dims({2, 1, 1}), (Dims{2, 1}));
  EXPECT_EQ(dims({2, 1, 3, 1}), (Dims{2, 1, 3}));
}

TEST_F(ArrayBuild, ImaginaryPartsFollowAChangeOfShape) {
  const Owned a(txCreateDoubleMatrix(4, 1, txCOMPLEX));
  txSetM(a.get(), 2);
  EXPECT_EQ(imaginary_of(a.get()).size(), 2U);
}

TEST_F(ArrayBuild, ClassNamesAreTheHostsWords) {
  EXPECT_STREQ(class_name(txCELL_CLASS), "cell");
  EXPECT_STREQ(class_name(txCHAR_CLASS), "char");
  EXPECT_STREQ(class_name(txDOUBLE_CLASS), "double");
  EXPECT_STREQ(class_name(txUINT64_CLASS), "uint64");
  EXPECT_STREQ(class_name(txSTRING_CLASS), "string");
  EXPECT_STREQ(class_name(static_cast<txClassID>(-1)), "unknown");
  EXPECT_STREQ(class_name(static_cast<txClassID>(20)), "unknown");
}

// ---- Shape -----------------------------------------------------------------------------------

TEST_F(ArrayBuildMisuse, DataIsReadInItsOwnTypeOnly) {
  const Owned a = make_scalar(1.0);
  EXPECT_HOST_ERROR(data_of<float>(a.get()), id::kWrongClass);
  EXPECT_HOST_ERROR(data_of<std::int64_t>(a.get()), id::kWrongClass);
  EXPECT_EQ(txGetData(make_string(u"a").get()), nullptr);
  EXPECT_EQ(txGetData(make_cell_of_texts({"a"}).get()), nullptr);
  EXPECT_EQ(txGetData(make_struct({}).get()), nullptr);
  EXPECT_HOST_ERROR(numbers_of(make_string(u"a").get()), id::kWrongClass);
}

TEST_F(ArrayBuildMisuse, ValuesMustBeAsManyAsTheDimensionsSay) {
  const std::vector<double> three = {1, 2, 3};
  const std::vector<double> two = {1, 2};
  EXPECT_HOST_ERROR(make_array<double>({2, 2}, three), id::kWrongElementCount);
  EXPECT_HOST_ERROR(make_complex({1, 3}, three, two), id::kWrongElementCount);
  EXPECT_HOST_ERROR(make_string_array({2, 1}, {u"a"}), id::kWrongElementCount);
  EXPECT_HOST_ERROR(make_cell({2, 1}, {}), id::kWrongElementCount);
  EXPECT_HOST_ERROR(make_from_bytes({1, 1}, txDOUBLE_CLASS, nullptr, 1), id::kNullArray);
  EXPECT_HOST_ERROR(make_from_bytes({1, 1}, txCELL_CLASS, &three, 1), id::kWrongClass);
  EXPECT_HOST_ERROR(make_from_bytes({1, 1}, txSTRING_CLASS, &three, 1), id::kWrongClass);
}

}  // namespace
}  // namespace readkit::host::host_array_build_test
