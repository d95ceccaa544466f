// Suites of sound and of broken files: which are taken, as docs/behaviour.md tells.
#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/file_calls.h"
#include "support/test_data.h"

namespace readkit::gateway_suites_test {
namespace {

// What a row of the table says of a file: what readers make of it, and what kxCheck finds.
struct Said {
  std::string readers;
  std::string findings;

  bool operator==(const Said&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Said& said) {
  return out << said.readers << " | " << said.findings;
}

constexpr char kTaken[] = "taken";
constexpr char kNone[] = "none";

std::string trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(" `");
  return begin == std::string::npos ? std::string()
                                    : text.substr(begin, text.find_last_not_of(" `") - begin + 1);
}
std::vector<std::string> split(const std::string& line, char at) {
  std::vector<std::string> parts;
  std::istringstream in(line);
  for (std::string part; std::getline(in, part, at);) parts.push_back(trimmed(part));
  return parts;
}

// The table: by folder, then by file. Its rows are those with five columns, of which the first
// names a folder in backquotes.
std::map<std::string, std::map<std::string, Said>> documented() {
  std::istringstream in(read_file(READKIT_SOURCE_DIR "/docs/behaviour.md"));
  std::map<std::string, std::map<std::string, Said>> all;
  bool is_in_section = false;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("#")) is_in_section = line.find("Suites of files") != std::string::npos;
    if (!is_in_section || !line.starts_with("| `")) continue;
    const std::vector<std::string> columns = split(line, '|');
    EXPECT_EQ(columns.size(), 6U) << line;
    if (columns.size() != 6) continue;
    std::string findings = columns[4];
    std::erase_if(findings, [](char c) { return c == '`' || c == ','; });
    std::string readers = columns[3];
    std::erase(readers, '`');
    for (const std::string& file : split(columns[2], ',')) {
      const bool is_new = all[columns[1]].try_emplace(file, Said{readers, findings}).second;
      EXPECT_TRUE(is_new) << file << " stands in two rows";
    }
  }
  return all;
}

// An identifier as the document has it.
std::string shortened(const std::string& outcome) {
  const std::string prefix = "seqlab:readkit:";
  return outcome.starts_with(prefix) ? outcome.substr(prefix.size()) : outcome;
}

class Suites : public testing::TestWithParam<const char*> {
 protected:
  // What is made of a file: the calls that read records agree, and so do those that also print
  // them.
  Said said_of(const std::string& file) {
    const std::string ending = file.substr(file.rfind('.') + 1);
    const std::vector<FileCall> calls = calls_on(ending, read_file(test_file(file)));
    std::set<std::string> reading;
    std::set<std::string> printing;
    Said said;
    for (const FileCall& call : calls) {
      if (call.name == "kxCheck") {
        said.findings = result_of(call);
      } else if (kPrinting.contains(call.name)) {
        printing.insert(outcome_of(call));
      } else if (kReading.contains(call.name) || ending == "fastq" || ending == "bai") {
        if (!call.name.starts_with("kxCheck")) reading.insert(outcome_of(call));
      }
    }
    EXPECT_EQ(reading.size(), 1U) << file;
    EXPECT_LE(printing.size(), 1U) << file;
    const std::string read = reading.empty() ? "" : *reading.begin();
    said.readers = read == kOk ? kTaken : shortened(read);
    if (!printing.empty() && *printing.begin() != read) {
      said.readers += "; written: " + shortened(*printing.begin());
    }
    return said;
  }

 private:
  std::vector<FileCall> calls_on(const std::string& ending, const std::string& bytes) {
    const std::string sound = READKIT_SOURCE_DIR "/tests/data/invalid/sound.bam";
    files_.write("a." + ending, bytes);
    if (ending == "bai") files_.write("a.bam", read_file(sound));
    return ending == "sam"   ? files_.on_sam()
           : ending == "bam" ? files_.on_bam()
           : ending == "bai" ? files_.on_index()
                             : files_.on_fastq();
  }

  // Of the calls on SAM and BAM files those that take any record, and all of them.
  const std::set<std::string> kReading = {
      "samToBam", "to_bam",  "to_fastq",           "to_fasta",          "bamInfo",
      "bamIndex", "bamSort", "kxBamIndexComplete", "samWriteUnaligned", "kxBamShuffleSeeded"};
  const std::set<std::string> kPrinting = {"samSort", "to_sam"};
  FileCalls files_;
};

INSTANTIATE_TEST_SUITE_P(Folders, Suites,
                         testing::Values("hts-specs/sam/failed", "hts-specs/sam/passed",
                                         "hts-specs/SAMtags", "hts-specs/bam/passed",
                                         "fastq/specimens", "fastq/specimens_invalid", "invalid"),
                         [](const auto& param) {
                           std::string name = param.param;
                           std::replace_if(
                               name.begin(), name.end(),
                               [](char c) { return c == '/' || c == '-'; }, '_');
                           return name;
                         });

// Every file of a folder of broken files has its place in the table; of the others those that are
// refused, or have findings.
TEST_P(Suites, AreTakenAsDocumented) {
  SKIP_WITHOUT_TEST_DATA();
  const std::string folder = GetParam();
  const bool is_broken = folder.ends_with("failed") || folder.ends_with("invalid");
  auto rows = documented()[folder];
  for (const std::string& path : files_in(folder)) {
    const std::string file = path.substr(path.rfind('/') + 1);
    const auto row = rows.find(file);
    EXPECT_TRUE(row != rows.end() || !is_broken) << file << " is not in the table";
    const Said wanted = row == rows.end() ? Said{kTaken, kNone} : row->second;
    EXPECT_EQ(said_of(folder + "/" + file), wanted) << file;
    if (row != rows.end()) rows.erase(row);
  }
  // Those that are left may be too large for this run.
  for (const auto& [file, said] : rows) {
    EXPECT_TRUE(std::filesystem::exists(test_file(folder + "/" + file))) << file << ", " << said;
  }
}

}  // namespace
}  // namespace readkit::gateway_suites_test
