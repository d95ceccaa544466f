// The broken files of tests/data/invalid, and what each call must make of each.
#include <cstddef>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/file_calls.h"

namespace readkit::gateway_invalid_files_test {
namespace {

const std::string kFolder = READKIT_SOURCE_DIR "/tests/data/invalid/";

std::vector<std::string> split(const std::string& line) {
  std::vector<std::string> fields;
  std::istringstream in(line);
  for (std::string field; std::getline(in, field, '\t');) fields.push_back(field);
  return fields;
}

// A table of the folder: for each file the wanted result of each call, by the calls' names.
using Row = std::map<std::string, std::string>;
std::vector<std::pair<std::string, Row>> table(const std::string& name) {
  std::istringstream in(read_file(kFolder + name));
  std::string line;
  std::getline(in, line);
  const std::vector<std::string> columns = split(line);
  std::vector<std::pair<std::string, Row>> rows;
  while (std::getline(in, line)) {
    const std::vector<std::string> fields = split(line);
    EXPECT_EQ(fields.size(), columns.size()) << line;
    if (fields.size() != columns.size()) continue;
    Row row;
    // Behind the file and what is broken in it.
    for (std::size_t i = 2; i < fields.size(); ++i) row[columns[i]] = fields[i];
    rows.emplace_back(fields[0], row);
  }
  return rows;
}

class InvalidFiles : public testing::Test {
 protected:
  // Calls on every file of a table, which is put into the folder by this name.
  void expect_results(const std::string& table_name, std::size_t least_files,
                      const std::string& name, const std::vector<FileCall>& calls) {
    const auto rows = table(table_name);
    EXPECT_GE(rows.size(), least_files);
    for (const auto& [file, wanted] : rows) {
      files_.write(name, read_file(kFolder + file));
      Row results;
      for (const FileCall& call : calls) results[call.name] = result_of(call);
      EXPECT_EQ(results.size(), wanted.size());
      for (const auto& [call, result] : results) {
        const auto expected = wanted.find(call);
        ASSERT_NE(expected, wanted.end()) << call << " is no column of " << table_name;
        EXPECT_EQ(result, expected->second) << file << ": " << call;
      }
    }
  }

  FileCalls files_;
};

TEST_F(InvalidFiles, Blocks) { expect_results("bgzf.tsv", 60, "a.bam", files_.on_bam()); }

TEST_F(InvalidFiles, HeadersAndRecords) {
  expect_results("bam.tsv", 100, "a.bam", files_.on_bam());
}

TEST_F(InvalidFiles, Indexes) {
  files_.write("a.bam", read_file(kFolder + "sound.bam"));
  expect_results("bai.tsv", 40, "a.bai", files_.on_index());
}

TEST_F(InvalidFiles, SamLines) { expect_results("sam.tsv", 100, "a.sam", files_.on_sam()); }

TEST_F(InvalidFiles, FastqReads) { expect_results("fastq.tsv", 40, "a.fastq", files_.on_fastq()); }

}  // namespace
}  // namespace readkit::gateway_invalid_files_test
