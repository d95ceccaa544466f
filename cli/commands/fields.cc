// readkit fields: chosen fields of the records of a reference, in columns.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <numeric>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "cli/alignments/alignment_header.h"
#include "cli/alignments/reference_records.h"
#include "cli/alignments/regions.h"
#include "cli/command_line/joined.h"
#include "cli/command_line/number_list.h"
#include "cli/commands/commands.h"
#include "cli/files/npz.h"
#include "cli/job/input.h"
#include "cli/job/job.h"
#include "cli/job/query_index.h"
#include "cli/job/target.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

// So many records are asked for at a time, so that memory does not grow with their number.
constexpr std::size_t kBatch = std::size_t{1} << 16;

struct FieldsOptions {
  std::string input;
  std::string reference;
  std::string fields = "Header,Flag,Position,EndPosition,MappingQuality,Signature";
  std::optional<std::string> records;
  std::optional<std::string> index;
  std::string output = "-";
  std::optional<std::string> npz;
  bool force = false;
};

std::vector<std::string> wanted_fields(const FieldsOptions& options) {
  const std::vector<std::string>& known = record_fields();
  std::vector<std::string> fields = parse_name_list(options.fields);
  for (const std::string& field : fields) {
    if (std::find(known.begin(), known.end(), field) != known.end()) continue;
    throw UsageError("there is no field '" + field + "'; the fields are " + joined(known));
  }
  return fields;
}

std::vector<std::uint32_t> wanted_records(const FieldsOptions& options,
                                          const ReferenceRecords& records, const Input& input) {
  const auto count = static_cast<std::uint32_t>(records.count());
  if (!options.records) {
    std::vector<std::uint32_t> all(count);
    std::iota(all.begin(), all.end(), 1);
    return all;
  }
  std::vector<std::uint32_t> wanted = parse_number_list(*options.records, count);
  if (!wanted.empty() && wanted.back() > count) {
    throw Failure(input.name(),
                  "there is no record " + std::to_string(wanted.back()) + " on " +
                      options.reference + ", which has " + std::to_string(count),
                  "seqlab:readkit:BadIndex", "records count from 1 on each reference");
  }
  return wanted;
}

// What is done with the rows as they come.
class Format {
 public:
  virtual ~Format() = default;
  virtual void add(const Rows& rows, std::span<const std::uint32_t> ordinals) = 0;
  virtual void finish() = 0;
};

class TabSeparated : public Format {
 public:
  TabSeparated(Output& out, const std::vector<std::string>& fields) : out_(out) {
    for (std::size_t i = 0; i < fields.size(); ++i) {
      if (i != 0) out_.append('\t');
      out_.append(fields[i]);
    }
    out_.append('\n');
  }
  void add(const Rows& rows, std::span<const std::uint32_t> /*ordinals*/) override {
    for (std::size_t row = 0; row < rows.size; ++row) {
      bool first = true;
      for (const Column& column : rows.columns) {
        if (!first) out_.append('\t');
        first = false;
        out_.append(column.is_text() ? column.text(row) : std::to_string(column.number(row)));
      }
      out_.append('\n');
    }
  }
  void finish() override {}

 private:
  Output& out_;
};

class JsonRecords : public Format {
 public:
  JsonRecords(Job& job, Output& out, const Input& input, const FieldsOptions& options,
              std::vector<std::string> fields)
      : job_(job), json_(job.begin_document(out)), fields_(std::move(fields)) {
    json_.member("file", input.name());
    json_.member("reference", options.reference);
    json_.key("fields");
    json_.begin_array();
    for (const std::string& field : fields_) json_.value(field);
    json_.end_array();
    json_.key("records");
    json_.begin_array();
  }
  void add(const Rows& rows, std::span<const std::uint32_t> ordinals) override {
    for (std::size_t row = 0; row < rows.size; ++row) {
      json_.begin_object();
      json_.member("record", ordinals[row]);
      for (std::size_t i = 0; i < fields_.size(); ++i) {
        const Column& column = rows.columns[i];
        if (column.is_text()) {
          json_.member(fields_[i], column.text(row));
        } else {
          json_.member(fields_[i], column.number(row));
        }
      }
      json_.end_object();
    }
  }
  void finish() override {
    json_.end_array();
    job_.end_document();
  }

 private:
  Job& job_;
  JsonWriter& json_;
  std::vector<std::string> fields_;
};

