// Damaged files through scanQualities: a result or a documented error, and nothing else.
#include <algorithm>
#include <filesystem>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/bgzf_builder.h"
#include "support/hostile_calls.h"
#include "support/memory.h"
#include "support/quality_scan_calls.h"
#include "support/random_data.h"

namespace readkit::quality_hostile_test {
namespace {

using Outcomes = std::set<std::string>;

constexpr char kInvalidData[] = "seqlab:scanqualities:InvalidData";

// What came of a scan: an error, or the counted reads by their length.
struct Outcome {
  std::string error = kOk;
  Lengths lengths = {};

  bool operator==(const Outcome&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << outcome.error << ' ' << testing::PrintToString(outcome.lengths);
}

class HostileScan : public testing::Test {
 protected:
  // Qualities 0 to 41 behind '!'.
  HostileScan() { options_.max_quality = 41; }

  Outcome scan(const std::string& bytes) {
    std::filesystem::remove(folder_.native("a"));  // quicker than to empty it
    folder_.write("a", bytes);
    options_.source = "a";
    const LeakCheck leaks;
    Outcome outcome;
    try {
      const Outputs out = call_gateway("scanQualities", 6, options_.inputs(folder_));
      const Values table = host::numbers_of(out[5].get());
      const std::size_t rows = table.size() / 2;
      double reads = 0;
      for (std::size_t i = 0; i < rows; ++i) {
        outcome.lengths[static_cast<int>(table[i])] = static_cast<std::int64_t>(table[rows + i]);
        reads += table[rows + i];
      }
      EXPECT_EQ(scalar_of<double>(out[4]), reads);
    } catch (const host::HostError& error) {
      outcome.error = error.identifier();
    }
    seen_.insert(outcome.error);
    return outcome;
  }
  const Outcomes& seen() const { return seen_; }

  TempDir folder_;
  ScanOptions options_;

