// readkit fields: chosen fields of the records of a reference, in columns.
#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <numeric>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "cli/alignment_header.h"
#include "cli/commands.h"
#include "cli/failure.h"
#include "cli/input.h"
#include "cli/job.h"
#include "cli/npz.h"
#include "cli/number_list.h"
#include "cli/query_index.h"
#include "cli/regions.h"
#include "cli/target.h"
#include "cli/usage_error.h"

namespace readkit::cli {
namespace {

constexpr std::array<const char*, 10> kFields = {
    "Flag",        "Position",  "MappingQuality", "MatePosition", "QueryLength",
    "EndPosition", "Signature", "Sequence",       "Header",       "Quality"};
bool is_text_field(const std::string& field) {
  return field == "Signature" || field == "Sequence" || field == "Header" || field == "Quality";
}

constexpr char kPosition[] = "Position";
constexpr char kEndPosition[] = "EndPosition";
// So many records are asked for at a time, so that memory does not grow with their number.
constexpr std::size_t kBatch = std::size_t{1} << 16;

struct Options {
  std::string input;
  std::string reference;
  std::string fields = "Header,Flag,Position,EndPosition,MappingQuality,Signature";
  std::optional<std::string> records;
  std::optional<std::string> index;
  std::string output = "-";
  std::optional<std::string> npz;
  bool force = false;
};

std::vector<std::string> wanted_fields(const Options& options) {
  std::vector<std::string> fields = parse_name_list(options.fields);
  for (const std::string& field : fields) {
    if (std::find(kFields.begin(), kFields.end(), field) != kFields.end()) continue;
    std::string all;
    for (const char* known : kFields) all += (all.empty() ? "" : ", ") + std::string(known);
    throw UsageError("there is no field '" + field + "'; the fields are " + all);
  }
  return fields;
}

// Column `column` of a batch; numbers as they are shown, from 1 on and ends inclusive.
class Column {
 public:
  Column(const std::string& field, const txArray* array) : array_(array) {
    if (txGetClassID(array) == txCELL_CLASS) {
      texts_ = host::texts_of(array);
      return;
    }
    numbers_ = host::numbers_of(array);
    if (field == kEndPosition) {
      for (double& number : numbers_) number -= number > 0 ? 1 : 0;
    }
  }

  bool is_text() const { return txGetClassID(array_) == txCELL_CLASS; }
  const std::string& text(std::size_t row) const { return texts_[row]; }
  std::uint32_t number(std::size_t row) const { return static_cast<std::uint32_t>(numbers_[row]); }

 private:
  const txArray* array_;
  std::vector<std::string> texts_;
  std::vector<double> numbers_;
};

// A batch of rows: the columns, and how many rows they have.
class Rows {
 public:
  Rows(std::vector<host::Owned> arrays, const std::vector<std::string>& fields, std::size_t size)
      : arrays_(std::move(arrays)), size_(size) {
    columns_.reserve(fields.size());
    for (std::size_t i = 0; i < fields.size(); ++i) {
      columns_.emplace_back(fields[i], arrays_[i + 1].get());
    }
  }

  std::size_t size() const { return size_; }
  const std::vector<Column>& columns() const { return columns_; }

 private:
  std::vector<host::Owned> arrays_;
  std::size_t size_;
  std::vector<Column> columns_;
};

// The records of one reference, found through an index.
class Records {
 public:
  Records(Job& job, const Input& input, std::size_t reference, const QueryIndex& index)
      : job_(job), input_(input), reference_(reference), index_(index) {
    const std::vector<host::Owned> outputs =
        job.call("getStartsInReference", 3, input.path(), index.path(), reference);
    const std::span<const std::uint32_t> starts = host::data_of<std::uint32_t>(outputs[0].get());
    if (!std::is_sorted(starts.begin(), starts.end())) {
      throw Failure(input.name(), "its records are not in coordinate order", {},
                    "sort it first: readkit sort -o sorted.bam " + input.name());
    }
    starts_.assign(starts.begin(), starts.end());
    for (std::uint32_t& start : starts_) --start;  // what getFeatures takes begins at 0
  }

  std::size_t count() const { return starts_.size(); }

  Rows batch(const std::vector<std::string>& fields, std::span<const std::uint32_t> ordinals) {
    // The first column is asked for to see that the rows are those of these records.
    std::vector<std::string> names = {kPosition};
    names.insert(names.end(), fields.begin(), fields.end());
    std::vector<host::Owned> arrays = job_.call(
        "getFeatures", static_cast<int>(names.size()), input_.path(), index_.path(),
        host::make_cell_of_texts(names), reference_,
        host::make_array(host::Dims{ordinals.size(), 1}, ordinals), host::make_column(starts_));
    const std::span<const std::uint32_t> positions = host::data_of<std::uint32_t>(arrays[0].get());
    for (std::size_t i = 0; i < ordinals.size(); ++i) {
      if (positions[i] != starts_[ordinals[i] - 1] + 1) {
        throw Failure(input_.name(), "its index leads to other records than it should", {},
                      "make it anew: readkit index " + input_.name());
      }
    }
    return {std::move(arrays), fields, ordinals.size()};
  }

 private:
  Job& job_;
  const Input& input_;
  std::size_t reference_;
  const QueryIndex& index_;
  std::vector<std::uint32_t> starts_;
};

std::vector<std::uint32_t> wanted_records(const Options& options, const Records& records,
                                          const Input& input) {
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
    for (std::size_t row = 0; row < rows.size(); ++row) {
      bool first = true;
      for (const Column& column : rows.columns()) {
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
  JsonRecords(Job& job, Output& out, const Input& input, const Options& options,
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
    for (std::size_t row = 0; row < rows.size(); ++row) {
      json_.begin_object();
      json_.member("record", ordinals[row]);
      for (std::size_t i = 0; i < fields_.size(); ++i) {
        const Column& column = rows.columns()[i];
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

void take_all(Records& records, const std::vector<std::string>& fields,
              std::span<const std::uint32_t> ordinals, Format& format) {
  while (!ordinals.empty()) {
    const std::size_t n = std::min(kBatch, ordinals.size());
    format.add(records.batch(fields, ordinals.first(n)), ordinals.first(n));
    ordinals = ordinals.subspan(n);
  }
  format.finish();
}

// Column by column: the archive has one behind the other, and each is as wide as its longest text.
void write_npz(Records& records, const std::vector<std::string>& fields,
               std::span<const std::uint32_t> ordinals, Output& out) {
  NpzWriter npz(out);
  for (const std::string& field : fields) {
    NpzColumn column(is_text_field(field));
    for (std::span<const std::uint32_t> left = ordinals; !left.empty();) {
      const std::size_t n = std::min(kBatch, left.size());
      const Rows rows = records.batch({field}, left.first(n));
      const Column& part = rows.columns().front();
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

int run(const Options& options, Job& job) {
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
  Records records(job, input, reference, index);
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
  const auto options = std::make_shared<Options>();
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
  return command.run([options](Job& job) { return run(*options, job); });
}

}  // namespace readkit::cli
