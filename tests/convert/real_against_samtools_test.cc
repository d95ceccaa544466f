// Conversions of real files to SAM, FASTQ and FASTA, against samtools. Every difference has a rule,
// and every rule a file that needs it.
#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "sam/sam.h"
#include "support/conversion_model.h"
#include "support/real_sams.h"
#include "support/sam_model.h"
#include "support/samtools.h"
#include "support/samtools_lines.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::convert_real_against_samtools_test {
namespace {

using Lines = std::vector<std::string>;

// A read on its way into what samtools writes.
struct Read {
  DecodedRecord record;
  Lines source;  // the fields of its SAM line; empty when it comes from BAM
  bool is_left_out = false;
};

struct Rule {
  const char* name;
  const char* example;
  std::function<void(Read&)> apply;
};

constexpr int kReverse = 0x10;
constexpr int kSecondaryOrSupplementary = 0x900;
constexpr std::size_t kSeq = 9;
constexpr std::size_t kQual = 10;

const std::vector<Rule>& rules() {
  static const std::vector<Rule> all = {
      {"FLAG beyond 65535 is modulo 65536 here, 65535 there", "hts-specs/sam/failed/flag.fail.sam",
       [](Read& read) {
         if (read.source.empty() || std::strtol(read.source[1].c_str(), nullptr, 10) < 65536)
           return;
         read.record.flag = 65535;
       }},
      {"a sequence has its length modulo 256 here", "hts-specs/sam/passed/cigar.pass6.sam",
       [](Read& read) {
         if (read.source.empty() || read.source[kSeq].size() < 256) return;
         read.record.seq = read.source[kSeq];
         read.record.qual = read.source[kQual];
       }},
      {"a QUAL of * that ends the line is quality text here", "sam/ce#supp.sam",
       [](Read& read) {
         if (read.source.size() == kQual + 1 && read.source[kQual] == "*") read.record.qual = "*";
       }},
      {"secondary and supplementary records are left out there", "bam/pcs109_5k_spliced.bam",
       [](Read& read) {
         if ((read.record.flag & kSecondaryOrSupplementary) != 0) read.is_left_out = true;
       }},
      {"records without a sequence are left out there", "bam/sr.pos_sorted.bam",
       [](Read& read) {
         if (read.record.seq == "*") read.is_left_out = true;
       }},
      {"missing qualities are B there", "bam/11_target.bam",
       [](Read& read) {
         if (read.record.qual == "*") read.record.qual = std::string(read.record.seq.size(), 'B');
       }},
      {"reads of the reverse strand are turned round there", "bam/ex1.bam",
       [](Read& read) {
         if ((read.record.flag & kReverse) == 0) return;
         const std::string letters = "ACMGRSVTWYHKDBN";
         const std::string opposite = "TGKCYSBAWRDMHVN";
         std::string& seq = read.record.seq;
         for (char& letter : seq) letter = opposite.at(letters.find(letter));
         std::reverse(seq.begin(), seq.end());
         std::reverse(read.record.qual.begin(), read.record.qual.end());
       }},
  };
  return all;
}

bool is_sam(const std::string& file) { return file.ends_with(".sam"); }

ModelSource source_of(const std::string& file) {
  const std::string bytes = read_file(file);
  return is_sam(file) ? model_sam_source(bytes) : model_bam_source(bytes);
}

// What the library makes of a file.
Lines our_lines(const std::string& file, ModelFormat format, const std::string& error) {
  const TempDir folder;
  const Path out = folder.path("out");
  const auto convert = [&] {
    if (is_sam(file)) {
      SAM sam(to_path(file), "r");
      run_conversion(sam, format, out, {});
    } else {
      BAM bam(to_path(file));
      run_conversion(bam, format, out, {});
    }
  };
  EXPECT_EQ(outcome_of(convert, file), error);
  return model_lines(folder.read("out"));
}

// ---- SAM ---------------------------------------------------------------------------------------

class RealBamAgainstSamtools : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Files, RealBamAgainstSamtools, testing::ValuesIn(real_bams()),
                         [](const auto& param) { return test_name(param.param); });

TEST_P(RealBamAgainstSamtools, LinesOfToSamAreThoseOfSamtoolsButForTheRules) {
  SKIP_WITHOUT_TEST_DATA();
  const std::string file = test_file(GetParam());
  const std::string error = has_end_marker(read_file(file)) ? "" : "InvalidBAMFormat";
  const Lines ours = our_lines(file, ModelFormat::kSam, error);
  const Lines theirs = samtools({"view", "--no-PG", file});
  ASSERT_EQ(ours.size(), theirs.size());
  for (std::size_t i = 0; i < ours.size(); ++i) ASSERT_TRUE(is_same_record(theirs[i], ours[i]));
}

TEST_P(RealBamAgainstSamtools, CopyIsSoundAndPrintsTheSameLines) {
  SKIP_WITHOUT_TEST_DATA();
  const TempDir folder;
  const std::string file = test_file(GetParam());
  const std::string error = has_end_marker(read_file(file)) ? "" : "InvalidBAMFormat";
  BAM bam(to_path(file));
  EXPECT_EQ(outcome_of([&] { bam.to_bam(folder.path("a.bam"), nullptr, 0, {}); }, file), error);
  const bool has_references = bam.get_num_refs() > 0;  // quickcheck wants some
  EXPECT_EQ(try_samtools({"quickcheck", folder.native("a.bam")}).succeeded, has_references);
  EXPECT_TRUE(samtools({"view", "--no-PG", "-h", folder.native("a.bam")}) ==
              samtools({"view", "--no-PG", "-h", file}));
}

// ---- FASTQ and FASTA ---------------------------------------------------------------------------

