// Text in arrays: conversions from and to bytes, missing strings, and mistaken uses.
#include <span>
#include <vector>

#include "core/errors.h"
#include "host/array.h"
#include "tests/host/host_test_support.h"

namespace readkit::host::host_array_text_test {
namespace {

class ArrayText : public NothingLeaks {};

TEST_F(ArrayText, BytesBecomeACharacterRow) {
  const Owned a(txCreateString("chr1"));
  EXPECT_EQ(txGetClassID(a.get()), txCHAR_CLASS);
  EXPECT_EQ(dims_of(a.get()), (Dims{1, 4}));
  EXPECT_EQ(matrix::get_ustring(a.get()), u"chr1");
  EXPECT_EQ(matrix::get_string(a.get()), "chr1");
}

TEST_F(ArrayText, EmptyTextIsAnEmptyRow) {
  for (txArray* made : {txCreateString(""), txCreateString(nullptr), matrix::create(nullptr, 0),
                        matrix::create("ignored", 0)}) {
    const Owned a(made);
    EXPECT_EQ(dims_of(a.get()), (Dims{1, 0}));
    EXPECT_EQ(text_of(a.get()), "");
  }
}

TEST_F(ArrayText, CreateKeepsNulBytes) {
  const Owned a(matrix::create("a\0b", 3));
  EXPECT_EQ(matrix::get_string(a.get()), std::string("a\0b", 3));
}

TEST_F(ArrayText, Utf8BecomesUtf16) {
  // Three letters of one, two and four bytes.
  const Owned a = make_text("e\xC3\xA9\xF0\x9F\xA7\xAC");
  EXPECT_EQ(matrix::get_ustring(a.get()), u"e\u00E9\U0001F9EC");
  EXPECT_EQ(dims_of(a.get()), (Dims{1, 4}));
}

TEST_F(ArrayText, EveryByteSurvivesTheRoundTrip) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string bytes = {'x', static_cast<char>(byte), 'y'};
    const Owned a(matrix::create(bytes.data(), bytes.size()));
    EXPECT_EQ(matrix::get_string(a.get()), bytes) << byte;
  }
}

TEST_F(ArrayText, LongTextsKeepEveryByte) {
  std::string bytes;
  for (int i = 0; i < 100000; ++i) bytes += static_cast<char>(i % 128);
  EXPECT_EQ(text_of(make_text(bytes).get()), bytes);
  bytes += '\xFF';
  EXPECT_EQ(text_of(make_text(bytes).get()), bytes);
}

TEST_F(ArrayText, ACharacterMatrixIsReadColumnByColumn) {
  const std::u16string units = u"abcdef";
  const Owned a = make_array(Dims{2, 3}, std::span<const char16_t>(units.data(), units.size()));
  EXPECT_EQ(matrix::get_string(a.get()), "abcdef");
}

TEST_F(ArrayText, AStringScalarIsText) {
  const Owned a = make_string(u"chr\u00E9");
  EXPECT_TRUE(matrix::isString(a.get()));
  EXPECT_EQ(matrix::get_ustring(a.get()), u"chr\u00E9");
  EXPECT_EQ(matrix::get_string(a.get()), "chr\xC3\xA9");
}

TEST_F(ArrayText, StringElementsMayBeMissing) {
  const Owned a = make_string_array({3, 1}, {u"a", std::nullopt, u""});
  EXPECT_EQ(matrix::getString(a.get(), 0), OptionalText(u"a"));
  EXPECT_EQ(matrix::getString(a.get(), 1), std::nullopt);
  EXPECT_EQ(matrix::getString(a.get(), 2), OptionalText(u""));
  EXPECT_EQ(string_of(a.get(), 0), "a");
  EXPECT_EQ(string_of(a.get(), 1), std::nullopt);
}

