// Counts of FASTQ files against those of seqtk, an independent program.
//
// `seqtk fqchk -q0` prints for all positions together and for every position the number of bases,
// compared as it is; the percentages of the letters and the average quality, with one decimal; and
// the percentage of every quality that occurs, with two. The library's counts must be within half a
// unit of the last decimal. What is more, the longest read and how many qualities occur must be the
// same, and every read has a first base, so their number is that of the reads that the library
// counts. Its shortest read and its average length count reads without bases, too, and are left
// out. seqtk takes small letters for capital ones, so both programs get the files in capital
// letters.
#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/gateway_calls.h"
#include "support/quality_checks.h"
#include "support/quality_model.h"
#include "support/random_data.h"
#include "support/sam_model.h"
#include "support/samtools.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::quality_against_seqtk_test {
namespace {

// Of the longest reads, the first positions: seqtk's lines are long.
constexpr std::size_t kPositions = 600;
constexpr std::size_t kLetters = 5;

using Counts = std::vector<double>;
using Lines = std::vector<std::string>;

Lines seqtk(const std::string& native) {
  const std::string command =
      "seqtk fqchk -q0 '" + native + "' 2>/dev/null | head -n " + std::to_string(kPositions + 3);
  FILE* const pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
  std::string output;
  std::array<char, 1 << 16> buffer;
  while (const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
    output.append(buffer.data(), got);
  }
  EXPECT_EQ(pclose(pipe), 0) << command;
  return model_lines(output);
}

// ---- Files -------------------------------------------------------------------------------------

// Records of four lines each with as many qualities as bases, all of them from '!' to '~'.
bool is_plain_fastq(const Lines& lines) {
  for (std::size_t i = 0; i + 3 < lines.size(); i += 4) {
    const std::string& qualities = lines[i + 3];
    const bool is_framed = lines[i].starts_with('@') && lines[i + 2].starts_with('+');
    const bool is_printable = std::all_of(qualities.begin(), qualities.end(),
                                          [](char c) { return c >= '!' && c <= '~'; });
    if (!is_framed || !is_printable || lines[i + 1].size() != qualities.size()) return false;
  }
  return !lines.empty() && lines.size() % 4 == 0;
}

Lines fastq_lines(const std::string& bytes) {
  Lines lines = model_lines(bytes);
  for (std::string& line : lines) {
    if (line.ends_with('\r')) line.pop_back();
  }
  return lines;
}

std::string in_capitals(const Lines& lines) {
  std::string bytes;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    for (const char letter : lines[i]) {
      const auto capital = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
      bytes += i % 4 == 1 ? capital : letter;
    }
    bytes += '\n';
  }
  return bytes;
}

// ---- Comparison --------------------------------------------------------------------------------

double sum_of(std::span<const double> counts) {
  return std::accumulate(counts.begin(), counts.end(), 0.0);
}

// The rows of a matrix, each summed over its columns.
Counts row_sums(std::span<const double> matrix, std::size_t rows) {
  Counts sums(rows);
  for (std::size_t i = 0; i < matrix.size(); ++i) sums[i % rows] += matrix[i];
  return sums;
}

// One line: position, bases, A, C, G, T, other, average quality, average error, qualities.
void expect_line(const std::string& line, const std::vector<std::size_t>& qualities,
                 std::span<const double> letter_counts, std::span<const double> quality_counts) {
  const Lines fields = split_tabs(line);
  const double bases = sum_of(letter_counts);
  const double rounding = 1e-4;  // seqtk computes in single precision
  ASSERT_EQ(fields.size(), 9 + qualities.size()) << line;
  EXPECT_EQ(std::stod(fields[1]), bases) << line;
  EXPECT_EQ(sum_of(quality_counts), bases) << line;
  for (std::size_t letter = 0; letter < kLetters; ++letter) {
    const double percent = 100 * letter_counts[letter] / bases;
    EXPECT_NEAR(std::stod(fields[2 + letter]), percent, 0.05 + rounding) << letter << ' ' << line;
  }
  double sum = 0;
  for (std::size_t q = 0; q < quality_counts.size(); ++q) {
    sum += static_cast<double>(q) * quality_counts[q];
  }
  EXPECT_NEAR(std::stod(fields[7]), sum / bases, 0.05 + rounding) << line;
  for (std::size_t i = 0; i < qualities.size(); ++i) {
    const double percent = 100 * quality_counts[qualities[i]] / bases;
    EXPECT_NEAR(std::stod(fields[9 + i]), percent, 0.005 + rounding) << qualities[i] << ' ' << line;
  }
}

