// Region strings.
#include <ostream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "header/bam_header.h"
#include "support/expect_kind.h"

namespace readkit::header_region_test {
namespace {

const BamHeader& header() {
  static const BamHeader header = [] {
    BamHeader h;
    h.add_reference("chr1", 10000);
    h.add_reference("chr2", 10000);
    h.add_reference("HLA", 10000);
    h.add_reference("HLA:A*01", 10000);
    h.add_reference("", 10000);
    h.add_reference("a-b", 10000);
    return h;
  }();
  return header;
}

struct Region {
  int ref = -99;
  int beg = -99;
  int end = -99;
  bool operator==(const Region&) const = default;
};

void PrintTo(const Region& r, std::ostream* out) {
  *out << "(" << r.ref << ", " << r.beg << ", " << r.end << ")";
}

Region parse(const std::string& text) {
  Region region;
  EXPECT_TRUE(header().parse_region(text, &region.ref, &region.beg, &region.end)) << text;
  return region;
}

TEST(Region, IsReadAsZeroBasedHalfOpen) {
  const struct {
    const char* text;
    Region region;
  } rows[] = {
      {"chr1:1-100", {0, 0, 100}},
      {"chr2:1-100", {1, 0, 100}},
      {"chr1:5-5", {0, 4, 5}},
      {"chr1:0-0", {0, -1, 0}},
      {"chr1:007-010", {0, 6, 10}},
      // Thousands separators, anywhere.
      {"chr1:1,000-2,000", {0, 999, 2000}},
      {"chr1:,1,,0,-,2,0,", {0, 9, 20}},
      // Begin may be greater than end.
      {"chr1:200-100", {0, 199, 100}},
      {"chr1:2147483647-2147483647", {0, 2147483646, 2147483647}},
      // Blanks and signs, as the standard conversion takes them; the rest is not looked at.
      {"chr1: 7- 9", {0, 6, 9}},
      {"chr1:+7-+9", {0, 6, 9}},
      {"chr1:5--3", {0, 4, -3}},
      {"chr1:5--2147483648", {0, 4, -2147483647 - 1}},
      {"chr1:1-2-3", {0, 0, 2}},
      {"chr1:1x-2y", {0, 0, 2}},
      {"chr1:0x10-0x20", {0, -1, 0}},
      // The first colon ends the name, and the first dash behind it ends the begin.
      {"HLA:1-5", {2, 0, 5}},
      {":1-5", {4, 0, 5}},
      {"a-b:1-5", {5, 0, 5}},
      {"chr1:1-5:9", {0, 0, 5}},
  };
  for (const auto& row : rows) EXPECT_EQ(parse(row.text), row.region) << row.text;
}

TEST(Region, WithoutAColonRaisesInvalidRegion) {
  EXPECT_KIND(parse("chr1"), InvalidRegion, u"chr1");
  EXPECT_KIND(parse(""), InvalidRegion, u"");
  EXPECT_KIND(parse("chr1-100"), InvalidRegion, u"chr1-100");
  EXPECT_KIND(parse("chrZ"), InvalidRegion, u"chrZ");
}

TEST(Region, WithoutADashBehindTheColonRaisesInvalidRegion) {
  EXPECT_KIND(parse("chr1:100"), InvalidRegion, u"chr1:100");
  EXPECT_KIND(parse("chr1:"), InvalidRegion, u"chr1:");
  EXPECT_KIND(parse("a-b:100"), InvalidRegion, u"a-b:100");
}

TEST(Region, OfAnUnknownReferenceRaisesReferenceIDNotFound) {
  EXPECT_KIND(parse("chrZ:1-2"), ReferenceIDNotFound, u"chrZ");
  EXPECT_KIND(parse("chrZ:1"), ReferenceIDNotFound, u"chrZ");  // before the dash is looked for
  EXPECT_KIND(parse("chr1 :1-2"), ReferenceIDNotFound, u"chr1 ");
}

TEST(Region, NameWithAColonIsSplitAtItsFirstColon) {
  EXPECT_STD(parse("HLA:A*01:1-5"), std::invalid_argument, "stoi");
}

TEST(Region, MissingOrOtherNumbersRaiseTheStandardConversionsError) {
  for (const char* text : {"chr1:-5", "chr1:-", "chr1:a-5", "chr1:,-5", "chr1:1-", "chr1:1-a",
                           "chr1:1-,", "chr1: -5"}) {
    EXPECT_STD(parse(text), std::invalid_argument, "stoi");
  }
}

TEST(Region, NumbersBeyondIntRaiseTheStandardConversionsError) {
  for (const char* text : {"chr1:2147483648-5", "chr1:1-2147483648", "chr1:1--2147483649",
                           "chr1:99999999999999999999-5", "chr1:1-99,999,999,999"}) {
    EXPECT_STD(parse(text), std::out_of_range, "stoi");
  }
}

}  // namespace
}  // namespace readkit::header_region_test
