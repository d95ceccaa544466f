#include "cli/alignments/reference_records.h"

#include <algorithm>

#include "cli/job/job.h"
#include "cli/terminal/failure.h"

namespace readkit::cli {
namespace {

constexpr char kPositionFeature[] = "Position";
constexpr char kEndPositionField[] = "EndPosition";

}  // namespace

const std::vector<std::string>& record_fields() {
  static const std::vector<std::string> fields = {
      "Flag",        "Position",  "MappingQuality", "MatePosition", "QueryLength",
      "EndPosition", "Signature", "Sequence",       "Header",       "Quality"};
  return fields;
}

bool is_text_field(const std::string& field) {
  return field == "Signature" || field == "Sequence" || field == "Header" || field == "Quality";
}

Column::Column(const std::string& field, const txArray* array) : is_text_(is_text_field(field)) {
  if (is_text_) {
    texts_ = host::texts_of(array);
    return;
  }
  numbers_ = host::numbers_of(array);
  if (field == kEndPositionField) {
    for (double& number : numbers_) number -= number > 0 ? 1 : 0;
  }
}

ReferenceRecords::ReferenceRecords(Job& job, const Input& input, std::size_t reference,
                                   const QueryIndex& index)
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

Rows ReferenceRecords::batch(const std::vector<std::string>& fields,
                             std::span<const std::uint32_t> ordinals) const {
  // The first column is asked for to see that the rows are those of these records.
  std::vector<std::string> names = {kPositionFeature};
  names.insert(names.end(), fields.begin(), fields.end());
  const std::vector<host::Owned> arrays = job_.call(
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
  Rows rows;
  rows.size = ordinals.size();
  rows.columns.reserve(fields.size());
  for (std::size_t i = 0; i < fields.size(); ++i) {
    rows.columns.emplace_back(fields[i], arrays[i + 1].get());
  }
  return rows;
}

}  // namespace readkit::cli
