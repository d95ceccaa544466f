// The NH field of a record.
#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "records/alignment.h"
#include "support/bgzf_builder.h"
#include "support/random_data.h"
#include "support/record_builder.h"

namespace readkit::records_nh_tag_test {
namespace {

int nh_of(const std::string& fields) {
  return RecordBuilder().seq("ACGTA").tag_bytes(fields).record().nh_tag();
}

std::string nh(char type, std::uint64_t value, std::size_t size) {
  return field_bytes("NH", type, little_endian(value, size));
}

std::string array(char subtype, std::int64_t count, const std::string& elements = "") {
  return field_bytes("XB", 'B',
                     subtype + little_endian(static_cast<std::uint64_t>(count), 4) + elements);
}

TEST(NhTag, IsReadByItsType) {
  const struct {
    std::string field;
    int value;
  } rows[] = {
      {nh('C', 3, 1), 3},
      {nh('C', 255, 1), 255},
      {nh('c', 255, 1), -1},
      {nh('c', 128, 1), -128},
      {nh('S', 65535, 2), 65535},
      {nh('s', 65535, 2), -1},
      {nh('s', 32768, 2), -32768},
      {nh('i', 3, 4), 3},
      {nh('i', 0x80000000, 4), INT_MIN},
      {nh('I', 0x7fffffff, 4), INT_MAX},
      {nh('I', 0xfffffffe, 4), -2},
  };
  for (const auto& row : rows) EXPECT_EQ(nh_of(row.field), row.value);
}

TEST(NhTag, OfAnotherTypeIsMinusOne) {
  const std::string fields[] = {
      std::string("NHZ3\0", 5),
      std::string("NHH3\0", 5),
      "NHA3",
      nh('f', 0x40400000, 4),
      "NHBC" + little_endian(1, 4) + "\x03",
      "NHx\x03",
  };
  for (const std::string& field : fields) {
    EXPECT_EQ(nh_of(field), -1) << field;
    EXPECT_EQ(nh_of(field + nh('C', 5, 1)), -1) << field;  // the first NH field counts
  }
}

TEST(NhTag, MissingIsMinusOne) {
  EXPECT_EQ(nh_of(""), -1);
  EXPECT_EQ(nh_of("NMC\x03"), -1);
  EXPECT_EQ(nh_of("HNC\x03"), -1);
  EXPECT_EQ(nh_of("nhC\x03"), -1);
}

TEST(NhTag, IsFoundBehindFieldsOfEveryType) {
  const std::string before =
      "XAAcX1c\x01X2C\x02" + field_bytes("X3", 's', "ab") + field_bytes("X4", 'S', "NH") +
      field_bytes("X5", 'i', "NHC\x07") + field_bytes("X6", 'I', "abcd") +
      field_bytes("X7", 'f', "abcd") + std::string("X8ZNHC\x09\0", 8) + std::string("X9H1A\0", 6) +
      array('c', 3, "NHC") + array('s', 2, "abcd") + array('I', 0) + array('f', 1, "abcd");
  EXPECT_EQ(nh_of(before + nh('C', 3, 1)), 3);
  EXPECT_EQ(nh_of(before), -1);
}

TEST(NhTag, BehindAFieldOfUnknownTypeIsMinusOne) {
  EXPECT_EQ(nh_of("XXx\x01" + nh('C', 3, 1)), -1);
  EXPECT_EQ(nh_of(std::string("XX\0\x01", 4) + nh('C', 3, 1)), -1);
}

TEST(NhTag, UnknownSubtypeEndsTheWalkWithoutAnError) {
  EXPECT_NO_THROW(EXPECT_EQ(nh_of(array('x', 1, "a") + nh('C', 3, 1)), -1));
  EXPECT_NO_THROW(EXPECT_EQ(nh_of(array('B', 0) + nh('C', 3, 1)), -1));
}

// Sizes computed with such counts would be 0 or negative, and the walk would stand still.
TEST(NhTag, NegativeArrayCountCountsAsZero) {
  EXPECT_EQ(nh_of(array('c', -8) + nh('C', 3, 1)), 3);
  EXPECT_EQ(nh_of(array('i', -2) + nh('C', 3, 1)), 3);
  EXPECT_EQ(nh_of(array('s', -4) + nh('C', 3, 1)), 3);
  EXPECT_EQ(nh_of(array('i', INT_MIN) + nh('C', 3, 1)), 3);
}

TEST(NhTag, FieldThatRunsPastTheBlockEndsTheWalk) {
  EXPECT_EQ(nh_of(array('i', INT_MAX) + nh('C', 3, 1)), -1);
  EXPECT_EQ(nh_of(array('c', 100) + nh('C', 3, 1)), -1);
  EXPECT_EQ(nh_of("XZZ no NUL" + nh('C', 3, 1)), -1);
  const std::string whole = nh('i', 3, 4);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(nh_of(whole.substr(0, size)), -1) << size;
    EXPECT_EQ(nh_of("XAAc" + whole.substr(0, size)), -1) << size;
  }
}

TEST(NhTag, RandomBytesAreWalkedWithinTheBlock) {
  Random random(110);
  for (int i = 0; i < 20000; ++i) {
    std::string fields;
    for (std::uint64_t n = random() % 6; n > 0; --n) {
      fields += random() % 3 == 0 ? "NH" : "XX";
      fields += "AcCsSiIfZHBx"[random() % 12];
      fields += random_bytes(random, random() % 10);
    }
    const int value = nh_of(fields);
    if (fields.find("NH") == std::string::npos) {
      ASSERT_EQ(value, -1);
    }
  }
}

}  // namespace
}  // namespace readkit::records_nh_tag_test
