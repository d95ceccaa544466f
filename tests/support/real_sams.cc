#include "support/real_sams.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include "core/errors.h"
#include "sam/sam.h"
#include "support/sam_model.h"
#include "support/samtools.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit {
namespace {

namespace fs = std::filesystem;

constexpr std::array kSuites = {"hts-specs/SAMtags", "hts-specs/sam/failed",
                                "hts-specs/sam/passed"};

std::string within_folder(const std::string& file) {
  return fs::path(file).lexically_relative(test_data_folder()).string();
}

std::string describe(const std::exception& error, const std::string& file) {
  const auto* const kind = dynamic_cast<const MsgIdException*>(&error);
  if (kind == nullptr) {
    const bool is_range = dynamic_cast<const std::out_of_range*>(&error) != nullptr;
    const bool is_argument = dynamic_cast<const std::invalid_argument*>(&error) != nullptr;
    const std::string type = is_range      ? "std::out_of_range("
                             : is_argument ? "std::invalid_argument("
                                           : "another exception (";
    return type + error.what() + ")";
  }
  const bool names_file = kind->arguments() == ErrorArguments{to_path(file).text()};
  return names_file ? kind->kind() : kind->kind() + " without the file's name";
}

std::string quoted(const std::string& word) {
  std::string text = "'";
  for (const char letter : word) text += letter == '\'' ? "'\\''" : std::string(1, letter);
  return text + "'";
}

}  // namespace

std::vector<std::string> real_sams() {
  if (test_data_folder().empty()) return {""};
  std::vector<std::string> names(kSuites.begin(), kSuites.end());
  for (const std::string& file : sam_files()) names.push_back(within_folder(file));
  for (const std::string& file : invalid_files()) {
    if (file.ends_with(".sam")) names.push_back(within_folder(file));
  }
  return names;
}

std::vector<std::string> sams_of(const std::string& parameter) {
  if (!fs::is_directory(test_file(parameter))) return {parameter};
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(test_file(parameter))) {
    if (entry.path().extension() == ".sam") names.push_back(within_folder(entry.path().string()));
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string example_file(const std::string& name) {
  const bool is_of_suite = name.starts_with("failed/") || name.starts_with("passed/");
  return test_file(is_of_suite ? "hts-specs/sam/" + name : name);
}

std::string joined(const std::vector<std::string>& fields) {
  std::string line;
  for (const std::string& field : fields) line += field + '\t';
  if (!line.empty()) line.pop_back();
  return line;
}

std::string sam_test_name(const std::string& parameter) {
  std::string name;
  for (const char letter : parameter) {
    name += std::isalnum(static_cast<unsigned char>(letter)) != 0 ? letter : '_';
  }
  return name.empty() ? "no_real_files" : name;
}

std::vector<ReadLine> read_lines(const std::string& file) {
  std::vector<ReadLine> lines;
  SAM sam(to_path(file), "r");
  while (true) {
    ReadLine line;
    bool found = true;
    line.error = outcome_of([&] { found = sam.next_alignment(); }, file);
    if (!found) return lines;
    const Alignment& record = sam.alignment();
    if (line.error.empty()) {
      line.record.assign(reinterpret_cast<const char*>(record.data()),
                         static_cast<std::size_t>(record.block_size()));
    }
    try {
      if (line.error.empty()) line.written = sam.alignment().to_sam(sam.header());
    } catch (const MsgIdException& error) {
      line.write_error = error.kind();
    }
    lines.push_back(std::move(line));
  }
}

std::string outcome_of(const std::function<void()>& run, const std::string& file) {
  try {
    run();
    return {};
  } catch (const std::exception& error) {
    return describe(error, file);
  }
}

SamtoolsRun try_samtools(const std::vector<std::string>& arguments) {
  std::string command = "samtools";
  for (const std::string& argument : arguments) command += " " + quoted(argument);
  FILE* const pipe = popen((command + " 2>/dev/null").c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
  std::string output;
  std::array<char, 1 << 16> buffer;
  while (const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
    output.append(buffer.data(), got);
  }
  SamtoolsRun run;
  run.succeeded = pclose(pipe) == 0;
  run.lines = model_lines(output);
  return run;
}

std::optional<Places> places_sorted_by_samtools(const std::string& file, const TempDir& folder) {
  const SamtoolsRun run = try_samtools(
      {"sort", "--no-PG", "-O", "sam", "-o", "-", "-T", folder.native("samtools"), file});
  if (!run.succeeded) return std::nullopt;
  const auto first = std::find_if_not(run.lines.begin(), run.lines.end(),
                                      [](const auto& line) { return line.starts_with("@"); });
  Places places;
  for (auto line = first; line != run.lines.end(); ++line) {
    const std::vector<std::string> fields = split_tabs(*line);
    places.emplace_back(fields.at(2), fields.at(3));
  }
  return places;
}

}  // namespace readkit
