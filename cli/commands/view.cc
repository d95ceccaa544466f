// readkit view: the records of a file, or of regions of it, as SAM text.
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/alignments/alignment_header.h"
#include "cli/alignments/bed_file.h"
#include "cli/alignments/region_set.h"
#include "cli/alignments/regions.h"
#include "cli/alignments/sam_line.h"
#include "cli/commands/commands.h"
#include "cli/files/byte_source.h"
#include "cli/files/lines.h"
#include "cli/files/named_pipe.h"
#include "cli/job/input.h"
#include "cli/job/job.h"
#include "cli/job/query_index.h"
#include "cli/job/target.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

// What an index of this kind can express, from 1 on.
constexpr std::int64_t kLastIndexed = 536870912;
constexpr char kUnplaced[] = "*";

struct ViewOptions {
  std::string input;
  std::vector<std::string> regions;
  std::optional<std::string> bed;
  std::string output = "-";
  std::optional<std::string> index;
  bool with_header = false;
  bool header_only = false;
  bool count = false;
  bool tags = true;
  bool contained = false;
  bool force = false;
};

// Takes a line that was asked for, without its newline.
using Take = std::function<void(std::string_view)>;

// What a run has to do with.
struct View {
  Job& job;
  const Input& input;
  const ViewOptions& options;
  const AlignmentHeader& header;
  std::optional<RegionSet> set;  // of a BED file
};

// A filter of all lines of a file for the lines of one region.
Take only(const std::string& text, const View& view, const Take& take) {
  if (text == kUnplaced) {
    return [take](std::string_view line) {
      if (SamLine(line).reference() == kUnplaced) take(line);
    };
  }
  return [take, contained = view.options.contained,
          region = parse_region(text, view.header.references, view.input.name())](
             std::string_view line) {
    const SamLine fields(line);
    if (overlaps(fields, region) && (!contained || is_contained(fields, region))) take(line);
  };
}