void take_all(const ReferenceRecords& records, const std::vector<std::string>& fields,
              std::span<const std::uint32_t> ordinals, Format& format) {
  while (!ordinals.empty()) {
    const std::size_t n = std::min(kBatch, ordinals.size());
    format.add(records.batch(fields, ordinals.first(n)), ordinals.first(n));
    ordinals = ordinals.subspan(n);
  }
  format.finish();
}

// Column by column: the archive has one behind the other, and each is as wide as its longest text.
void write_npz(const ReferenceRecords& records, const std::vector<std::string>& fields,
               std::span<const std::uint32_t> ordinals, Output& out) {
  NpzWriter npz(out);
  for (const std::string& field : fields) {
    NpzColumn column(is_text_field(field));
    for (std::span<const std::uint32_t> left = ordinals; !left.empty();) {
      const std::size_t n = std::min(kBatch, left.size());
      const Rows rows = records.batch({field}, left.first(n));
      const Column& part = rows.columns.front();
      for (std::size_t row = 0; row < n; ++row) {
        if (part.is_text()) {
          column.add(part.text(row));
        } else {
          column.add(part.number(row));
        }
      }
      left = left.subspan(n);
    }
    npz.add(field, column);
  }
  npz.finish();
}

int run_fields(const FieldsOptions& options, Job& job) {
  const std::vector<std::string> fields = wanted_fields(options);
  const Input input(job, options.input, {Kind::kBam});
  job.set_main_input(input);
  const AlignmentHeader header = read_header(job, input);
  const std::size_t reference = find_reference(options.reference, header.references, input.name());
  const auto existing = options.force ? Target::Existing::kReplaced : Target::Existing::kKept;
  Target target(job, options.npz.value_or(options.output),
                options.npz ? Target::Content::kBinary : Target::Content::kText, existing,
                {&input});
  const QueryIndex index(job, input, header.references.size(), options.index);
  const ReferenceRecords records(job, input, reference, index);
  const std::vector<std::uint32_t> ordinals = wanted_records(options, records, input);
  target.write_here([&](Output& out) {
    if (options.npz) return write_npz(records, fields, ordinals, out);
    std::unique_ptr<Format> format;
    if (job.json()) {
      format = std::make_unique<JsonRecords>(job, out, input, options, fields);
    } else {
      format = std::make_unique<TabSeparated>(out, fields);
    }
    take_all(records, fields, ordinals, *format);
  });
  return kSuccess;
}

}  // namespace

Command fields_command() {
  const auto options = std::make_shared<FieldsOptions>();
  Command command("fields", "Print chosen fields of the records of a reference, in columns");
  command.describe(
      "The fields are Flag, Position, MappingQuality, MatePosition, QueryLength, EndPosition, "
      "Signature (the CIGAR), Sequence, Header (the name of the read) and Quality. Positions count "
      "from 1; EndPosition is the last base of the alignment. 0 stands for none. QueryLength is "
      "kept "
      "in 16 bits, the length of Sequence is exact. The file must be sorted; its index is used as "
      "in view.");
  command.add("", file_value(), options->input, "A sorted BAM file; - is standard input");
  command.add("", text_value("REF"), options->reference, "The name of a reference");
  command.add("--field", text_value("LIST"), options->fields,
              "The fields, such as Flag,Position; default: Header,Flag,Position,EndPosition,"
              "MappingQuality,Signature");
  command.add("--records", text_value("LIST"), options->records,
              "Only these records, counted from 1 on the reference, such as 1-100,250 or 1000-");
  command.add("--index", file_value(), options->index,
              "The index; by default FILE.bai, or FILE with .bai instead of .bam");
  command.add("-o,--output", file_value(), options->output,
              "The file to write; - is standard output, the default");
  command.add("--npz", file_value(), options->npz,
              "Write the columns as NumPy arrays into this archive instead, texts as bytes");
  command.add_flag("-f,--force", options->force, "Replace an output that exists");
  command.add_common();
  command.example("readkit fields reads.bam chr1", "The usual fields of all records on chr1.");
  command.example("readkit fields --field Flag,Position --records 1-10 reads.bam chr1",
                  "Two fields of the first ten.");
  command.example("readkit fields --npz chr1.npz --field Position,Flag reads.bam chr1",
                  "For numpy.load.");
  return command.run([options](Job& job) { return run_fields(*options, job); });
}

}  // namespace readkit::cli
