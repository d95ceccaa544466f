// Optional fields from SAM text.
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "records/tags.h"
#include "support/bgzf_builder.h"
#include "support/comma_locale.h"
#include "support/expect_kind.h"
#include "support/random_data.h"
#include "support/record_builder.h"

namespace readkit::records_tags_parse_test {
namespace {

// The fields of a line that begins with them, or with `before`.
std::string parse(const std::string& fields, const std::string& before = "") {
  std::size_t length = 99999;
  const std::unique_ptr<std::uint8_t[]> bytes = parse_tags(before + fields, before.size(), &length);
  return {bytes.get(), bytes.get() + length};
}

std::string float_bytes(float value) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

std::string int_field(const char* name, std::int64_t value) {
  return field_bytes(name, 'i', little_endian(static_cast<std::uint64_t>(value), 4));
}

std::string operator""_bytes(const char* text, std::size_t size) { return {text, size}; }

TEST(ParseTags, EveryTypeIsEncoded) {
  const struct {
    std::string text;
    std::string bytes;
  } rows[] = {
      {"NM:i:5", "NMi\5\0\0\0"_bytes},
      {"XA:Z:hello", "XAZhello\0"_bytes},
      {"XA:Z:", "XAZ\0"_bytes},
      {"XA:Z:a b:c", "XAZa b:c\0"_bytes},
      {"XA:A:c", "XAAc"},
      {"XA:A:cde", "XAAc"},
      {"XF:f:1.5", "XFf" + float_bytes(1.5F)},
      {"XF:f:-1e-3x", "XFf" + float_bytes(-1e-3F)},
      {"XF:f:inf", "XFf" + float_bytes(std::numeric_limits<float>::infinity())},
      {"XF:f:1e99", "XFf" + float_bytes(std::numeric_limits<float>::infinity())},
      {"XF:f:", "XFf" + float_bytes(0.0F)},
      {"XF:f:abc", "XFf" + float_bytes(0.0F)},
      // Any other letter gives the header alone.
      {"XS:s:7", "XSs"},
      {"XS:S:7", "XSS"},
      {"XS:c:7", "XSc"},
      {"XS:C:7", "XSC"},
      {"XS:I:7", "XSI"},
      {"XS:x:7", "XSx"},
      {"XS:s:", "XSs"},
      {"XS:\xff:7", "XS\xff"},
      // The colons are not looked at.
      {"NMxix5", "NMi\5\0\0\0"_bytes},
      {"a\"!Zbc", "a\"Zc\0"_bytes},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(parse(row.text), row.bytes) << row.text;
    EXPECT_EQ(parse(row.text, "field\t"), row.bytes) << row.text;
    EXPECT_EQ(parse(row.text + "\tNM:i:5"), row.bytes + "NMi\5\0\0\0"_bytes) << row.text;
    EXPECT_EQ(parse("NM:i:5\t" + row.text), "NMi\5\0\0\0"_bytes + row.bytes) << row.text;
  }
}

TEST(ParseTags, IntegersAreReadAsStrtolReadsThemAndKeepTheirLowBits) {
  const struct {
    const char* text;
    std::int64_t value;
  } rows[] = {
      {"5", 5},
      {"-5", -5},
      {"+5", 5},
      {" 5", 5},
      {"5x", 5},
      {"", 0},
      {"x", 0},
      {"-", 0},
      {"0x10", 0},
      {"2147483647", 2147483647},
      {"-2147483648", -2147483648LL},
      {"4294967295", -1},
      {"4294967297", 1},
      {"9223372036854775807", -1},
      {"99999999999999999999", -1},  // saturated, then cut
      {"-99999999999999999999", 0},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(parse(std::string("XX:i:") + row.text), int_field("XX", row.value)) << row.text;
  }
}

TEST(ParseTags, NumberDoesNotReachIntoTheNextField) {
  EXPECT_EQ(parse("XX:i:\t77:i:5"), int_field("XX", 0) + int_field("77", 5));
  EXPECT_EQ(parse("XX:f:\t77:i:5"), "XXf" + float_bytes(0) + int_field("77", 5));
}

TEST(ParseTags, FloatsDoNotFollowTheLocale) {
  const CommaLocale locale;
  if (!locale.is_set()) GTEST_SKIP() << "no locale with a decimal comma can be set or made here";
  EXPECT_EQ(parse("XF:f:1.5"), "XFf" + float_bytes(1.5F));
}

TEST(ParseTags, NoFieldsGiveNoBytes) {
  EXPECT_EQ(parse(""), "");
  EXPECT_EQ(parse("", "r1\t0"), "");
}

TEST(ParseTags, StartBeyondTheLineGivesNoBytes) {
  std::size_t length = 99;
  EXPECT_NE(parse_tags("abc", 3, &length), nullptr);
  EXPECT_EQ(length, 0u);
  parse_tags("abc", 100, &length);
  EXPECT_EQ(length, 0u);
}

TEST(ParseTags, EmptyFieldsAreSkipped) {
  EXPECT_EQ(parse("\t"), "");
  EXPECT_EQ(parse("\t\t"), "");
  EXPECT_EQ(parse("NM:i:5\t"), int_field("NM", 5));
  EXPECT_EQ(parse("\tNM:i:5\t\t\tXA:A:c\t"), int_field("NM", 5) + "XAAc");
}

TEST(ParseTags, FieldOfFewerThanFiveCharactersRaisesInvalidSAMFormat) {
  for (const char* field : {"N", "NM", "NM:", "NM:i", "XA:Z", " "}) {
    EXPECT_KIND(parse(field), InvalidSAMFormat, u"");
    EXPECT_KIND(parse(std::string("NM:i:5\t") + field), InvalidSAMFormat, u"");
    EXPECT_KIND(parse(std::string(field) + "\tNM:i:5"), InvalidSAMFormat, u"");
  }
}

TEST(ParseTags, TypeAWithoutACharacterRaisesInvalidSAMFormat) {
  EXPECT_KIND(parse("XA:A:"), InvalidSAMFormat, u"");
  EXPECT_KIND(parse("XA:A:\tNM:i:5"), InvalidSAMFormat, u"");
}

// ---- 'H' ---------------------------------------------------------------------------------------

// The k-th byte lands at offset 2k while the field grows by one byte per pair.
TEST(ParseTags, HexPairsLandAtEverySecondByte) {
  const struct {
    std::string text;
    std::string bytes;
  } rows[] = {
      {"XH:H:", "XHH"},
      {"XH:H:1A", "XHH\x1a"},
      {"XH:H:1AE3", "XHH\x1a\0"_bytes},
      {"XH:H:1AE301", "XHH\x1a\0\xe3"_bytes},
      {"XH:H:1AE30102", "XHH\x1a\0\xe3\0"_bytes},
      {"XH:H:1ae3010203", "XHH\x1a\0\xe3\0\x01"_bytes},
      // An odd last digit is converted alone.
      {"XH:H:7", "XHH\x07"},
      {"XH:H:1A7", "XHH\x1a\0"_bytes},
      {"XH:H:1A2B7", "XHH\x1a\0\x2b"_bytes},
  };
  for (const auto& row : rows) EXPECT_EQ(parse(row.text), row.bytes) << row.text;
}

TEST(ParseTags, LaterHexPairsAreOverwrittenByTheNextField) {
  EXPECT_EQ(parse("XH:H:0102030405060708\tXA:Z:ab"), "XHH\x01\0\x02\0\x03\0\x04\0XAZab\0"_bytes);
  EXPECT_EQ(parse("XH:H:0102030405060708\tXS:s:1\tXS:s:2\tXS:s:3"),
            "XHH\x01\0\x02\0\x03\0\x04\0XSsXSsXSs"_bytes);
}

TEST(ParseTags, BytesThatTheStrideLeavesUnsetAreZeroBehindAnotherHexField) {
  EXPECT_EQ(parse("XH:H:FFFFFFFFFFFFFFFF\tYH:H:EEEE"),
            "XHH\xff\0\xff\0\xff\0\xff\0YHH\xee\0"_bytes);
}

TEST(ParseTags, HexDigitsThatAreNoneRaiseTheStandardError) {
  for (const char* digits : {"xy", "1Axy", "G0", "--", "1A-", "  "}) {
    EXPECT_THROW(parse(std::string("XH:H:") + digits), std::invalid_argument) << digits;
  }
}

TEST(ParseTags, LongHexFieldFits) {
  std::string digits;
  for (int i = 0; i < 5000; ++i) digits += "7F";
  const std::string bytes = parse("XH:H:" + digits);
  ASSERT_EQ(bytes.size(), 5003u);
  EXPECT_EQ(bytes[3], '\x7f');
  EXPECT_EQ(bytes[4], '\0');
  EXPECT_EQ(bytes[5001], '\x7f');
}

// ---- 'B' ---------------------------------------------------------------------------------------

// Every conversion starts at the first character, and that is the comma behind the subtype.
TEST(ParseTags, EveryArrayRaisesTheStandardInvalidArgumentError) {
  for (const char* subtype : {"c", "C", "s", "S", "i", "I", "x"}) {
    EXPECT_STD(parse(std::string("XB:B:") + subtype + ",1,2"), std::invalid_argument, "stol");
    EXPECT_STD(parse(std::string("XB:B:") + subtype), std::invalid_argument, "stol");
  }
  EXPECT_STD(parse("XB:B:f,1.5"), std::invalid_argument, "stof");
  EXPECT_THROW(parse("XB:B:"), std::invalid_argument);
  EXPECT_THROW(parse("NM:i:5\tXB:B:c,1\tNM:i:6"), std::invalid_argument);
}

std::string array_of(const std::string& text, char subtype, std::size_t room = 100) {
  std::vector<std::uint8_t> out(room);
  const int size = parse_barray(text, subtype, out.data());
  return {out.begin(), out.begin() + size};
}

TEST(ParseBarray, CountsCommasAndConvertsTheFirstNumberForEveryElement) {
  EXPECT_EQ(array_of("7", 'c'), little_endian(1, 4) + "\x07");
  EXPECT_EQ(array_of("7,8,9", 'C'), little_endian(3, 4) + "\x07\x07\x07");
  EXPECT_EQ(array_of("258,1", 's'), little_endian(2, 4) + "\x02\x01\x02\x01");
  EXPECT_EQ(array_of("-1", 'S'), little_endian(1, 4) + "\xff\xff");
  EXPECT_EQ(array_of("-2", 'i'), little_endian(1, 4) + "\xfe\xff\xff\xff");
  EXPECT_EQ(array_of("4294967295", 'I'), little_endian(1, 4) + "\xff\xff\xff\xff");
  EXPECT_EQ(array_of("1.5,2", 'f'), little_endian(2, 4) + float_bytes(1.5F) + float_bytes(1.5F));
  EXPECT_EQ(array_of("300", 'c'), little_endian(1, 4) + "\x2c");
}

TEST(ParseBarray, OtherSubtypeStoresTheCountAlone) {
  EXPECT_EQ(array_of("7,8", 'x'), little_endian(2, 4));
}

TEST(ParseBarray, TextWithoutANumberRaisesTheStandardError) {
  EXPECT_STD(array_of("", 'c'), std::invalid_argument, "stol");
  EXPECT_STD(array_of(",1", 'c'), std::invalid_argument, "stol");
  EXPECT_STD(array_of(",1", 'f'), std::invalid_argument, "stof");
  EXPECT_STD(array_of("99999999999999999999", 'c'), std::out_of_range, "stol");
  EXPECT_STD(array_of("1e99", 'f'), std::out_of_range, "stof");
}

// ---- Room ---------------------------------------------------------------------------------------

TEST(ParseTags, FieldsOfAnySizeFit) {
  Random random(120);
  for (const std::size_t size : {std::size_t{1000}, std::size_t{1020}, std::size_t{1021},
                                 std::size_t{1024}, std::size_t{5000}, std::size_t{100000}}) {
    const std::string text = random_text(random, size);
    const std::string field = "XZZ" + text + std::string(1, '\0');
    EXPECT_TRUE(parse("XZ:Z:" + text) == field) << size;
    EXPECT_TRUE(parse("NM:i:5\tXZ:Z:" + text + "\tXZ:Z:" + text + "\tNM:i:6") ==
                int_field("NM", 5) + field + field + int_field("NM", 6))
        << size;
  }
}

TEST(ParseTags, ManyFieldsFit) {
  std::string text;
  std::string bytes;
  for (int i = 0; i < 2000; ++i) {
    text += (i == 0 ? "" : "\t") + std::string("N") + static_cast<char>('a' + i % 26) +
            ":i:" + std::to_string(i);
    bytes += int_field((std::string("N") + static_cast<char>('a' + i % 26)).c_str(), i);
  }
  EXPECT_TRUE(parse(text) == bytes);
}

TEST(ParseTags, RandomTextGivesBytesOrADocumentedError) {
  Random random(121);
  const std::string pieces[] = {"NM:i:", "XA:A:", "XZ:Z:", "XH:H:", "XF:f:", "XB:B:c", "\t",
                                "1",     "F",     "-",     "x",     ".5",    "\t",     ","};
  int parsed = 0;
  for (int i = 0; i < 20000; ++i) {
    std::string line;
    for (std::uint64_t n = random() % 12; n > 0; --n) line += pieces[random() % std::size(pieces)];
    try {
      parse(line);
      ++parsed;
    } catch (const InvalidSAMFormat& error) {
      ASSERT_EQ(error.arguments(), expected_arguments(u""));
    } catch (const std::invalid_argument&) {
    } catch (const std::out_of_range&) {
    }
  }
  EXPECT_GT(parsed, 1000);
}

// ---- Helpers ------------------------------------------------------------------------------------

TEST(TagMaxSize, ByType) {
  const struct {
    std::string field;
    int size;
  } rows[] = {
      {"XA:A:c", 4},     {"XB:B:c,1,2", 20}, {"XB:B:c", 12},    {"XH:H:1AE301", 6},
      {"XH:H:1AE30", 5}, {"XH:H:", 3},       {"XA:Z:hello", 9}, {"XA:Z:", 4},
      {"NM:i:5", 7},     {"XF:f:1.5", 7},    {"XS:s:7", 7},     {"XX:x:anything at all", 7},
  };
  for (const auto& row : rows) {
    const int size = static_cast<int>(row.field.size());
    EXPECT_EQ(tag_max_size(row.field, 0, size), row.size) << row.field;
    EXPECT_EQ(tag_max_size("pre,fix\t" + row.field + "\tNM:i:5,", 8, 8 + size), row.size)
        << row.field;
  }
}

TEST(TagMaxSize, OfAnArrayWithoutAnEndIsTwelve) { EXPECT_EQ(tag_max_size("XB:B:c,1,2", 0, 0), 12); }

TEST(TagMaxSize, DivisionForHexTruncatesTowardZero) {
  EXPECT_EQ(tag_max_size("XH:H", 0, 4), 3);  // -1 / 2
  EXPECT_EQ(tag_max_size("XH:H", 0, 3), 2);  // -2 / 2
}

TEST(NextTab, FindsTheFirstTabFromAPosition) {
  const std::string text = "ab\tcd\t";
  const int expected[] = {2, 2, 2, 5, 5, 5, -1, -1};
  for (int from = 0; from < 8; ++from) EXPECT_EQ(_next_tab(text, from), expected[from]) << from;
  EXPECT_EQ(_next_tab(text, -1), -1);
  EXPECT_EQ(_next_tab("", 0), -1);
  EXPECT_EQ(_next_tab("abc", 0), -1);
}

TEST(AssertTab, RaisesInvalidSAMFormatWithoutATab) {
  EXPECT_EQ(_assert_tab("ab\tc", 1), 2);
  EXPECT_KIND(_assert_tab("ab\tc", 3), InvalidSAMFormat, u"");
  EXPECT_KIND(_assert_tab("ab\tc", 4), InvalidSAMFormat, u"");
  EXPECT_KIND(_assert_tab("ab\tc", -1), InvalidSAMFormat, u"");
  EXPECT_KIND(_assert_tab("", 0), InvalidSAMFormat, u"");
}

TEST(Resize, KeepsTheUsedBytes) {
  std::unique_ptr<std::uint8_t[]> buffer = _resize(nullptr, 0, 4);
  std::memcpy(buffer.get(), "abcd", 4);
  buffer = _resize(std::move(buffer), 3, 100);
  EXPECT_EQ(std::memcmp(buffer.get(), "abc", 3), 0);
  buffer[99] = 1;  // the room is there
}

}  // namespace
}  // namespace readkit::records_tags_parse_test