 private:
  Outcomes seen_;
};

std::string with_byte(std::string bytes, std::size_t at, char value) {
  bytes[at] = value;
  return bytes;
}

// ---- FASTQ -------------------------------------------------------------------------------------

// The next line of a text of short lines, without its end; `text` becomes what follows.
std::string take_line(std::string& text) {
  const std::size_t newline = text.find('\n');
  std::string line = text.substr(0, newline);
  text.erase(0, newline == std::string::npos ? newline : newline + 1);
  const std::size_t nul = line.find('\0');
  if (nul != std::string::npos) return line.substr(0, nul);
  if (newline != std::string::npos && line.ends_with('\r')) line.pop_back();
  return line;
}

// What a scan of such a file must come to.
Outcome model_scan(std::string file) {
  Outcome outcome;
  while (!take_line(file).empty()) {
    const std::string bases = take_line(file);
    take_line(file);
    const std::string qualities = take_line(file);
    if (bases.empty()) continue;
    const bool in_range = std::all_of(qualities.begin(), qualities.end(),
                                      [](char c) { return c >= '!' && c <= 'J'; });
    if (bases.size() != qualities.size() || !in_range) return {.error = kInvalidData};
    ++outcome.lengths[static_cast<int>(bases.size())];
  }
  return outcome;
}

const std::string kFastq =
    "@a\nACGTN\n+\nIJ!5I\n@bc\r\nGG\r\n+bc\r\n!J\r\n@d\n\n+\n\n@e\nA\n+\nI\n@f\nCCG\n+\n#$%\n";

TEST_F(HostileScan, EveryPrefixOfAFastqFile) {
  EXPECT_EQ(scan(kFastq), (Outcome{kOk, {{1, 1}, {2, 1}, {3, 1}, {5, 1}}}));
  for (std::size_t size = 0; size <= kFastq.size(); ++size) {
    const std::string bytes = kFastq.substr(0, size);
    ASSERT_EQ(scan(bytes), model_scan(bytes)) << size;
  }
  EXPECT_EQ(seen(), (Outcomes{kOk, kInvalidData}));
}

TEST_F(HostileScan, EveryChangedByteOfAFastqFile) {
  const char values[] = {'\0', '\n', '\r', ' ',    '!',    '@',   '+',
                         'A',  'J',  'K',  '\x7f', '\x80', '\xff'};
  for (std::size_t at = 0; at < kFastq.size(); ++at) {
    for (const char value : values) {
      const std::string bytes = with_byte(kFastq, at, value);
      ASSERT_EQ(scan(bytes), model_scan(bytes)) << at << ": " << static_cast<int>(value);
    }
  }
  EXPECT_EQ(seen(), (Outcomes{kOk, kInvalidData}));
}

TEST_F(HostileScan, EveryByteOfAFastqFileTakenOut) {
  for (std::size_t at = 0; at < kFastq.size(); ++at) {
    std::string bytes = kFastq;
    bytes.erase(at, 1);
    ASSERT_EQ(scan(bytes), model_scan(bytes)) << at;
  }
}

TEST_F(HostileScan, RandomTextAsAFastqFile) {
  Random random(41);
  const std::string alphabet("\n\n\n\n\n\nAAI!~\r\0", 13);
  for (int i = 0; i < 2000; ++i) {
    std::string bytes(random() % 60, '\0');
    for (char& byte : bytes) byte = alphabet[random() % alphabet.size()];
    ASSERT_EQ(scan(bytes), model_scan(bytes)) << testing::PrintToString(bytes);
  }
  EXPECT_EQ(seen(), (Outcomes{kOk, kInvalidData}));
}

TEST_F(HostileScan, RandomBytesAsAFastqFile) {
  Random random(42);
  for (int i = 0; i < 300; ++i) scan(random_bytes(random, random() % 20000));
  for (const std::string& error : seen()) EXPECT_TRUE(error == kOk || error == kInvalidData);
}

TEST_F(HostileScan, MemoryGoesWithTheLongestLine) {
  const auto sweep = [&] {
    EXPECT_EQ(scan(std::string(4 << 20, 'A')).error, kOk);  // a header, and no more
    EXPECT_EQ(scan(std::string(4 << 20, '\0')).error, kOk);
    EXPECT_EQ(scan("@\nA\n+\n" + std::string(4 << 20, 'I')).error, kInvalidData);
  };
  EXPECT_LT(memory_growth(sweep), kMuchMemory);
}

// ---- SAM ---------------------------------------------------------------------------------------

const std::string kSam =
    "@HD\tVN:1.6\n@SQ\tSN:chr1\tLN:1000\n"
    "r1\t99\tchr1\t10\t60\t2S3M1I2D1X\t=\t90\t110\tACGTNAC\tIIIIIII\tNM:i:1\tXZ:Z:a b\tXH:H:1A\n"
    "r2\t0\tchr1\t20\t0\t*\t*\t0\t0\t\t*\r\n\nr3\t4\t*\t0\t0\t*\t*\t0\t0\tA\t!\n";

const Outcomes& outcomes_of_sam() {
  static const Outcomes all = {kOk, kInvalidData, "seqlab:readkit:InvalidSAMFormat",
                               "Tessel:cpp:out_of_range", "Tessel:cpp:invalid_argument"};
  return all;
}

TEST_F(HostileScan, EveryPrefixOfASamFile) {
  options_.type = 2;
  EXPECT_EQ(scan(kSam), (Outcome{kOk, {{1, 2}, {7, 1}}}));
  for (std::size_t size = 0; size <= kSam.size(); ++size) {
    const std::string error = scan(kSam.substr(0, size)).error;
    ASSERT_TRUE(outcomes_of_sam().count(error) > 0) << size << ": " << error;
  }
  EXPECT_TRUE(seen().count(kInvalidData) > 0);
}

TEST_F(HostileScan, EveryChangedByteOfASamFile) {
  options_.type = 2;
  const char values[] = {'\0', '\t', '\n', '\r', '0', '-', '*', 'B', 'K', '\xff'};
  for (std::size_t at = 0; at < kSam.size(); ++at) {
    for (const char value : values) {
      const std::string error = scan(with_byte(kSam, at, value)).error;
      ASSERT_TRUE(outcomes_of_sam().count(error) > 0)
          << at << ", " << static_cast<int>(value) << ": " << error;
    }
  }
  EXPECT_EQ(seen(), outcomes_of_sam());
}

// ---- BAM ---------------------------------------------------------------------------------------

const Outcomes& outcomes_of_bam() {
  static const Outcomes all = {kOk,
                               kInvalidData,
                               kNotBam,
                               kCutShort,
                               kDamaged,
                               "Tessel:cpp:bad_alloc",
                               "Tessel:cpp:length_error"};
  return all;
}

BamBuilder sound_bam() {
  return BamBuilder()
      .refs(1, 1000)
      .record(RecordBuilder("a").at(0, 9).cigar("4M").seq("ACGT").qual("IIII").tag("NH", 'C', 1))
      .record(RecordBuilder("b").at(0, 19).cigar("2S3M").seq("ACGTN").qual("!5IJ#"))
      .record(RecordBuilder("c").flag(4).seq("A").qual("I"));
}

class HostileBamScan : public HostileScan {
 protected:
  HostileBamScan() { options_.type = 3; }
  void expect_documented(const std::string& bytes, std::size_t at) {
    const std::string error = scan(bytes).error;
    EXPECT_TRUE(outcomes_of_bam().count(error) > 0) << at << ": " << error;
  }
};

TEST_F(HostileBamScan, EveryPrefixIsCutShortOrNoBamFile) {
  const std::string bytes = sound_bam().bytes();
  EXPECT_EQ(scan(bytes), (Outcome{kOk, {{1, 1}, {4, 1}, {5, 1}}}));
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    const std::string error = scan(bytes.substr(0, size)).error;
    ASSERT_TRUE(error == kNotBam || error == kCutShort) << size << ": " << error;
  }
}

TEST_F(HostileBamScan, EveryChangedByteGivesADocumentedOutcome) {
  const std::string bytes = sound_bam().bytes();
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    for (const int bits : {0xff, 0x01}) {
      expect_documented(with_byte(bytes, at, static_cast<char>(bytes[at] ^ bits)), at);
    }
  }
  EXPECT_TRUE(seen().count(kDamaged) > 0);
}

TEST_F(HostileBamScan, EveryChangedByteOfTheContentGivesADocumentedOutcome) {
  const std::string content = sound_bam().content();
  const auto sweep = [&] {
    for (std::size_t at = 0; at < content.size(); ++at) {
      for (const int bits : {0xff, 0x01, 0x40}) {
        const std::string changed = with_byte(content, at, static_cast<char>(content[at] ^ bits));
        expect_documented(BgzfFile().block(changed).marker().bytes(), at);
      }
    }
  };
  EXPECT_LT(memory_growth(sweep), kMuchMemory);
  for (const char* error : {kOk, kInvalidData, kNotBam, kCutShort}) {
    EXPECT_TRUE(seen().count(error) > 0) << error;
  }
}

TEST_F(HostileBamScan, EveryPrefixOfTheContentEndsThere) {
  const std::string content = sound_bam().content();
  const std::size_t header = sound_bam().header_bytes().size();
  for (std::size_t size = 0; size < content.size(); ++size) {
    const Outcome outcome = scan(BgzfFile().block(content.substr(0, size)).marker().bytes());
    ASSERT_EQ(outcome.error, size < header ? kCutShort : kOk) << size;
    ASSERT_EQ(outcome.lengths.count(1), 0U) << "the last record, at " << size;
  }
}

}  // namespace
}  // namespace readkit::quality_hostile_test
