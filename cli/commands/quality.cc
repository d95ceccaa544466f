// readkit quality: how good the reads of some files are, as text, JSON, a page, or FastQC's format.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "cli/alignments/sam_losses.h"
#include "cli/command_line/version.h"
#include "cli/commands/commands.h"
#include "cli/job/input.h"
#include "cli/job/job.h"
#include "cli/job/target.h"
#include "cli/json/json_value.h"
#include "cli/quality/fastqc_data.h"
#include "cli/quality/page_template.h"
#include "cli/quality/scan.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/usage_error.h"
#include "report/counts.h"
#include "report/document.h"
#include "report/encoding.h"
#include "report/page.h"
#include "report/verdicts.h"

namespace readkit::cli {
namespace {

using report::Encoding;
using report::encoding_of;
using report::EncodingChoice;
using report::Json;
using report::QualityCounts;
using report::Sample;
using report::ScanSettings;

namespace fs = std::filesystem;

// Enough for every read there is, and within what the library takes.
constexpr std::int64_t kMostPositions = std::int64_t{1} << 31;
constexpr std::int64_t kMostReads = 100'000'000;

struct QualityOptions {
  std::vector<std::string> files;
  std::optional<std::string> report;
  std::optional<std::string> fastqc_folder;
  bool force = false;
  std::string encoding = "33";
  std::optional<std::string> span;
  std::optional<std::int64_t> min_length;
  std::optional<std::int64_t> min_average;
  std::optional<std::int64_t> first;
  bool mapped_only = false;
  bool no_groups = false;
};

// ---- Options -----------------------------------------------------------------------------------

// A position, all of `text`; nothing for one that is malformed.
std::optional<std::int64_t> position(std::string_view text) {
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  return whole && number >= 1 && number < kMostPositions ? std::optional(number) : std::nullopt;
}

// Takes "FROM-TO" or "FROM-" into the settings.
void read_span(const std::string& text, ScanSettings& settings) {
  const std::size_t dash = text.find('-');
  if (dash == std::string::npos) throw UsageError("--span: '" + text + "' is not FROM-TO or FROM-");
  const std::string_view words = text;
  const std::optional<std::int64_t> from = position(words.substr(0, dash));
  settings.to = position(words.substr(dash + 1));
  if (!from || (!settings.to && dash + 1 != text.size()) || settings.to.value_or(*from) < *from) {
    throw UsageError("--span: '" + text + "' is no range of positions, which count from 1");
  }
  settings.from = *from;
}

ScanSettings settings_of(const QualityOptions& options) {
  ScanSettings settings;
  settings.min_length = options.min_length.value_or(settings.min_length);
  if (options.min_average) settings.min_average = static_cast<double>(*options.min_average);
  settings.first = options.first;
  settings.mapped_only = options.mapped_only;
  settings.encoding = options.encoding;
  settings.groups = !options.no_groups;
  if (options.span) read_span(*options.span, settings);
  if (settings.first && settings.mapped_only) {
    throw UsageError("--first counts all records, --mapped-only leaves some out: use one of them");
  }
  return settings;
}

EncodingChoice encoding_choice(const QualityOptions& options) {
  if (options.encoding == "auto") return EncodingChoice::kAuto;
  return options.encoding == "64" ? EncodingChoice::kPhred64 : EncodingChoice::kPhred33;
}

// The names of files without their folders, made different by a number where they are not.
std::vector<std::string> sample_names(const std::vector<std::string>& files) {
  std::set<std::string> taken;
  std::vector<std::string> names;
  for (const std::string& file : files) {
    const std::string base = file == "-" ? "standard input" : fs::path(file).filename().string();
    std::string name = base;
    for (int i = 2; !taken.insert(name).second; ++i) name = base + " (" + std::to_string(i) + ")";
    names.push_back(name);
  }
  return names;
}

// ---- Scanning ----------------------------------------------------------------------------------

QualityCounts::Histogram all_qualities(const QualityCounts& counts) {
  return counts.qualities(0, counts.positions());
}

// Tells when the file may be of another encoding than what was taken.
void warn_of_encoding(Job& job, const Input& input, const Encoding& taken,
                      const QualityCounts::Histogram& qualities) {
  if (!taken.certain) {
    job.messages().warn(input.name(), "encoding " + taken.text,
                        "say which it is: --encoding 33, or --encoding 64");
  }
  if (taken.detected || taken.offset != '!') return;
  const Encoding likely = encoding_of(EncodingChoice::kAuto, qualities);
  if (likely.offset == taken.offset) return;
  job.messages().warn(input.name(), "counted as phred+33, but seems to be " + likely.text,
                      "use --encoding 64, or auto");
}

// The library has a read of one "other" letter for a record without a sequence.
void warn_of_missing_sequences(Job& job, const Input& input, const QualityCounts& counts) {
  const auto lengths = counts.lengths();
  if (input.kind() == Kind::kFastq || lengths.empty() || lengths.front().first != 1) return;
  job.messages().warn(input.name(),
                      std::to_string(lengths.front().second) +
                          " reads of one base: records without a sequence count as such",
                      "--min-length 2 leaves them out");
}

std::string kind_word(Kind kind) {
  if (kind == Kind::kFastq) return "fastq";
  return kind == Kind::kSam ? "sam" : "bam";
}

Json scan(Job& job, const std::string& file, const std::string& name, const QualityOptions& options,
          ScanSettings settings) {
  const Input input(job, file, {Kind::kFastq, Kind::kBam, Kind::kSam});
  job.set_main_input(input);
  if (input.kind() == Kind::kSam) warn_of_sam_losses(job, input);
  // In SAM and BAM files the format has fixed the encoding.
  const EncodingChoice choice =
      input.kind() == Kind::kFastq ? encoding_choice(options) : EncodingChoice::kPhred33;
  Sample sample{name, input.name(), kind_word(input.kind()), {}};
  const double min_average = settings.min_average.value_or(0);
  // The encoding decides which averages are low, so all reads must be seen for it first.
  if (choice == EncodingChoice::kAuto) settings.min_average = 0;
  if (choice == EncodingChoice::kPhred64 && min_average > 0) {
    settings.min_average = min_average + ('@' - '!');
  }
  std::optional<QualityCounts> counts(scan_qualities(job, input, settings));
  if (const auto character = report::impossible_character(choice, all_qualities(*counts))) {
    throw Failure(
        input.name(),
        "the quality character " + std::string(1, *character) + " does not occur in phred+64", {},
        "use --encoding 33, or auto to have the file tell");
  }
  sample.encoding = encoding_of(choice, all_qualities(*counts));
  if (input.kind() == Kind::kFastq) {
    warn_of_encoding(job, input, sample.encoding, all_qualities(*counts));
  }
  if (choice == EncodingChoice::kAuto && min_average > 0) {
    settings.min_average = min_average + sample.encoding.shift();
    counts.reset();
    counts.emplace(scan_qualities(job, input, settings));
  }
  warn_of_missing_sequences(job, input, *counts);
  return sample_document(sample, *counts, settings);
}

// ---- Outputs -----------------------------------------------------------------------------------

fs::path fastqc_file(const std::string& folder, const std::string& sample) {
  return fs::path(folder) / (sample + "_fastqc") / "fastqc_data.txt";
}

// What would go wrong in the end, found before the work is done.
void check_outputs(const QualityOptions& options, const std::vector<std::string>& names) {
  std::error_code ignored;
  for (const std::string& file : options.files) {
    if (options.report && fs::equivalent(*options.report, file, ignored)) {
      throw UsageError("the report " + *options.report + " is an input; choose another name");
    }
  }
  for (const std::string& name : names) {
    if (!options.fastqc_folder || options.force) continue;
    const fs::path file = fastqc_file(*options.fastqc_folder, name);
    if (!fs::exists(file, ignored)) continue;
    throw Failure(file.string(), "exists already", {},
                  "choose another folder, or replace it with --force");
  }
}

void write_fastqc_data(Job& job, const std::string& folder, const Json& sample) {
  const fs::path file = fastqc_file(folder, sample["name"].get<std::string>());
  std::error_code error;
  fs::create_directories(file.parent_path(), error);
  Target target(job, file.string(), Target::Content::kText, Target::Existing::kReplaced, {});
  target.write_here([&](Output& out) { out.append(fastqc_data(sample, version())); });
}

void print(Output& out, const Json& sample) {
  const auto line = [&](const std::string& name, const std::string& value) {
    out.append(name + '\t' + value + '\n');
  };
  const auto text = [&](const char* key) {
    const Json& value = sample[key];
    return value.is_string() ? value.get<std::string>() : report::number_text(value);
  };
  line("sample", text("name"));
  line("encoding", sample["encoding"]["text"].get<std::string>());
  line("reads", text("reads"));
  line("bases", text("bases"));
  for (const char* key : {"min", "median", "mean", "max"}) {
    line(std::string(key) + " length", report::number_text(sample["length"][key]));
  }
  line("mean quality", text("mean_quality"));
  line("bases of quality 20 or more", text("q20_percent") + '%');
  line("bases of quality 30 or more", text("q30_percent") + '%');
  line("GC", text("gc_percent") + '%');
  line("verdict", text("status"));
  for (const Json& verdict : sample["verdicts"]) {
    line("  " + verdict["status"].get<std::string>(),
         verdict["title"].get<std::string>() + ": " + report::value_text(verdict) + ' ' +
             verdict["text"].get<std::string>() + "; " + report::limits_text(verdict));
  }
}

int run_quality(const QualityOptions& options, Job& job) {
  const ScanSettings settings = settings_of(options);
  const std::vector<std::string> names = sample_names(options.files);
  const std::string page = options.report ? page_template() : "";
  check_outputs(options, names);
  std::optional<Target> target;
  if (options.report) {
    target.emplace(job, *options.report, Target::Content::kText,
                   options.force ? Target::Existing::kReplaced : Target::Existing::kKept,
                   std::initializer_list<const Input*>{});
  }
  const bool page_to_standard_output = target && target->is_standard_output();
  if (page_to_standard_output && job.json()) {
    throw UsageError("--json and --report -: standard output has room for one of the two");
  }

  Json document = report::quality_document(version(), settings);
  Json& samples = document["samples"];
  for (std::size_t i = 0; i < names.size(); ++i) {
    samples.push_back(scan(job, options.files[i], names[i], options, settings));
  }

  if (target) {
    target->write_here([&](Output& out) { out.append(report::quality_page(document, page)); });
  }
  if (options.fastqc_folder) {
    for (const Json& sample : samples) write_fastqc_data(job, *options.fastqc_folder, sample);
  }
  if (job.json()) {
    JsonWriter& json = job.begin_document();
    for (const char* key : {"settings", "samples"}) {
      json.key(key);
      write_value(json, document[key]);
    }
    job.end_document();
  } else if (!page_to_standard_output) {
    for (std::size_t i = 0; i < samples.size(); ++i) {
      if (i > 0) job.out().append('\n');
      print(job.out(), samples[i]);
    }
  }
  return kSuccess;
}

}  // namespace

Command quality_command() {
  const auto options = std::make_shared<QualityOptions>();
  Command command("quality", "Judge the qualities of reads, as text, JSON or a page");
  command.describe(
      "Counts the qualities and bases of FASTQ, BAM and SAM files by position, and reads by their "
      "average quality, GC content and length, and gives a verdict on each with its limits. "
      "Verdicts do not change the exit status. Reads of BAM and SAM files are counted as they are "
      "stored, those of the reverse strand reversed, and all records count, secondary ones, too.");
  command
      .add("", file_value(), options->files,
           "FASTQ, BAM or SAM files, compressed or not; - is standard input")
      .required = true;
  command.add("-r,--report", file_value(), options->report,
              "Write a page with charts that opens without a network");
  command.add("--fastqc-data", folder_value(), options->fastqc_folder,
              "Write NAME_fastqc/fastqc_data.txt for each file into this folder, for MultiQC");
  command.add_flag("-f,--force", options->force, "Replace outputs that exist");
  command.add(
      "-e,--encoding", choice_value("ENCODING", {"33", "64", "auto"}), options->encoding,
      "The character of quality 0 in FASTQ files: ! for 33, the default, @ for 64; auto goes "
      "by the characters of the file. BAM and SAM files are always 33");
  command.add("--span", text_value("FROM-TO"), options->span,
              "Count only these positions of each read, from 1; 11- leaves out the first ten");
  command.add_number("--min-length", "N", 1, kMostPositions, options->min_length,
                     "Leave out reads with fewer positions to count");
  command.add_number("--min-average", "QUALITY", 0, 93, options->min_average,
                     "Leave out reads of a lower average quality");
  command.add_number("--first", "N", 1, kMostReads, options->first,
                     "Count only the first N reads of each file");
  command.add_flag("--mapped-only", options->mapped_only,
                   "Leave out records of BAM and SAM files without a reference");
  command.add_flag("--no-groups", options->no_groups,
                   "Show each position of long reads, rather than groups of them");
  command.add_common();
  command.example("readkit quality reads.fastq.gz", "Print the verdicts.");
  command.example("readkit quality -r quality.html lane1.fastq.gz lane2.fastq.gz",
                  "Look at two files side by side in a browser.");
  command.example("readkit quality --encoding auto --json old.fastq | jq '.samples[].status'",
                  "Ask for one thing in a script.");
  command.example("readkit quality --fastqc-data qc *.fastq.gz && multiqc qc",
                  "Compare many files.");
  return command.run([options](Job& job) { return run_quality(*options, job); });
}

}  // namespace readkit::cli