// All records of a SAM file, as they stand there.
void lines_of_sam(const View& view, const Take& take) {
  Lines lines([&take](std::string_view line) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (!line.empty() && line.front() != '@') take(line);
  });
  ByteSource source(view.input.path());
  for (auto bytes = source.read(); !bytes.empty(); bytes = source.read()) {
    lines.add({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    view.job.progress().reading(view.input.name(), source.position(), source.size());
  }
  lines.finish();
}

void lines_of_bam(const View& view, const Take& take) {
  take_lines(take, [&](const std::string& path) {
    view.job.call("convertFormat", 0, view.input.path(), "bam", path, "sam",
                  host::make_column(std::vector<std::uint32_t>()));
  });
}

void lines_of_file(const View& view, const Take& take) {
  if (view.input.kind() == Kind::kBam) {
    lines_of_bam(view, take);
  } else {
    lines_of_sam(view, take);
  }
}

// The records of one region of a BAM file, by its index.
void lines_of_region(const View& view, const QueryIndex& index, const Region& region,
                     const Take& take) {
  const std::int64_t last = index.reads_whole_file() ? kLastPosition : kLastIndexed;
  if (region.begin > last) return;
  Region readable = region;
  readable.end = std::min(region.end, last);
  take_lines(take, [&](const std::string& path) {
    view.job.call("samWrite", 0, view.input.path(), index.stem(), path, text_of(readable),
                  view.options.tags, view.options.contained);
  });
}

void lines_of_regions(const View& view, const Take& take) {
  const auto& references = view.header.references;
  std::optional<QueryIndex> index;
  for (const std::string& text : view.options.regions) {
    // The library ends the name of a region at its first colon, so files with other names are
    // searched here; SAM files have no index.
    const bool is_reference = text != kUnplaced;
    const Region region =
        is_reference ? parse_region(text, references, view.input.name()) : Region();
    if (view.input.kind() == Kind::kSam || region.reference.find(':') != std::string::npos) {
      lines_of_file(view, only(text, view, take));
    } else if (!is_reference) {
      take_lines(take, [&](const std::string& path) {
        view.job.call("samWriteUnaligned", 0, view.input.path(), path, view.options.tags);
      });
    } else {
      if (!index) index.emplace(view.job, view.input, references.size(), view.options.index);
      lines_of_region(view, *index, region, take);
    }
  }
}

// The records of the regions of a BED file, each once.
void lines_of_set(const View& view, const Take& take) {
  std::optional<QueryIndex> index;
  if (view.input.kind() == Kind::kBam) {
    index.emplace(view.job, view.input, view.header.references.size(), view.options.index);
  }
  if (!index || index->reads_whole_file()) {
    lines_of_file(view, [&](std::string_view line) {
      if (view.set->has_overlap(SamLine(line))) take(line);
    });
    return;
  }
  std::vector<double> references;
  std::vector<double> firsts;
  std::vector<double> lasts;
  for (const Region& region : view.set->regions()) {
    if (region.begin > kLastIndexed) continue;
    references.push_back(static_cast<double>(region.index));
    firsts.push_back(static_cast<double>(region.begin));
    lasts.push_back(static_cast<double>(std::min(region.end, kLastIndexed)));
  }
  take_lines(take, [&](const std::string& path) {
    view.job.call("kxSamWriteRegions", 0, view.input.path(), index->path(), path,
                  host::make_column(references), host::make_column(firsts),
                  host::make_column(lasts), view.options.tags);
  });
}

void for_each_line(const View& view, const Take& take) {
  if (view.options.header_only) return;
  if (view.set) {
    lines_of_set(view, take);
  } else if (view.options.regions.empty()) {
    lines_of_file(view, take);
  } else {
    lines_of_regions(view, take);
  }
}

std::string with_newline(std::string text) {
  if (!text.empty() && !text.ends_with('\n')) text += '\n';
  return text;
}

// Says in the end that lines had array fields, which the library prints without their subtype.
class ArrayWarning {
 public:
  void look_at(std::string_view line) { count_ += line.find(":B:") != std::string_view::npos; }
  void say(Job& job, const Input& input) const {
    if (count_ == 0 || input.kind() != Kind::kBam) return;
    job.messages().warn(
        input.name(),
        "array fields (type B) are printed without their subtype, which other tools "
        "refuse; records with :B: in a field: " +
            std::to_string(count_),
        "use --no-tags, or work on the BAM file");
  }

 private:
  std::uint64_t count_ = 0;
};

void write_text(const View& view, Output& out) {
  const ViewOptions& options = view.options;
  if (options.with_header || options.header_only) out.append(with_newline(view.header.text));
  ArrayWarning arrays;
  for_each_line(view, [&](std::string_view line) {
    const std::string_view text = options.tags ? line : SamLine(line).without_tags;
    arrays.look_at(text);
    out.append(text);
    out.append('\n');
  });
  arrays.say(view.job, view.input);
}

// The regions that were asked for.
std::vector<std::string> region_names(const View& view) {
  if (!view.set) return view.options.regions;
  std::vector<std::string> names;
  for (const Region& region : view.set->regions()) names.push_back(text_of(region));
  return names;
}

void write_json(const View& view, Output& out) {
  const ViewOptions& options = view.options;
  JsonWriter& json = view.job.begin_document(out);
  json.member("file", view.input.name());
  json.key("regions");
  json.begin_array();
  for (const std::string& region : region_names(view)) json.value(region);
  json.end_array();
  if (options.with_header || options.header_only) json.member("header", view.header.text);
  json.key("records");
  json.begin_array();
  for_each_line(view,
                [&](std::string_view line) { write_record(json, SamLine(line), options.tags); });
  json.end_array();
  view.job.end_document();
}

void write_count(const View& view, Output& out) {
  std::uint64_t count = 0;
  for_each_line(view, [&count](std::string_view /*line*/) { ++count; });
  if (!view.job.json()) {
    out.append(std::to_string(count) + '\n');
    return;
  }
  JsonWriter& json = view.job.begin_document(out);
  json.member("file", view.input.name());
  json.member("count", count);
  view.job.end_document();
}

void check_options(const ViewOptions& options) {
  if (options.contained && options.regions.empty()) throw UsageError("--contained needs a REGION");
  if (!options.bed) return;
  if (!options.regions.empty()) throw UsageError("--regions-file and REGION exclude each other");
  if (options.bed == "-" && options.input == "-") {
    throw UsageError("standard input cannot be both FILE and --regions-file");
  }
}

int run_view(const ViewOptions& options, Job& job) {
  check_options(options);
  const Input input(job, options.input, {Kind::kBam, Kind::kSam});
  job.set_main_input(input);
  Target target(job, options.output, Target::Content::kText,
                options.force ? Target::Existing::kReplaced : Target::Existing::kKept, {&input});
  const AlignmentHeader header = read_header(job, input);
  // Before anything is written: a region that is none.
  for (const std::string& text : options.regions) {
    if (text != kUnplaced) parse_region(text, header.references, input.name());
  }
  View view = {.job = job, .input = input, .options = options, .header = header, .set = {}};
  if (options.bed) view.set.emplace(read_bed(job, *options.bed, header.references, input));
  target.write_here([&](Output& out) {
    if (options.count) {
      write_count(view, out);
    } else if (job.json()) {
      write_json(view, out);
    } else {
      write_text(view, out);
    }
  });
  return kSuccess;
}

}  // namespace

