// Records that come from lines and go back to lines, and the memory that they take on the way.
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/errors.h"
#include "header/bam_header.h"
#include "records/alignment.h"
#include "records/reference_map.h"
#include "support/bgzf_builder.h"
#include "support/random_data.h"
#include "support/reference_decoder.h"
#include "support/sam_line.h"

namespace readkit::records_sam_parse_round_trip_test {
namespace {

using Line = SamLine;

const std::vector<std::string> kNames = {"chr1", "chr2", "a_reference_with_a_long_name|1:2-3"};

BamHeader header() {
  BamHeader header;
  for (const std::string& name : kNames) header.add_reference(name, 1000000);
  return header;
}

ReferenceMap references() {
  ReferenceMap refs;
  for (std::size_t i = 0; i < kNames.size(); ++i)
    refs.insert_or_assign(kNames[i], static_cast<int>(i));
  return refs;
}

std::string number(Random& random, std::int64_t low, std::int64_t high) {
  return std::to_string(random_number(random, low, high));
}

std::string letters(Random& random, std::size_t size, char first, char last) {
  std::string text(size, ' ');
  for (char& letter : text) letter = static_cast<char>(random_number(random, first, last));
  return text;
}

std::string random_tags(Random& random) {
  std::string tags;
  for (std::uint64_t n = random() % 5; n > 0; --n) {
    tags += "\tX" + letters(random, 1, 'A', 'Z');
    switch (random() % 4) {
      case 0:
        tags += ":i:" + number(random, -2147483648LL, 2147483647);
        break;
      case 1:
        tags += ":A:" + letters(random, 1, '!', '~');
        break;
      case 2:
        tags += ":Z:" + letters(random, random() % 60, ' ', '~');
        break;
      default: {
        // Halves and quarters, which six decimals hold exactly.
        const char* const parts[] = {"000000", "250000", "500000", "750000"};
        tags += ":f:" + number(random, 0, 100000) + "." + parts[random() % 4];
      }
    }
  }
  return tags;
}

// A line in the form that the library writes itself: no signs or zeros too many, "=" for a mate on
// the same reference, a sequence of at most 255 letters.
Line random_line(Random& random) {
  Line line;
  line.qname = letters(random, 1 + random() % 222, '!', '~');
  line.flag = number(random, 0, 65535);
  const std::size_t reference = random() % (kNames.size() + 1);
  const std::size_t mate = random() % (kNames.size() + 1);
  const bool is_placed = reference < kNames.size();
  line.rname = is_placed ? kNames[reference] : "*";
  line.mapq = number(random, 0, 255);
  line.cigar = "*";
  if (const std::uint64_t ops = random() % 8; ops > 0) {
    line.cigar.clear();
    for (std::uint64_t i = 0; i < ops; ++i) {
      line.cigar += number(random, 0, i == 0 && random() % 4 == 0 ? 268435455 : 300);
      line.cigar += Alignment::cigar_key[random() % 9];
    }
  }
  // Places whose ends fit into 32 bits.
  line.pos = number(random, 0, line.cigar == "*" ? 2147483647 : std::int64_t{1} << 30);
  line.rnext = mate < kNames.size() ? kNames[mate] : "*";
  if (is_placed && mate == reference) line.rnext = "=";
  line.pnext = number(random, 0, 2147483647);
  line.tlen = number(random, -2147483648LL, 2147483647);
  const std::size_t bases = 1 + random() % 255;
  line.seq.clear();
  for (std::size_t i = 0; i < bases; ++i) line.seq += Alignment::seq_key[random() % 16];
  line.qual = letters(random, bases, '!', '~');
  line.tags = random_tags(random);
  if (!line.tags.empty() && random() % 4 == 0) line.qual = "*";
  return line;
}

TEST(SamParseRoundTrip, LinesComeBackAsTheyWere) {
  Random random(41);
  const BamHeader names = header();
  const ReferenceMap refs = references();
  for (int i = 0; i < 5000; ++i) {
    const std::string line = random_line(random).text();
    ASSERT_EQ(Alignment(line, refs).to_sam(names), line);
  }
}

// What another decoder finds in the bytes.
TEST(SamParseRoundTrip, TheBytesAreThoseOfTheLinesRecord) {
  Random random(42);
  const ReferenceMap refs = references();
  DecodedBam bam;
  for (const std::string& name : kNames) bam.refs.emplace_back(name, 1000000);
  for (int i = 0; i < 2000; ++i) {
    const Line line = random_line(random);
    const Alignment record(line.text(), refs);
    ASSERT_TRUE(record.is_well_formed());
    const auto size = static_cast<std::uint32_t>(record.block_size());
    const DecodedRecord decoded =
        decode_record(little_endian(size, 4) + std::string(record.data(), record.data_end()));
    ASSERT_EQ(decoded_line(decoded, bam), line.text());
    if (decoded.pos >= 0 && line.cigar != "*") {
      ASSERT_EQ(decoded.bin & 0xFFFF, slow_bin(decoded.pos, decoded.end) & 0xFFFF) << line.text();
    }
  }
}

TEST(SamParseRoundTrip, EveryRecordOfOneObjectIsThatOfANewOne) {
  Random random(43);
  const ReferenceMap refs = references();
  Alignment reused;
  for (int i = 0; i < 2000; ++i) {
    const std::string line = random_line(random).text();
    reused.parse(line, refs);
    const Alignment fresh(line, refs);
    ASSERT_EQ(std::string(reused.data(), reused.data_end()),
              std::string(fresh.data(), fresh.data_end()))
        << line;
  }
}

TEST(SamParseRoundTrip, LinesNoLongerThanTheFirstTakeNoNewMemory) {
  Random random(44);
  const ReferenceMap refs = references();
  Line longest;
  longest.tags = "\tXZ:Z:" + std::string(2000, 'x');
  Alignment record(longest.text(), refs);
  const std::uint8_t* const block = record.data();
  for (int i = 0; i < 500; ++i) {
    record.parse(random_line(random).text(), refs);
    ASSERT_EQ(record.data(), block);
  }
}

TEST(SamParseRoundTrip, AFailedParseLeavesNoRecordBehindAndTheNextLineIsParsed) {
  const ReferenceMap refs = references();
  Alignment record;
  Line bad;
  bad.seq = "acgt";
  EXPECT_THROW(record.parse(bad.text(), refs), InvalidSAMFormat);
  record.parse(Line().text(), refs);
  EXPECT_EQ(record.to_sam(header()), Line().text());
}

TEST(SamParseRoundTrip, ARecordReusesItsMemoryAndGivesTheSame) {
  Alignment record;
  const ReferenceMap refs = references();
  for (const char* seq : {"ACGTACGTACGTACGTACGT", "A", "ACGT"}) {
    Line line;
    line.seq = seq;
    line.qual = std::string(line.seq.size(), '5');
    record.parse(line.text(), refs);
    EXPECT_EQ(record.seq_string(), seq);
    EXPECT_EQ(record.qual_string(), line.qual);
    EXPECT_EQ(record.block_size(), Alignment(line.text(), refs).block_size());
  }
}

}  // namespace
}  // namespace readkit::records_sam_parse_round_trip_test
