// readkit info: what kind of file it is, whether it is sorted, and how many records it has where.
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "cli/alignments/alignment_header.h"
#include "cli/commands/commands.h"
#include "cli/files/bam_end.h"
#include "cli/job/input.h"
#include "cli/job/job.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

struct Row {
  std::string reference;
  std::uint64_t length = 0;
  std::uint64_t records = 0;
};

struct Info {
  std::string kind;
  bool sorted = false;
  bool has_end_marker = false;  // of a BAM file
  std::uint64_t records = 0;
  std::uint64_t unplaced = 0;
  std::vector<Row> rows;  // of the references that have records
};

std::uint64_t count_of(double number) { return static_cast<std::uint64_t>(number); }

Info info_of_bam(Job& job, const Input& input, const AlignmentHeader& header) {
  Info info;
  info.has_end_marker = has_end_marker(input.path());
  const std::vector<host::Owned> outputs = job.call("bamInfo", 2, input.path());
  info.sorted = host::data_of<bool>(outputs[0].get())[0];
  const std::span<const double> counts = host::data_of<double>(outputs[1].get());
  for (std::size_t i = 0; i < counts.size(); ++i) {
    const std::uint64_t count = count_of(counts[i]);
    info.records += count;
    if (i == 0) {
      info.unplaced = count;
    } else if (count > 0) {
      const bool known = i <= header.references.size();
      info.rows.push_back({known ? header.references[i - 1].name : '#' + std::to_string(i - 1),
                           known ? header.references[i - 1].length : 0, count});
    }
  }
  return info;
}

Info info_of_sam(Job& job, const Input& input, const AlignmentHeader& header) {
  Info info;
  std::map<std::string, std::uint64_t> lengths;
  for (const Reference& reference : header.references) {
    lengths.emplace(reference.name, reference.length);
  }
  // samInfo holds that records without a reference come first, other tools that they come last;
  // the check has the order of BAM files.
  const std::vector<host::Owned> checked = job.call("kxCheck", 1, input.path());
  info.sorted = host::data_of<bool>(host::field_of(checked[0].get(), "sorted"))[0];
  const std::vector<host::Owned> outputs = job.call("samInfo", 3, input.path());
  const std::span<const double> counts = host::data_of<double>(outputs[1].get());
  const std::vector<std::string> names = host::texts_of(outputs[2].get());
  for (std::size_t i = 0; i < counts.size(); ++i) {
    const std::uint64_t count = count_of(counts[i]);
    info.records += count;
    if (names[i] == "*") {
      info.unplaced = count;
    } else if (count > 0) {
      const auto found = lengths.find(names[i]);
      info.rows.push_back({names[i], found == lengths.end() ? 0 : found->second, count});
    }
  }
  return info;
}

std::string first_or_none(const std::vector<std::string>& values) {
  return values.empty() ? "none" : values.front();
}

void print(Job& job, const Input& input, const AlignmentHeader& header, const Info& info) {
  Output& out = job.out();
  const auto line = [&out](const std::string& name, const std::string& value) {
    out.append(name + '\t' + value + '\n');
  };
  line("file", input.name());
  line("kind", info.kind);
  line("sorted", info.sorted ? "yes" : "no");
  line("header sort order", first_or_none(header_fields(header.text, "@HD", "SO")));
  if (input.kind() == Kind::kBam) line("end marker", info.has_end_marker ? "yes" : "missing");
  line("references", std::to_string(header.references.size()));
  for (const std::string& group : header_fields(header.text, "@RG", "ID")) {
    line("read group", group);
  }
  for (const std::string& program : header_fields(header.text, "@PG", "ID")) {
    line("program", program);
  }
  line("records", std::to_string(info.records));
  out.append("\nreference\tlength\trecords\n");
  for (const Row& row : info.rows) {
    line(row.reference, std::to_string(row.length) + '\t' + std::to_string(row.records));
  }
  line("*", "0\t" + std::to_string(info.unplaced));
}

void print_list(JsonWriter& json, const char* name, const std::vector<std::string>& values) {
  json.key(name);
  json.begin_array();
  for (const std::string& value : values) json.value(value);
  json.end_array();
}

void print_json(Job& job, const Input& input, const AlignmentHeader& header, const Info& info) {
  JsonWriter& json = job.begin_document();
  json.member("file", input.name());
  json.member("kind", info.kind);
  json.member("sorted", info.sorted);
  json.member("header_sort_order", first_or_none(header_fields(header.text, "@HD", "SO")));
  if (input.kind() == Kind::kBam) json.member("end_marker", info.has_end_marker);
  json.member("reference_count", header.references.size());
  print_list(json, "read_groups", header_fields(header.text, "@RG", "ID"));
  print_list(json, "programs", header_fields(header.text, "@PG", "ID"));
  json.member("records", info.records);
  json.member("unplaced_records", info.unplaced);
  json.key("references");
  json.begin_array();
  for (const Row& row : info.rows) {
    json.begin_object();
    json.member("name", row.reference);
    json.member("length", row.length);
    json.member("records", row.records);
    json.end_object();
  }
  json.end_array();
  job.end_document();
}

int run_info(const std::string& file, Job& job) {
  const Input input(job, file, {Kind::kBam, Kind::kSam});
  job.set_main_input(input);
  const AlignmentHeader header = read_header(job, input);
  Info info = input.kind() == Kind::kBam ? info_of_bam(job, input, header)
                                         : info_of_sam(job, input, header);
  info.kind = name_of(input.kind());
  if (job.json()) {
    print_json(job, input, header, info);
  } else {
    print(job, input, header, info);
  }
  return kSuccess;
}

}  // namespace

Command info_command() {
  const auto file = std::make_shared<std::string>();
  Command command("info", "Tell whether a file is sorted, and its records by reference");
  command.describe(
      "Reads the whole file. The table at the end lists the references that have records; its last "
      "line, *, counts the records without one.");
  command.add("", file_value(), *file, "A BAM or SAM file; - is standard input");
  command.add_common();
  command.example("readkit info reads.bam", "Print what is in the file.");
  command.example("readkit info --json reads.bam | jq .sorted", "Ask for one thing in a script.");
  return command.run([file](Job& job) { return run_info(*file, job); });
}

}  // namespace readkit::cli
