// readkit check: everything that is wrong with a file, and with its index.
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "cli/commands/commands.h"
#include "cli/files/private_folder.h"
#include "cli/job/check_result.h"
#include "cli/job/input.h"
#include "cli/job/job.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

namespace fs = std::filesystem;

struct CheckOptions {
  std::string input;
  std::optional<std::string> index;
};

void print(Job& job, const Input& input, const CheckResult& result) {
  Output& out = job.out();
  const auto line = [&out](const std::string& name, const std::string& value) {
    out.append(name + '\t' + value + '\n');
  };
  line("file", input.name());
  line("kind", result.kind);
  line("records", std::to_string(result.records));
  if (result.kind == "BAM") line("blocks", std::to_string(result.blocks));
  if (result.is_alignment()) line("sorted", result.sorted ? "yes" : "no");
  if (result.kind == "BAM") line("end marker", result.end_marker ? "yes" : "missing");
  line("findings", std::to_string(result.count));
  if (result.findings.empty()) return;
  out.append("\nidentifier\toffset\trecord\ttext\n");
  for (const Finding& finding : result.findings) {
    line(finding.identifier, std::to_string(finding.offset) + '\t' +
                                 std::to_string(finding.record) + '\t' + finding.text);
  }
}

void print_json(Job& job, const Input& input, const CheckOptions& options,
                const CheckResult& result) {
  JsonWriter& json = job.begin_document();
  json.member("file", input.name());
  if (options.index) json.member("index", *options.index);
  json.member("kind", result.kind);
  json.member("records", result.records);
  if (result.kind == "BAM") json.member("blocks", result.blocks);
  if (result.is_alignment()) json.member("sorted", result.sorted);
  json.member("end_marker", result.end_marker);
  json.member("finding_count", result.count);
  json.key("findings");
  json.begin_array();
  for (const Finding& finding : result.findings) {
    json.begin_object();
    json.member("identifier", finding.identifier);
    json.member("offset", finding.offset);
    json.member("record", finding.record);
    json.member("text", finding.text);
    json.end_object();
  }
  json.end_array();
  job.end_document();
}

std::vector<host::Owned> check(Job& job, const Input& input, const CheckOptions& options) {
  if (!options.index) return job.call("kxCheck", 1, input.path());
  if (options.index->ends_with(".bai")) {
    return job.call("kxCheck", 1, input.path(), *options.index);
  }
  // The library wants this ending.
  const PrivateFolder folder = PrivateFolder::temporary();
  const std::string link = folder.file("index.bai");
  fs::create_symlink(fs::absolute(*options.index), link);
  job.show_as(link, *options.index);
  return job.call("kxCheck", 1, input.path(), link);
}

int run_check(const CheckOptions& options, Job& job) {
  const Input input(job, options.input, {});
  job.set_main_input(input);
  if (options.index && input.kind() != Kind::kBam) {
    throw UsageError("an index belongs to a BAM file, and " + input.name() + " is none");
  }
  const std::vector<host::Owned> outputs = check(job, input, options);
  const CheckResult result = check_result(outputs[0].get());
  if (job.json()) {
    print_json(job, input, options, result);
  } else {
    print(job, input, result);
  }
  const std::size_t kept = result.findings.size();
  if (kept < result.count) {
    job.messages().note(input.name(), std::to_string(result.count - kept) +
                                          " further findings are counted and not listed");
  }
  return result.count == 0 ? kSuccess : kFailure;
}

}  // namespace

Command check_command() {
  const auto options = std::make_shared<CheckOptions>();
  Command command("check", "Find what is wrong with a BAM, SAM, BAI or FASTQ file");
  command.describe(
      "Reads the whole file, goes on behind what is damaged, and lists what is wrong: checksums, "
      "blocks, header, records, fields, order. With an index, every record is looked for through "
      "it. The offset of a finding is a virtual offset in BAM files, the number of a line in text, "
      "and a byte in an index; records count from 1. The exit status is 1 when there are "
      "findings.");
  command.add("", file_value(), options->input, "The file to check; - is standard input");
  command.add("", file_value("INDEX"), options->index, "The BAI index of a BAM file");
  command.add_common();
  command.example("readkit check reads.bam", "Check a file after it was copied.");
  command.example("readkit check reads.bam reads.bam.bai", "Check its index, too.");
  return command.run([options](Job& job) { return run_check(*options, job); });
}

}  // namespace readkit::cli
