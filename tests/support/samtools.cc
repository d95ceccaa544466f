#include "support/samtools.h"

#include <cctype>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include <gtest/gtest.h>

#include "support/bgzf_builder.h"
#include "support/test_data.h"

namespace readkit {
namespace {

namespace fs = std::filesystem;

std::string quoted(const std::string& word) {
  std::string text = "'";
  for (const char letter : word) {
    if (letter == '\'') {
      text += "'\\''";
    } else {
      text += letter;
    }
  }
  return text + "'";
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return lines;
}

}  // namespace

std::vector<std::string> samtools(const std::vector<std::string>& arguments) {
  std::string command = "samtools";
  for (const std::string& argument : arguments) command += " " + quoted(argument);
  FILE* const pipe = popen((command + " 2>/dev/null").c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
  std::string output;
  char buffer[1 << 16];
  while (const std::size_t got = std::fread(buffer, 1, sizeof buffer, pipe)) {
    output.append(buffer, got);
  }
  EXPECT_EQ(pclose(pipe), 0) << command;
  return lines_of(output);
}

std::vector<std::string> split_tabs(const std::string& line) {
  std::vector<std::string> fields;
  std::size_t at = 0;
  while (true) {
    const std::size_t tab = line.find('\t', at);
    fields.push_back(line.substr(at, tab - at));
    if (tab == std::string::npos) return fields;
    at = tab + 1;
  }
}

std::vector<std::string> real_bams() {
  const fs::path folder = test_data_folder();
  if (folder.empty()) return {""};
  std::vector<std::string> names;
  for (const std::string& file : bam_files()) {
    names.push_back(fs::path(file).lexically_relative(folder).string());
  }
  const std::string further = "hts-specs/bam/passed/level-1.bam";
  if (fs::exists(folder / further)) names.push_back(further);
  return names;
}

std::string test_name(const std::string& file) {
  std::string name;
  for (const char letter : fs::path(file).stem().string()) {
    name += std::isalnum(static_cast<unsigned char>(letter)) != 0 ? letter : '_';
  }
  return name.empty() ? "no_real_files" : name;
}

std::string index_beside(const std::string& bam) {
  if (fs::exists(bam + ".bai")) return bam + ".bai";
  const std::string short_name = fs::path(bam).replace_extension(".bai").string();
  return fs::exists(short_name) ? short_name : std::string();
}

bool has_end_marker(const std::string& file_bytes) { return file_bytes.ends_with(bgzf_marker()); }

}  // namespace readkit