// Rules about several reads: samtools takes successive reads of one name together.
constexpr char kOneOfANumber[] = "of successive reads of one name and number one is kept there";
constexpr char kInOrder[] = "successive reads of one name come in the order of their numbers there";

// 1 for a first read, 2 for a second one, 3 for others.
int number_of(const DecodedRecord& record) {
  const int number = record.flag >> 6 & 3;
  return number == 0 ? 3 : number;
}

std::vector<DecodedRecord> grouped(const std::vector<DecodedRecord>& reads,
                                   std::set<std::string>& rules) {
  std::vector<DecodedRecord> result;
  for (std::size_t i = 0; i < reads.size();) {
    std::map<int, const DecodedRecord*> group;  // the first of each number
    const std::size_t first = i;
    for (; i < reads.size() && reads[i].name == reads[first].name; ++i) {
      const int number = number_of(reads[i]);
      if (!group.empty() && number < group.rbegin()->first) rules.insert(kInOrder);
      if (!group.emplace(number, &reads[i]).second) rules.insert(kOneOfANumber);
    }
    for (const auto& [number, read] : group) result.push_back(*read);
  }
  return result;
}

// What samtools must write of the records that the library writes, and the rules that it takes.
struct Expected {
  Lines fastq;
  Lines fasta;
  std::set<std::string> rules;
};

Expected expected_of(const std::string& file, const ModelSource& source) {
  Expected expected;
  std::vector<DecodedRecord> reads;
  const ModelSam sam = is_sam(file) ? model_sam(read_file(file)) : ModelSam();
  for (std::size_t i = 0; i < source.records.size(); ++i) {
    Read read{model_fields(source.records[i]), {}};
    if (is_sam(file)) read.source = split_tabs(sam.lines.at(i).text);
    for (const Rule& rule : rules()) {
      if (read.is_left_out) break;
      const DecodedRecord before = read.record;
      rule.apply(read);
      const bool is_as_before = before.flag == read.record.flag && before.seq == read.record.seq &&
                                before.qual == read.record.qual;
      if (!is_as_before || read.is_left_out) expected.rules.insert(rule.name);
    }
    if (!read.is_left_out) reads.push_back(read.record);
  }
  for (const DecodedRecord& r : grouped(reads, expected.rules)) {
    expected.fastq.insert(expected.fastq.end(), {'@' + r.name, r.seq, "+", r.qual});
    expected.fasta.insert(expected.fasta.end(), {'>' + r.name, r.seq});
  }
  return expected;
}

// samtools stops at what it refuses, the library at what raises an error; which lines these are is
// told by the comparison of lines.
void expect_as_far_as_both_go(const Lines& expected, const SamtoolsRun& theirs, bool ours_fails) {
  EXPECT_TRUE(!theirs.succeeded || expected.size() <= theirs.lines.size());
  EXPECT_TRUE(ours_fails || expected.size() >= theirs.lines.size());
  for (std::size_t i = 0; i < std::min(expected.size(), theirs.lines.size()); ++i) {
    ASSERT_EQ(expected[i], theirs.lines[i]) << "line " << i + 1;
  }
}

Lines all_files() {
  Lines files = real_bams();
  if (test_data_folder().empty()) return files;
  const Lines sams = real_sams();
  files.insert(files.end(), sams.begin(), sams.end());
  return files;
}

class RealReadsAgainstSamtools : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Files, RealReadsAgainstSamtools, testing::ValuesIn(all_files()),
                         [](const auto& param) { return sam_test_name(param.param); });

TEST_P(RealReadsAgainstSamtools, AreThoseOfSamtoolsButForTheRules) {
  SKIP_WITHOUT_TEST_DATA();
  for (const std::string& name : sams_of(GetParam())) {
    SCOPED_TRACE(name);
    const std::string file = test_file(name);
    const ModelSource source = source_of(file);
    Lines fastq;
    Lines fasta;
    for (const std::string& record : source.records) {
      for (const std::string& line : model_lines(model_fastq(record))) fastq.push_back(line);
      for (const std::string& line : model_lines(model_fasta(record))) fasta.push_back(line);
    }
    EXPECT_TRUE(our_lines(file, ModelFormat::kFastq, source.error) == fastq);
    EXPECT_TRUE(our_lines(file, ModelFormat::kFasta, source.error) == fasta);
    const Expected expected = expected_of(file, source);
    const bool ours_fails = is_sam(file) && !source.error.empty();
    expect_as_far_as_both_go(expected.fastq, try_samtools({"fastq", "-n", file}), ours_fails);
    expect_as_far_as_both_go(expected.fasta, try_samtools({"fasta", "-n", file}), ours_fails);
  }
}

class ReadRule : public testing::TestWithParam<Rule> {};

INSTANTIATE_TEST_SUITE_P(Rules, ReadRule, testing::ValuesIn(rules()), [](const auto& param) {
  return sam_test_name(param.param.example) + "_" + std::to_string(param.index);
});

TEST_P(ReadRule, IsNeededByItsExample) {
  SKIP_WITHOUT_TEST_DATA();
  const std::string file = test_file(GetParam().example);
  EXPECT_EQ(expected_of(file, source_of(file)).rules.count(GetParam().name), 1U);
}

TEST(ReadGroupRules, AreNeededByTheirExamples) {
  SKIP_WITHOUT_TEST_DATA();
  for (const auto& [rule, example] : std::map<std::string, std::string>{
           {kOneOfANumber, "sam/tiny.sam"}, {kInOrder, "bam/ex1.bam"}}) {
    const std::string file = test_file(example);
    EXPECT_EQ(expected_of(file, source_of(file)).rules.count(rule), 1U) << rule;
  }
}

}  // namespace
}  // namespace readkit::convert_real_against_samtools_test