Command view_command() {
  const auto options = std::make_shared<ViewOptions>();
  Command command("view", "Print records of a BAM or SAM file as SAM text");
  command.describe(
      "Prints all records, or those that overlap the regions that are named, one region after the "
      "other. A region is a reference, or part of one: name, name:begin, name:begin-end; positions "
      "count from 1, and both ends belong to it. * stands for the records without a reference. "
      "--regions-file prints the records of many regions, each once and in the order of the file. "
      "Regions of a BAM file are looked up in its index. A missing, sparse or foreign index is "
      "reported, and replaced for this run by one that misses nothing.");
  command.add("", file_value(), options->input, "A BAM or SAM file; - is standard input");
  command.add("", text_value("REGION"), options->regions, "Parts of references to print");
  command.add("-L,--regions-file", file_value(), options->bed,
              "A BED file of regions to print: lines of a reference, a 0-based begin, and the end, "
              "which is the first position behind the region; - is standard input");
  command.add_flag("-h,--with-header", options->with_header, "Print the header, too");
  command.add_flag("-H,--header-only", options->header_only, "Print nothing but the header");
  command.add_flag("-c,--count", options->count, "Print the number of records instead of them");
  command.add_flag("--tags", options->tags, "Print the optional fields, as is done by default");
  command.add_flag("--no-tags", options->tags, "Leave the optional fields out", false);
  command.add_flag("--contained", options->contained,
                   "Only records whose bases, side by side from their position on, lie inside the "
                   "region");
  command.add("--index", file_value(), options->index,
              "The index; by default FILE.bai, or FILE with .bai instead of .bam");
  command.add("-o,--output", file_value(), options->output,
              "The file to write; - is standard output, the default");
  command.add_flag("--force", options->force, "Replace an output that exists");
  command.add_common();
  command.example("readkit view reads.bam | head", "The first records.");
  command.example("readkit view -h reads.bam chr1:1,000-2,000 chr2",
                  "The records of two regions, with the header.");
  command.example("readkit view -c -L exons.bed reads.bam",
                  "How many records overlap any region of a BED file.");
  command.example("readkit view --json --no-tags reads.bam chr1:100-200 | jq '.records[].name'",
                  "The names of the reads of a region.");
  return command.run([options](Job& job) { return run_view(*options, job); });
}

}  // namespace readkit::cli