TEST_F(ArrayText, TextListsComeFromStringsCellsAndCharacters) {
  const std::vector<UString> expected = {u"a", u"", u"b"};
  EXPECT_EQ(matrix::get_string_array(make_string_array({1, 3}, {u"a", u"", u"b"}).get()), expected);
  EXPECT_EQ(matrix::get_string_array(make_cell_of_texts({"a", "", "b"}).get()), expected);
  EXPECT_EQ(matrix::get_string_array(make_text("ab").get()), std::vector<UString>{u"ab"});
  EXPECT_TRUE(matrix::get_string_array(make_cell({0, 0}, {}).get()).empty());
}

TEST_F(ArrayText, ReadingTextsTakesEmptyCellsAsEmptyTexts) {
  const Owned cells(txCreateCellMatrix(2, 1));
  txSetCell(cells.get(), 1, txCreateString("x"));
  EXPECT_EQ(texts_of(cells.get()), (std::vector<std::string>{"", "x"}));
  EXPECT_EQ(texts_of(make_string_array({1, 2}, {u"a", u"b"}).get()),
            (std::vector<std::string>{"a", "b"}));
}

TEST_F(ArrayText, WhatIsNotOneTextIsRefused) {
  const Owned number = make_scalar(1.0);
  const Owned two = make_string_array({1, 2}, {u"a", u"b"});
  const Owned none = make_string_array({0, 0}, {});
  const Owned cells = make_cell_of_texts({"a"});
  for (const txArray* a :
       {number.get(), two.get(), none.get(), cells.get(), static_cast<txArray*>(nullptr)}) {
    EXPECT_THROW(matrix::get_string(a), MustBeStringScalarOrCharacterVector);
    EXPECT_THROW(matrix::get_ustring(a), MustBeStringScalarOrCharacterVector);
    EXPECT_HOST_ERROR(text_of(a), "Tessel:string:MustBeStringScalarOrCharacterVector");
  }
}

TEST_F(ArrayText, TheMissingStringIsNoText) {
  const Owned missing = make_string(std::nullopt);
  EXPECT_THROW(matrix::get_string(missing.get()), MissingNotSupported);
  EXPECT_THROW(matrix::get_ustring(missing.get()), MissingNotSupported);
  EXPECT_THROW(matrix::get_string_array(missing.get()), MissingNotSupported);
  EXPECT_HOST_ERROR(texts_of(missing.get()), "Tessel:string:MissingNotSupported");
}

TEST_F(ArrayText, AListOfOtherThingsThanTextsIsRefused) {
  std::vector<Owned> numbers;
  numbers.push_back(make_scalar(1.0));
  const Owned cells = make_cell({1, 1}, std::move(numbers));
  const Owned empty_cell(txCreateCellMatrix(1, 1));
  EXPECT_THROW(matrix::get_string_array(cells.get()), MustBeStringScalarOrCharacterVector);
  EXPECT_THROW(matrix::get_string_array(empty_cell.get()), MustBeStringScalarOrCharacterVector);
  EXPECT_THROW(matrix::get_string_array(make_scalar(1.0).get()),
               MustBeStringScalarOrCharacterVector);
  EXPECT_THROW(matrix::get_string_array(nullptr), MustBeStringScalarOrCharacterVector);
}

TEST_F(ArrayText, TextOperationsRefuseOtherArrays) {
  const Owned text = make_text("abc");
  const Owned strings = make_string(u"a");
  EXPECT_FALSE(matrix::isString(text.get()));
  EXPECT_FALSE(matrix::isString(nullptr));
  EXPECT_HOST_ERROR(matrix::getString(text.get(), 0), id::kWrongClass);
  EXPECT_HOST_ERROR(matrix::getString(nullptr, 0), id::kNullArray);
  EXPECT_HOST_ERROR(matrix::getString(strings.get(), 1), id::kIndexOutOfRange);
  EXPECT_HOST_ERROR(matrix::create(nullptr, 1), id::kNullArray);
}

}  // namespace
}  // namespace readkit::host::host_array_text_test