void expect_counts_of_seqtk(const std::string& bytes) {
  const TempDir folder;
  folder.write("a.fq", bytes);
  const Lines lines = fastq_lines(bytes);
  std::size_t highest = 1;
  for (std::size_t i = 3; i < lines.size(); i += 4) {
    for (const char c : lines[i]) highest = std::max(highest, static_cast<std::size_t>(c - '!'));
  }
  const ScanSettings settings = {.max_quality = static_cast<std::int64_t>(highest)};
  const Outputs outputs = call_gateway(
      "scanQualities", 6, scan_inputs(ScanSource::kFastq, folder.native("a.fq"), settings));
  const std::span<const double> quality_matrix = host::data_of<double>(outputs[1].get());
  const std::span<const double> letter_matrix = host::data_of<double>(outputs[3].get());
  const std::size_t rows = highest + 1;
  const std::size_t columns = txGetN(outputs[3].get());

  const Lines table = seqtk(folder.native("a.fq"));
  ASSERT_EQ(table.size(), 3 + std::min(columns, kPositions));
  const std::string longest = "max_len: " + std::to_string(columns) + ";";
  EXPECT_NE(table[0].find(longest), std::string::npos) << table[0];
  std::vector<std::size_t> qualities;
  for (const std::string& title : split_tabs(table[1])) {
    if (title.starts_with("%Q")) qualities.push_back(std::stoul(title.substr(2)));
  }
  const Counts all_qualities = row_sums(quality_matrix, rows);
  EXPECT_EQ(
      std::count_if(all_qualities.begin(), all_qualities.end(), [](double n) { return n > 0; }),
      std::ssize(qualities));
  expect_line(table[2], qualities, row_sums(letter_matrix, kLetters), all_qualities);
  for (std::size_t i = 0; i + 3 < table.size() && !testing::Test::HasFailure(); ++i) {
    expect_line(table[i + 3], qualities, letter_matrix.subspan(kLetters * i, kLetters),
                quality_matrix.subspan(rows * i, rows));
  }
  EXPECT_EQ(split_tabs(table[3])[1],
            std::to_string(static_cast<long>(scalar_of<double>(outputs[4]))));
}

TEST(SeqtkCounts, OfRealFilesAreThoseOfTheLibrary) {
  SKIP_WITHOUT_TEST_DATA();
  int compared = 0;
  for (const std::string& name : real_fastqs()) {
    const Lines lines = fastq_lines(real_fastq_bytes(name));
    if (!is_plain_fastq(lines)) continue;
    SCOPED_TRACE(name);
    expect_counts_of_seqtk(in_capitals(lines));
    ++compared;
  }
  EXPECT_GT(compared, 30);
}

TEST(SeqtkCounts, OfABuiltFileAreThoseOfTheLibrary) {
  Random random(5);
  std::string file;
  for (int i = 0; i < 300; ++i) {
    const auto length = static_cast<std::size_t>(random_number(random, 1, 200));
    std::string qualities;
    while (qualities.size() < length) {
      qualities += static_cast<char>(random_number(random, '!', '~'));
    }
    file += "@r\n" + random_text(random, length, "AACGTTTN") + "\n+\n" + qualities + '\n';
  }
  expect_counts_of_seqtk(file);
}

}  // namespace
}  // namespace readkit::quality_against_seqtk_test
