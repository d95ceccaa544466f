// Sizes and printing of optional fields, and walking over them.
#include "records/tags.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/bgzf_builder.h"
#include "support/expect_kind.h"
#include "support/random_data.h"
#include "support/record_builder.h"

namespace readkit::records_tags_test {
namespace {

// Bytes in memory of exactly their own size, so that looking past them is seen.
class Exact {
 public:
  explicit Exact(const std::string& bytes) : bytes_(bytes.begin(), bytes.end()) {}
  const std::uint8_t* begin() const { return bytes_.data(); }
  const std::uint8_t* end() const { return bytes_.data() + bytes_.size(); }

 private:
  std::vector<std::uint8_t> bytes_;
};

std::string array_bytes(char subtype, std::int64_t count, const std::string& elements) {
  return std::string("XBB") + subtype + little_endian(static_cast<std::uint64_t>(count), 4) +
         elements;
}

int tag_size(const std::string& field) { return _tag_size(Exact(field).begin()); }

std::int64_t size_within(const std::string& field) {
  const Exact exact(field);
  return tag_size_within(exact.begin(), exact.end());
}

// ---- Sizes ------------------------------------------------------------------------------------

TEST(TagElemSize, ByLetter) {
  for (int code = -128; code < 128; ++code) {
    const char letter = static_cast<char>(code);
    if (code != 0 && std::strchr("ACHZc", letter) != nullptr) {
      EXPECT_EQ(tag_elem_size(letter), 1) << letter;
    } else if (code != 0 && std::strchr("Ss", letter) != nullptr) {
      EXPECT_EQ(tag_elem_size(letter), 2) << letter;
    } else if (code != 0 && std::strchr("Ifi", letter) != nullptr) {
      EXPECT_EQ(tag_elem_size(letter), 4) << letter;
    } else {
      EXPECT_KIND(tag_elem_size(letter), InvalidTagType, to_ustring(code));
    }
  }
}

TEST(TagElemSize, UnknownLetterIsCarriedAsItsSignedCode) {
  EXPECT_KIND(tag_elem_size('x'), InvalidTagType, u"120");
  EXPECT_KIND(tag_elem_size('B'), InvalidTagType, u"66");
  EXPECT_KIND(tag_elem_size('\0'), InvalidTagType, u"0");
  EXPECT_KIND(tag_elem_size('\xff'), InvalidTagType, u"-1");
  EXPECT_KIND(tag_elem_size('\x80'), InvalidTagType, u"-128");
}

TEST(TagSize, OfAWholeField) {
  const struct {
    std::string field;
    int size;
  } rows[] = {
      {"XAAc", 4},
      {"NHC\x03", 4},
      {"XXc\xff", 4},
      {field_bytes("XS", 's', "ab"), 5},
      {field_bytes("XS", 'S', "ab"), 5},
      {field_bytes("XI", 'i', "abcd"), 7},
      {field_bytes("XI", 'I', "abcd"), 7},
      {field_bytes("XF", 'f', "abcd"), 7},
      {std::string("XYZabc\0", 7), 7},
      {std::string("XYZ\0", 4), 4},
      {std::string("XYH1AE3\0", 8), 8},
      {array_bytes('c', 3, "abc"), 11},
      {array_bytes('s', 3, "aabbcc"), 14},
      {array_bytes('i', 2, "aaaabbbb"), 16},
      {array_bytes('f', 1, "aaaa"), 12},
      {array_bytes('A', 2, "ab"), 10},
      {array_bytes('c', 0, ""), 8},
      // A negative count counts as 0.
      {array_bytes('c', -1, ""), 8},
      {array_bytes('c', -8, ""), 8},
      {array_bytes('i', -2, ""), 8},
      {array_bytes('i', INT_MIN, ""), 8},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(tag_size(row.field), row.size) << row.field;
    EXPECT_EQ(size_within(row.field), row.size) << row.field;
    EXPECT_EQ(size_within(row.field + "more"), row.size) << row.field;
  }
}

TEST(TagSize, OfAnUnknownTypeIsMinusOne) {
  for (const char letter : {'x', 'a', 'd', 'F', 'z', '\0', '\xff'}) {
    EXPECT_EQ(tag_size(field_bytes("XX", letter, "abcdefgh")), -1) << letter;
    EXPECT_EQ(size_within(field_bytes("XX", letter, "abcdefgh")), -1) << letter;
  }
}

TEST(TagSize, OfAnArrayOfAnUnknownSubtypeRaisesInvalidTagType) {
  EXPECT_KIND(tag_size(array_bytes('x', 3, "abc")), InvalidTagType, u"120");
  EXPECT_KIND(tag_size(array_bytes('B', 0, "")), InvalidTagType, u"66");
  EXPECT_EQ(size_within(array_bytes('x', 3, "abc")), -1);
}

const std::vector<std::string> kFieldsOfAllSizes = {
    "XAAc",
    field_bytes("XS", 's', "ab"),
    field_bytes("XI", 'i', "abcd"),
    field_bytes("XF", 'f', "abcd"),
    array_bytes('s', 3, "aabbcc"),
};

TEST(TagSizeWithin, OfAFieldThatDoesNotFitIsMinusOne) {
  for (const std::string& field : kFieldsOfAllSizes) {
    for (std::size_t size = 0; size < field.size(); ++size) {
      EXPECT_EQ(size_within(field.substr(0, size)), -1) << field << " " << size;
    }
  }
  EXPECT_EQ(size_within(array_bytes('i', INT_MAX, "aaaa")), -1);
}

TEST(TagSizeWithin, TextWithoutANulEndsAtTheEnd) {
  EXPECT_EQ(size_within("XYZabc"), 6);
  EXPECT_EQ(size_within("XYZ"), 3);
  EXPECT_EQ(size_within("XYH12"), 5);
}

TEST(IntegerTagValue, ByType) {
  const struct {
    std::string field;
    int value;
  } rows[] = {
      {"NHC\xff", 255},
      {"NHc\xfe", -2},
      {"NHS\xff\xff", 65535},
      {"NHs\xfe\xff", -2},
      {"NHi\xfe\xff\xff\xff", -2},
      {"NHI\xfe\xff\xff\xff", -2},
      {"NHA3", -1},
      {field_bytes("NH", 'f', "abcd"), -1},
      {std::string("NHZ3\0", 5), -1},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(integer_tag_value(Exact(row.field).begin()), row.value) << row.field;
  }
}

// ---- Printing one field -----------------------------------------------------------------------

struct Printed {
  std::string text;
  int length;
  std::ptrdiff_t consumed;
};

Printed print(const std::string& value, char type, int count, std::size_t room = 1000) {
  const Exact exact(value);
  std::vector<char> out(room);
  const std::uint8_t* next = nullptr;
  const int length = tag_snprintf(out.data(), room, exact.begin(), type, count, &next);
  return {std::string(out.data(), static_cast<std::size_t>(length)), length, next - exact.begin()};
}

template <typename T>
std::string bytes_of(const std::vector<T>& values) {
  std::string bytes(values.size() * sizeof(T), '\0');
  if (!values.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
  return bytes;
}

TEST(TagSnprintf, PrintsElementsWithCommasAndATab) {
  const struct {
    std::string value;
    char type;
    int count;
    std::string text;
  } rows[] = {
      {bytes_of<std::int8_t>({-1, 0, 5}), 'c', 3, "-1,0,5\t"},
      {bytes_of<std::int8_t>({-128, 127}), 'c', 2, "-128,127\t"},
      {bytes_of<std::uint8_t>({255, 0}), 'C', 2, "255,0\t"},
      {bytes_of<std::int16_t>({-32768, 32767}), 's', 2, "-32768,32767\t"},
      {bytes_of<std::uint16_t>({65535, 1}), 'S', 2, "65535,1\t"},
      {bytes_of<std::int32_t>({INT_MIN, INT_MAX}), 'i', 2, "-2147483648,2147483647\t"},
      {bytes_of<std::uint32_t>({UINT_MAX, 0}), 'I', 2, "4294967295,0\t"},
      {bytes_of<float>({2.5F}), 'f', 1, "2.500000\t"},
      {bytes_of<float>({-0.0F, 1e6F}), 'f', 2, "-0.000000,1000000.000000\t"},
      {"x", 'A', 1, "x\t"},
      {"xyz", 'A', 3, "x,y,z\t"},
      {std::string(1, '\0'), 'A', 1, std::string("\0\t", 2)},
  };
  for (const auto& row : rows) {
    const Printed printed = print(row.value, row.type, row.count);
    EXPECT_EQ(printed.text, row.text);
    EXPECT_EQ(printed.length, static_cast<int>(row.text.size()));
    EXPECT_EQ(printed.consumed, static_cast<std::ptrdiff_t>(row.value.size()));
  }
}

TEST(TagSnprintf, ThreeSignedBytesGiveSevenCharacters) {
  EXPECT_EQ(print(bytes_of<std::int8_t>({-1, 0, 5}), 'c', 3).length, 7);
}

TEST(TagSnprintf, TextIsPrintedWhateverTheCount) {
  for (const char type : {'Z', 'H'}) {
    for (const int count : {-5, 0, 1, 7}) {
      const Printed printed = print(std::string("hello\0more", 10), type, count);
      EXPECT_EQ(printed.text, "hello\t");
      EXPECT_EQ(printed.consumed, 6);  // steps over the NUL
    }
    EXPECT_EQ(print(std::string(1, '\0'), type, 1).text, "\t");
  }
}

TEST(TagSnprintf, CountBelowOnePrintsNothing) {
  for (const int count : {0, -1, INT_MIN}) {
    const Printed printed = print("abcd", 'i', count);
    EXPECT_EQ(printed.length, 0);
    EXPECT_EQ(printed.consumed, 0);
  }
}

TEST(TagSnprintf, UnknownTypeRaisesInvalidTagTypeWhateverTheCount) {
  for (const int count : {-1, 0, 1, 3}) {
    EXPECT_KIND(print("abcdefgh", 'x', count), InvalidTagType, u"120");
    EXPECT_KIND(print("abcdefgh", 'B', count), InvalidTagType, u"66");
    EXPECT_KIND(print("abcdefgh", '\xff', count), InvalidTagType, u"-1");
  }
}

TEST(TagSnprintf, NextIsOptional) {
  char out[20];
  const Exact value("\x07");
  EXPECT_EQ(tag_snprintf(out, sizeof out, value.begin(), 'C', 1), 2);
  EXPECT_EQ(std::string(out, 2), "7\t");
  const Exact text(std::string("ab\0", 3));
  EXPECT_EQ(tag_snprintf(out, sizeof out, text.begin(), 'Z', 1), 3);
  EXPECT_EQ(std::string(out, 3), "ab\t");
}

TEST(TagSnprintf, ElementThatDoesNotFitEndsThePrintingBeforeIt) {
  const std::string value = bytes_of<std::uint8_t>({10, 20, 30});
  EXPECT_EQ(print(value, 'C', 3, 9).text, "10,20,30\t");
  EXPECT_EQ(print(value, 'C', 3, 8).text, "10,20\t");
  EXPECT_EQ(print(value, 'C', 3, 3).text, "10\t");
  EXPECT_EQ(print(value, 'C', 3, 2).text, "");
  EXPECT_EQ(print(value, 'C', 3, 2).consumed, 3);
  EXPECT_EQ(print(std::string("hello\0", 6), 'Z', 1, 5).text, "");
  EXPECT_EQ(print(std::string("hello\0", 6), 'Z', 1, 5).consumed, 6);
}

TEST(TagSnprintf, LongestFloatFits) {
  const std::string text =
      print(bytes_of<float>({-std::numeric_limits<float>::max()}), 'f', 1).text;
  EXPECT_EQ(text, "-340282346638528859811704183484516925440.000000\t");
}

// ---- Printing all fields ----------------------------------------------------------------------

std::string fields_text(const std::string& fields) {
  const Exact exact(fields);
  std::vector<char> out(max_tags_text(exact.begin(), exact.end()));
  char* const end = write_tags(exact.begin(), exact.end(), out.data());
  return {out.data(), end};
}

TEST(WriteTags, EveryTypeAndWidth) {
  const struct {
    std::string field;
    std::string text;
  } rows[] = {
      {"", ""},
      {"XAAc", "XA:A:c\t"},
      {"NMC\x03", "NM:i:3\t"},
      {field_bytes("XS", 's', little_endian(0xfffe, 2)), "XS:i:-2\t"},
      {field_bytes("XS", 'S', little_endian(0xfffe, 2)), "XS:i:65534\t"},
      {field_bytes("XI", 'I', little_endian(0xffffffff, 4)), "XI:i:4294967295\t"},
      {field_bytes("XI", 'i', little_endian(0xffffffff, 4)), "XI:i:-1\t"},
      {field_bytes("XF", 'f', bytes_of<float>({1.5F})), "XF:f:1.500000\t"},
      {std::string("XZZa b\0", 7), "XZ:Z:a b\t"},
      {std::string("XZZ\0", 4), "XZ:Z:\t"},
      {std::string("XHH1AE3\0", 8), "XH:H:1AE3\t"},
      // Neither the subtype nor the comma behind it is printed.
      {array_bytes('S', 2, little_endian(1, 2) + little_endian(2, 2)), "XB:B:1,2\t"},
      {array_bytes('c', 1, "\xff"), "XB:B:-1\t"},
      {array_bytes('f', 2, bytes_of<float>({0.5F, -1.0F})), "XB:B:0.500000,-1.000000\t"},
      // An empty array prints not even a TAB.
      {array_bytes('i', 0, ""), "XB:B:"},
      {array_bytes('i', -3, ""), "XB:B:"},
      {array_bytes('i', 0, "") + "NMC\x03", "XB:B:NM:i:3\t"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(fields_text(row.field), row.text);
    EXPECT_EQ(fields_text("AACx" + row.field), "AA:i:120\t" + row.text);
  }
}

TEST(WriteTags, UnknownTypesRaiseInvalidTagType) {
  EXPECT_KIND(fields_text("XXxabcd"), InvalidTagType, u"120");
  EXPECT_KIND(fields_text(array_bytes('x', 1, "a")), InvalidTagType, u"120");
  EXPECT_KIND(fields_text(array_bytes('x', 0, "")), InvalidTagType, u"120");
  EXPECT_KIND(fields_text(array_bytes('B', 1, "a")), InvalidTagType, u"66");
}

TEST(WriteTags, FieldThatRunsPastTheEndRaisesInvalidSAMFormat) {
  for (const std::string& field : kFieldsOfAllSizes) {
    for (std::size_t size = 1; size < field.size(); ++size) {
      EXPECT_KIND(fields_text(field.substr(0, size)), InvalidSAMFormat, u"");
    }
  }
  EXPECT_KIND(fields_text(array_bytes('i', INT_MAX, "aaaa")), InvalidSAMFormat, u"");
}

TEST(WriteTags, TextWithoutANulEndsAtTheEnd) {
  EXPECT_EQ(fields_text("XZZabc"), "XZ:Z:abc\t");
  EXPECT_EQ(fields_text("XZZ"), "XZ:Z:\t");
}

// 48 characters for 7 bytes are too few for many of these: room is made by real need.
TEST(WriteTags, RoomIsEnoughForTheWidestValues) {
  std::string text;
  std::string fields;
  for (int i = 0; i < 50; ++i) {
    fields += field_bytes("XF", 'f', bytes_of<float>({-std::numeric_limits<float>::max()}));
    text += "XF:f:-340282346638528859811704183484516925440.000000\t";
  }
  EXPECT_EQ(fields_text(fields), text);
  std::string numbers;
  for (int i = 0; i < 1000; ++i) numbers += "-340282346638528859811704183484516925440.000000,";
  numbers.back() = '\t';
  const std::vector<float> lowest(1000, std::numeric_limits<float>::lowest());
  EXPECT_EQ(fields_text(array_bytes('f', 1000, bytes_of(lowest))), "XB:B:" + numbers);
  const std::vector<std::int32_t> integers(3, INT_MIN);
  EXPECT_EQ(fields_text(array_bytes('i', 3, bytes_of(integers))),
            "XB:B:-2147483648,-2147483648,-2147483648\t");
}

TEST(WriteTags, RandomBytesGiveTextOrADocumentedError) {
  Random random(100);
  const std::string types = "AcCsSiIfZHBx";
  int printed = 0;
  for (int i = 0; i < 20000; ++i) {
    std::string fields;
    for (std::uint64_t n = random() % 4; n > 0; --n) {
      fields += "XX";
      fields += types[random() % types.size()];
      if (fields.back() == 'B') {
        fields += types[random() % 8];
        fields += little_endian(random() % 4, 4);
      }
      fields += random_bytes(random, random() % 9);
    }
    try {
      fields_text(fields);
      ++printed;
    } catch (const InvalidTagType&) {
    } catch (const InvalidSAMFormat&) {
    }
  }
  EXPECT_GT(printed, 1000);
}

}  // namespace
}  // namespace readkit::records_tags_test
