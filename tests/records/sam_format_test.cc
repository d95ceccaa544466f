// SAM lines of records.
#include "records/sam_format.h"

#include <climits>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/bgzf_builder.h"
#include "support/comma_locale.h"
#include "support/expect_kind.h"
#include "support/record_builder.h"
#include "support/reference_decoder.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::records_sam_format_test {
namespace {

const BamHeader& header() {
  static const BamHeader header = [] {
    BamHeader h;
    h.add_reference("chr1", 1000);
    h.add_reference("chr2", 2000);
    return h;
  }();
  return header;
}

std::string line(const RecordBuilder& builder) { return builder.record().to_sam(header()); }

// A record that prints as kPlain, for changing one thing at a time.
RecordBuilder plain() {
  return RecordBuilder("r1").at(0, 99).mapq(60).cigar("4M").mate(1, 199).tlen(-5).seq("ACGT").qual(
      "IIII");
}
constexpr char kPlain[] = "r1\t0\tchr1\t100\t60\t4M\tchr2\t200\t-5\tACGT\tIIII";

TEST(SamFormat, ElevenFieldsSeparatedByTabs) { EXPECT_EQ(line(plain()), kPlain); }

TEST(SamFormat, FullyUnmappedRecord) {
  EXPECT_EQ(line(RecordBuilder("r1").flag(4)), "r1\t4\t*\t0\t0\t*\t*\t0\t0\t*\t*");
}

TEST(SamFormat, Name) {
  const std::string rest = "\t0\t*\t0\t0\t*\t*\t0\t0\t*\t*";
  EXPECT_EQ(line(RecordBuilder("a name:with/anything")), "a name:with/anything" + rest);
  EXPECT_EQ(line(RecordBuilder("")), rest);                      // only the NUL
  EXPECT_EQ(line(RecordBuilder().stored_name("")), "*" + rest);  // no name at all
  EXPECT_EQ(line(RecordBuilder().stored_name("abc")), "ab" + rest);
  EXPECT_EQ(line(RecordBuilder(std::string(254, 'n'))), std::string(254, 'n') + rest);
  // A name that ends early is filled up with NULs to its stated length.
  EXPECT_EQ(line(RecordBuilder().stored_name(std::string("ab\0cd\0", 6))),
            std::string("ab\0\0\0", 5) + rest);
}

TEST(SamFormat, NumbersOfAllWidths) {
  EXPECT_EQ(line(RecordBuilder("r").flag(65535).at(-1, INT_MIN).mapq(255).tlen(INT_MIN)),
            "r\t65535\t*\t-2147483647\t255\t*\t*\t0\t-2147483648\t*\t*");
  EXPECT_EQ(line(RecordBuilder("r").at(0, INT_MAX - 1).mate(1, INT_MAX - 1).tlen(INT_MAX)),
            "r\t0\tchr1\t2147483647\t0\t*\tchr2\t2147483647\t2147483647\t*\t*");
}

TEST(SamFormat, AbsentPositionPrintsZero) {
  EXPECT_EQ(line(RecordBuilder("r").at(0, -1).mate(1, -1)),
            "r\t0\tchr1\t0\t0\t*\tchr2\t0\t0\t*\t*");
}

TEST(SamFormat, MateReference) {
  const struct {
    int ref;
    int mate;
    const char* name;
  } rows[] = {
      {0, 0, "="},     {1, 1, "="},   {0, 1, "chr2"}, {1, 0, "chr1"},    {0, -1, "*"},
      {-1, 0, "chr1"}, {-1, -1, "*"}, {-2, -2, "*"},  {0, INT_MIN, "*"},
  };
  for (const auto& row : rows) {
    const std::string own = row.ref < 0 ? "*" : row.ref == 0 ? "chr1" : "chr2";
    EXPECT_EQ(line(RecordBuilder("r").at(row.ref, 9).mate(row.mate, 9)),
              "r\t0\t" + own + "\t10\t0\t*\t" + row.name + "\t10\t0\t*\t*");
  }
}

TEST(SamFormat, ReferenceBeyondTheDictionaryRaisesReferenceIDNotFound) {
  EXPECT_KIND(line(RecordBuilder().at(2, 0)), ReferenceIDNotFound, u"2");
  EXPECT_KIND(line(RecordBuilder().at(0, 0).mate(INT_MAX, 0)), ReferenceIDNotFound, u"2147483647");
  EXPECT_KIND(line(RecordBuilder().at(5, 0).mate(5, 0)), ReferenceIDNotFound, u"5");
}

TEST(SamFormat, LongReferenceNamesFit) {
  BamHeader long_names;
  long_names.add_reference(std::string(5000, 'a'), 1);
  long_names.add_reference(std::string(7000, 'b'), 1);
  EXPECT_EQ(
      RecordBuilder("r").at(0, 0).mate(1, 0).record().to_sam(long_names),
      "r\t0\t" + std::string(5000, 'a') + "\t1\t0\t*\t" + std::string(7000, 'b') + "\t1\t0\t*\t*");
}

TEST(SamFormat, Cigar) {
  EXPECT_EQ(line(plain().cigar("1S2M1I")),
            "r1\t0\tchr1\t100\t60\t1S2M1I\tchr2\t200\t-5\tACGT\tIIII");
  EXPECT_EQ(line(plain().cigar("*")), "r1\t0\tchr1\t100\t60\t*\tchr2\t200\t-5\tACGT\tIIII");
  EXPECT_EQ(line(plain().cigar("*").cigar_op(0xfffffff, 15)),
            "r1\t0\tchr1\t100\t60\t268435455?\tchr2\t200\t-5\tACGT\tIIII");
}

TEST(SamFormat, CigarOfALongNameIsReadFromTheWrappedOffset) {
  // 32 + 224 is 0 in 8 bits: there stands the reference index, 1, an op of length 0.
  const std::string name(223, 'n');
  EXPECT_EQ(line(RecordBuilder(name).at(1, 9).cigar("7M").seq("ACG")),
            name + "\t0\tchr2\t10\t0\t0I\t*\t0\t0\tACG\t*");
}

TEST(SamFormat, SequenceAndQualities) {
  EXPECT_EQ(line(plain().seq("ACG")), "r1\t0\tchr1\t100\t60\t4M\tchr2\t200\t-5\tACG\t*");
  EXPECT_EQ(line(plain().seq("ACG").quals({255, 255, 0})),
            "r1\t0\tchr1\t100\t60\t4M\tchr2\t200\t-5\tACG\t\x20\x20!");
  EXPECT_EQ(line(plain().seq("*")), "r1\t0\tchr1\t100\t60\t4M\tchr2\t200\t-5\t*\t*");
}

TEST(SamFormat, QualitiesAreCutBackToAStarWithTheFieldsBehindThemInPlace) {
  EXPECT_EQ(line(plain().seq("ACGTACGT").tag("NM", 'C', 3)),
            "r1\t0\tchr1\t100\t60\t4M\tchr2\t200\t-5\tACGTACGT\t*\tNM:i:3");
}

// ---- Optional fields ----------------------------------------------------------------------------

TEST(SamFormat, OptionalFieldsFollow) {
  const RecordBuilder record = plain()
                                   .tag("NM", 'C', 3)
                                   .tag("XS", 's', -2)
                                   .tag("XA", 'A', 'x')
                                   .tag_float("XF", 1.5F)
                                   .tag_text("XZ", 'Z', "some text")
                                   .tag_text("XH", 'H', "1AE3")
                                   .tag_array("XB", 'S', {1, 2});
  EXPECT_EQ(line(record), std::string(kPlain) +
                              "\tNM:i:3\tXS:i:-2\tXA:A:x\tXF:f:1.500000\tXZ:Z:some text\tXH:H:1AE3"
                              "\tXB:B:1,2");
}

TEST(SamFormat, WithoutOptionalFieldsTheLineEndsAfterQual) {
  const Alignment record = plain().tag("NM", 'C', 3).record();
  unsigned long length = 0;
  const auto text = record.to_sam_chr(header(), &length, false);
  EXPECT_STREQ(text.get(), kPlain);
  EXPECT_EQ(length, sizeof kPlain);  // with the NUL
}

TEST(SamFormat, WithoutOptionalFieldsTheirErrorsDoNotMatter) {
  const Alignment record = plain().tag_bytes("XXx").record();
  unsigned long length = 0;
  EXPECT_STREQ(record.to_sam_chr(header(), &length, false).get(), kPlain);
}

TEST(SamFormat, LengthOfALineOf40CharactersIs41) {
  const Alignment record = RecordBuilder(std::string(20, 'n')).flag(4).record();
  unsigned long length = 0;
  const auto text = record.to_sam_chr(header(), &length, true);
  EXPECT_EQ(std::string(text.get()).size(), 40u);
  EXPECT_EQ(length, 41u);
}

TEST(SamFormat, EmptyArrayPrintsNoTabSoThatTheNextFieldFollowsDirectly) {
  EXPECT_EQ(line(plain().tag_array("XB", 'i', {}).tag("NM", 'C', 3)),
            std::string(kPlain) + "\tXB:B:NM:i:3");
}

TEST(SamFormat, LastColonOfATrailingEmptyArrayIsReplacedByTheEnd) {
  const RecordBuilder record = plain().tag("NM", 'C', 3).tag_array("XB", 'i', {});
  EXPECT_EQ(line(record), std::string(kPlain) + "\tNM:i:3\tXB:B");
  unsigned long length = 0;
  const auto text = record.record().to_sam_chr(header(), &length, true);
  EXPECT_EQ(length, line(record).size() + 1);
  EXPECT_EQ(text[length - 1], '\0');
}

TEST(SamFormat, UnknownTypeRaisesInvalidTagType) {
  EXPECT_KIND(line(plain().tag_bytes("XXx1")), InvalidTagType, u"120");
  EXPECT_KIND(line(plain().tag("NM", 'C', 3).tag_bytes("XXq")), InvalidTagType, u"113");
}

TEST(SamFormat, FieldThatRunsPastTheBlockRaisesInvalidSAMFormat) {
  EXPECT_KIND(line(plain().tag_bytes("NMi\1")), InvalidSAMFormat, u"");
  EXPECT_KIND(line(plain().tag_bytes("NM")), InvalidSAMFormat, u"");
  EXPECT_KIND(line(plain().tag("NM", 'C', 3).tag_bytes("X")), InvalidSAMFormat, u"");
}

TEST(SamFormat, TextWithoutANulEndsAtTheBlocksEnd) {
  EXPECT_EQ(line(plain().tag_bytes("XZZabc")), std::string(kPlain) + "\tXZ:Z:abc");
}

TEST(SamFormat, FloatsDoNotFollowTheLocale) {
  const CommaLocale locale;
  if (!locale.is_set()) GTEST_SKIP() << "no locale with a decimal comma can be set or made here";
  EXPECT_EQ(line(plain().tag_float("XF", 1.5F)), std::string(kPlain) + "\tXF:f:1.500000");
}

TEST(SamFormat, WidestValuesFit) {
  RecordBuilder record = RecordBuilder("r").flag(65535).at(-1, INT_MIN).mapq(255);
  record.mate(-1, INT_MIN).tlen(INT_MIN);
  std::string expected = "r\t65535\t*\t-2147483647\t255\t*\t*\t-2147483647\t-2147483648\t*\t*";
  for (int i = 0; i < 20; ++i) {
    record.tag("XI", 'i', INT_MIN).tag_float("XF", std::numeric_limits<float>::lowest());
    expected += "\tXI:i:-2147483648\tXF:f:-340282346638528859811704183484516925440.000000";
  }
  EXPECT_EQ(line(record), expected);
  EXPECT_EQ(line(RecordBuilder("").tag_float("XF", std::numeric_limits<float>::lowest())),
            "\t0\t*\t0\t0\t*\t*\t0\t0\t*\t*\tXF:f:-340282346638528859811704183484516925440.000000");
}

// ---- The buffer form ----------------------------------------------------------------------------

TEST(WriteSamLine, EndsEveryFieldWithATabAndKeepsToItsRoom) {
  const Alignment record = plain().tag("NM", 'C', 3).record();
  for (const bool with_tags : {false, true}) {
    std::vector<char> out(max_sam_line(record, header(), with_tags));
    char* const end = write_sam_line(record, header(), with_tags, out.data());
    EXPECT_EQ(std::string(out.data(), end),
              std::string(kPlain) + (with_tags ? "\tNM:i:3\t" : "\t"));
  }
}

TEST(SamFormat, EveryRealRecordPrintsAsTheReferenceDecoderReadsIt) {
  SKIP_WITHOUT_TEST_DATA();
  for (const std::string& name : bam_files()) {
    const std::string file = read_file(name);
    if (file.size() > 200000) continue;  // the decoder is slow
    const DecodedBam bam = decode_bam(file);
    BamHeader names;
    for (const auto& [ref_name, length] : bam.refs) names.add_reference(ref_name, length);
    for (const DecodedRecord& decoded : bam.records) {
      const Alignment record = record_of(std::string_view(decoded.bytes).substr(4));
      ASSERT_EQ(record.to_sam(names), decoded_line(decoded, bam)) << name;
      unsigned long length = 0;
      ASSERT_EQ(std::string(record.to_sam_chr(names, &length, false).get()),
                decoded_line(decoded, bam, false))
          << name;
    }
  }
}

}  // namespace
}  // namespace readkit::records_sam_format_test
