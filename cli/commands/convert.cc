// readkit convert: BAM, SAM, FASTQ and FASTA of a BAM or SAM file.
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/alignments/alignment_header.h"
#include "cli/alignments/regions.h"
#include "cli/alignments/sam_losses.h"
#include "cli/command_line/number_list.h"
#include "cli/commands/commands.h"
#include "cli/files/named_pipe.h"
#include "cli/job/input.h"
#include "cli/job/job.h"
#include "cli/job/target.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

struct ConvertOptions {
  std::string input;
  std::string output;
  std::optional<std::string> format;
  std::optional<std::string> records;
  std::optional<std::string> references;
  bool with_header = true;
  bool force = false;
};

struct Ending {
  std::string_view ending;
  const char* format;
};

constexpr std::array<Ending, 6> kEndings = {{{".bam", "bam"},
                                             {".sam", "sam"},
                                             {".fastq", "fastq"},
                                             {".fq", "fastq"},
                                             {".fasta", "fasta"},
                                             {".fa", "fasta"}}};

std::string format_of(const ConvertOptions& options) {
  if (options.format) return *options.format;
  for (const Ending& ending : kEndings) {
    if (options.output.ends_with(ending.ending)) return ending.format;
  }
  if (options.output.ends_with(".gz")) {
    throw UsageError(options.output +
                     ": what is written is not compressed; write it to - and send "
                     "it through gzip");
  }
  throw UsageError("the format of " + options.output +
                   " cannot be told from its name: use --to bam, sam, fastq or fasta");
}

host::Owned wanted_references(const ConvertOptions& options, const AlignmentHeader& header,
                              const Input& input) {
  const std::vector<std::string> names = parse_name_list(*options.references);
  for (const std::string& name : names) find_reference(name, header.references, input.name());
  return host::make_cell_of_texts(names);
}

void warn_of_what_is_lost(Job& job, const Input& input, const std::string& format) {
  if (input.kind() != Kind::kSam) return;
  warn_of_sam_losses(job, input);
  if (format == "bam") {
    job.messages().warn(input.name(),
                        "in a BAM file that is made of SAM text other tools see reference names "
                        "with a tab at their end",
                        "give it a sound header before they read it: samtools reheader -P "
                        "HEADER.sam FILE.bam");
  }
}

// Converts into a file or stream, as the library writes it.
void convert(Job& job, const Input& input, const ConvertOptions& options, const std::string& format,
             const std::vector<std::uint32_t>& records, const std::string& path) {
  const char* const from = input.kind() == Kind::kBam ? "bam" : "sam";
  host::Owned numbers = host::make_column(records);
  if (!options.references) {
    job.call("convertFormat", 0, input.path(), from, path, format, std::move(numbers));
    return;
  }
  const AlignmentHeader header = read_header(job, input);
  try {
    job.call("convertFormat", 0, input.path(), from, path, format, std::move(numbers),
             wanted_references(options, header, input));
  } catch (const Failure& e) {
    if (e.identifier() != "Tessel:cpp:out_of_range") throw;
    throw Failure(input.name(),
                  "a record lies on a reference that --refs does not keep, or on none",
                  e.identifier(), "choose the records that lie on kept references with --records");
  }
}

// The library writes SAM without a header, and tells nobody how many records it found.
std::uint64_t convert_text(Job& job, const Input& input, const ConvertOptions& options,
                           const std::string& format, const std::vector<std::uint32_t>& records,
                           Output& out) {
  if (format == "sam" && options.with_header) {
    const std::string text = read_header(job, input).text;
    out.append(text);
    if (!text.empty() && !text.ends_with('\n')) out.append('\n');
  }
  std::uint64_t lines = 0;
  const auto take = [&](std::string_view line) {
    out.append(line);
    out.append('\n');
    ++lines;
  };
  take_lines(take,
             [&](const std::string& path) { convert(job, input, options, format, records, path); });
  if (format == "sam") return lines;
  return lines / (format == "fastq" ? 4 : 2);
}

int run_convert(const ConvertOptions& options, Job& job) {
  const std::string format = format_of(options);
  const bool to_bam = format == "bam";
  if (options.references && !to_bam) throw UsageError("--refs is for BAM output only");
  const std::vector<std::uint32_t> records =
      options.records ? parse_number_list(*options.records, 0) : std::vector<std::uint32_t>();
  const Input input(job, options.input, {Kind::kBam, Kind::kSam});
  job.set_main_input(input);
  if (options.references) wanted_references(options, read_header(job, input), input);
  Target target(job, options.output, to_bam ? Target::Content::kBinary : Target::Content::kText,
                options.force ? Target::Existing::kReplaced : Target::Existing::kKept, {&input});
  if (job.json() && target.is_standard_output()) {
    throw UsageError("--json needs an output file: standard output has room for one of the two");
  }
  warn_of_what_is_lost(job, input, format);
  std::optional<std::uint64_t> written;
  if (to_bam) {
    target.write("out.bam", [&](const std::string& path) {
      convert(job, input, options, format, records, path);
    });
  } else {
    target.write_here(
        [&](Output& out) { written = convert_text(job, input, options, format, records, out); });
  }
  if (written && options.records && *written < records.size()) {
    job.messages().warn(input.name(), "has " + std::to_string(*written) + " of the " +
                                          std::to_string(records.size()) +
                                          " records that were asked for");
  }
  if (!job.json()) return kSuccess;
  JsonWriter& json = job.begin_document();
  json.member("input", input.name());
  json.member("output", target.name());
  json.member("kind", format);
  if (written) json.member("records", *written);
  job.end_document();
  return kSuccess;
}

}  // namespace

Command convert_command() {
  const auto options = std::make_shared<ConvertOptions>();
  Command command("convert", "Convert a BAM or SAM file to BAM, SAM, FASTQ or FASTA");
  command.describe(
      "The name of the output tells its format, or --to does. FASTQ and FASTA have the bases as "
      "they "
      "are stored: reads of the reverse strand are not turned back, and secondary and "
      "supplementary "
      "records are there, too; a record without bases or qualities has * in their place.");
  command.add("", file_value("IN"), options->input, "A BAM or SAM file; - is standard input");
  command.add("", file_value("OUT"), options->output, "The file to write; - is standard output");
  command.add("-O,--to", choice_value("FORMAT", {"bam", "sam", "fastq", "fasta"}), options->format,
              "The format of the output");
  command.add("--records", text_value("LIST"), options->records,
              "Only these records, counted from 1 in the order of the file, such as 1-100,250");
  command.add("--refs", text_value("LIST"), options->references,
              "BAM output: keep only these references, and those of mates, in the header. Records "
              "are not chosen by it: one on another reference is an error");
  command.add_flag("--no-header", options->with_header, "SAM output: leave the header out", false);
  command.add_flag("-f,--force", options->force, "Replace an output that exists");
  command.add_common();
  command.example("readkit convert reads.bam reads.sam", "The same records as text.");
  command.example("readkit convert --to fastq --records 1-1000 reads.bam - | gzip >some.fastq.gz",
                  "The reads of the first records, compressed.");
  return command.run([options](Job& job) { return run_convert(*options, job); });
}

}  // namespace readkit::cli
