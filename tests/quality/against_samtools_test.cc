// Counts of BAM files against `samtools stats`.
//
// samtools leaves out secondary and supplementary records and those without bases, so the library
// is asked for the others by their numbers. Compared are, as they are printed: the number of reads
// and of bases, the longest read, the reads of every length, and the bases of every quality, which
// samtools tells by cycle, for first and last fragments apart; and the average quality, which it
// prints with one decimal. Cycles are not positions: those of records on the reverse strand count
// from the end. Lengths are not compared where samtools adds bases that were cut off ("H").
#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/bam_builder.h"
#include "support/bgzf_builder.h"
#include "support/conversion_model.h"
#include "support/gateway_calls.h"
#include "support/quality_checks.h"
#include "support/quality_model.h"
#include "support/samtools.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::quality_against_samtools_test {
namespace {

constexpr int kSecondary = 0x100;
constexpr int kSupplementary = 0x800;

struct Stats {
  double reads = 0;
  double bases = 0;
  double longest = 0;
  double average_quality = 0;
  std::map<std::int64_t, double> lengths;    // reads, by length
  std::map<std::int64_t, double> qualities;  // bases, by quality
};

Stats stats_of_samtools(const std::string& file) {
  Stats stats;
  std::map<std::string, double> summary;
  for (const std::string& line : samtools({"stats", file})) {
    const std::vector<std::string> fields = split_tabs(line);
    if (fields[0] == "SN") summary[fields.at(1)] = std::stod(fields.at(2));
    if (fields[0] == "RL") stats.lengths[std::stol(fields.at(1))] = std::stod(fields.at(2));
    if (fields[0] != "FFQ" && fields[0] != "LFQ") continue;
    for (std::size_t i = 2; i < fields.size(); ++i) {
      const double bases = std::stod(fields[i]);
      if (bases > 0) stats.qualities[static_cast<std::int64_t>(i) - 2] += bases;
    }
  }
  stats.reads = summary.at("raw total sequences:");
  stats.bases = summary.at("total length:");
  stats.longest = summary.at("maximum length:");
  stats.average_quality = summary.at("average quality:");
  return stats;
}

// The records that samtools and the library count alike.
struct Primary {
  RecordNumbers numbers;
  bool lack_qualities = false;  // some record of the file, whether it is one of these or not
  bool are_cut = false;         // some of these
};
Primary primary_of(const std::string& file) {
  Primary primary;
  const ModelSource source = model_bam_source(read_file(file));
  for (std::size_t i = 0; i < source.records.size(); ++i) {
    const DecodedRecord record = model_fields(source.records[i]);
    if (record.seq.size() != record.qual.size()) primary.lack_qualities = true;
    if ((record.flag & (kSecondary | kSupplementary)) != 0 || record.seq == "*") continue;
    primary.numbers.push_back(static_cast<std::int64_t>(i));
    if (record.cigar.find('H') != std::string::npos) primary.are_cut = true;
  }
  return primary;
}

Stats stats_of_library(const std::string& file, const Primary& primary) {
  const ScanSettings settings = {.max_quality = 94, .selected = primary.numbers, .flag = true};
  const Outputs outputs =
      call_gateway("scanQualities", 6, scan_inputs(ScanSource::kBam, file, settings));
  Stats stats;
  stats.reads = scalar_of<double>(outputs[4]);
  stats.longest = static_cast<double>(txGetN(outputs[1].get()));
  const std::size_t rows = txGetM(outputs[1].get());
  const std::span<const double> matrix = host::data_of<double>(outputs[1].get());
  double sum = 0;
  for (std::size_t i = 0; i < matrix.size(); ++i) {
    if (matrix[i] == 0) continue;
    stats.qualities[static_cast<std::int64_t>(i % rows)] += matrix[i];
    stats.bases += matrix[i];
    sum += matrix[i] * static_cast<double>(i % rows);
  }
  stats.average_quality = stats.bases > 0 ? sum / stats.bases : 0;
  const std::span<const double> lengths = host::data_of<double>(outputs[5].get());
  for (std::size_t i = 0; i < lengths.size() / 2; ++i) {
    stats.lengths[static_cast<std::int64_t>(lengths[i])] = lengths[lengths.size() / 2 + i];
  }
  return stats;
}

void expect_stats_of_samtools(const std::string& file, const Primary& primary) {
  const Stats ours = stats_of_library(file, primary);
  const Stats theirs = stats_of_samtools(file);
  EXPECT_EQ(ours.reads, theirs.reads);
  EXPECT_EQ(ours.bases, theirs.bases);
  EXPECT_EQ(ours.qualities, theirs.qualities);
  EXPECT_NEAR(ours.average_quality, theirs.average_quality, 0.05 + 1e-4);
  if (primary.are_cut) return;
  EXPECT_EQ(ours.longest, theirs.longest);
  EXPECT_EQ(ours.lengths, theirs.lengths);
}

class SamtoolsStats : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Files, SamtoolsStats, testing::ValuesIn(real_bams()),
                         [](const auto& param) { return test_name(param.param); });

// A record with bases and no qualities is an error of a scan, as is a missing end, which is added.
TEST_P(SamtoolsStats, CountsAreThoseOfTheLibrary) {
  SKIP_WITHOUT_TEST_DATA();
  const std::string bytes = read_file(test_file(GetParam()));
  const TempDir folder;
  folder.write("a.bam", has_end_marker(bytes) ? bytes : bytes + bgzf_marker());
  const std::string file = folder.native("a.bam");
  const Primary primary = primary_of(file);
  if (primary.lack_qualities) {
    EXPECT_CALL_FAILS(stats_of_library(file, primary), kInvalidData);
  } else {
    expect_stats_of_samtools(file, primary);
  }
}

TEST(SamtoolsStatsOfBuiltFile, CountsAreThoseOfTheLibrary) {
  const auto read = [](int flag, const std::string& bases, const std::string& qualities) {
    const std::string cigar = std::to_string(bases.size()) + "M";
    return RecordBuilder().at(0, 9).flag(flag).cigar(cigar).seq(bases).qual(qualities);
  };
  const TempDir folder;
  BamBuilder()
      .ref("chr1", 1000)
      .record(read(0x41, "ACGTN", "!5I5+"))
      .record(read(0x91, "ACG", "~5I"))
      .record(read(kSecondary, "ACGTACGT", "IIIIIIII"))
      .record(read(kSupplementary | 0x10, "ACGTAC", "IIIIII"))
      .record(read(0x200, "GG", "%%"))
      .record(read(0x400, "GGC", "+++"))
      .record(RecordBuilder().at(0, 20).cigar("4M"))
      .record(RecordBuilder().flag(4).seq("ACGTACGTA").qual("555555555"))
      .write(folder, "a.bam");
  const Primary primary = primary_of(folder.native("a.bam"));
  EXPECT_EQ(primary.numbers, (RecordNumbers{0, 1, 4, 5, 7}));
  expect_stats_of_samtools(folder.native("a.bam"), primary);
}

TEST(SamtoolsStatsFiles, ALargeOneIsComparedInFull) {
  SKIP_WITHOUT_TEST_DATA();
  const Primary primary = primary_of(test_file("bam/volvox-sorted.bam"));
  EXPECT_FALSE(primary.lack_qualities || primary.are_cut);
  EXPECT_GT(primary.numbers.size(), 5000U);
}

}  // namespace
}  // namespace readkit::quality_against_samtools_test
