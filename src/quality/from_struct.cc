#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "core/errors.h"
#include "core/ustring.h"
#include "quality/selection.h"
#include "quality/sources.h"

namespace readkit {
namespace {

// Raises MemoryDataInvalid for a structure without the field.
const txArray* required_field(const txArray* data, const char* name) {
  const txArray* const field = txGetField(data, 0, name);
  if (field == nullptr) throw MemoryDataInvalid();
  return field;
}

}  // namespace

void collectDataFromStruct(const txArray* data, const encoding_t* encoding,
                           distribution_t* distribution) {
  if (txGetClassID(data) != txSTRUCT_CLASS || txGetM(data) != 1 || txGetN(data) != 1) {
    throw MemoryDataInvalid();
  }
  const txArray* const sequence_cells = required_field(data, "Sequence");
  const txArray* const quality_cells = required_field(data, "Quality");
  for (const txArray* cells : {sequence_cells, quality_cells}) {
    if (txGetClassID(cells) != txCELL_CLASS) throw MemoryNotCell();
  }
  if (txGetNumberOfElements(sequence_cells) != txGetNumberOfElements(quality_cells)) {
    throw NumSeqNotEqualNumQual();
  }
  const std::vector<UString> sequences = matrix::get_string_array(sequence_cells);
  const std::vector<UString> qualities = matrix::get_string_array(quality_cells);

  ScanSelection selection(*encoding);
  for (std::size_t i = 0; i < sequences.size(); ++i) {
    const std::string bases = to_bytes(sequences[i]);
    std::string quality = to_bytes(qualities[i]);
    if (bases.empty()) continue;
    if (bases.size() != quality.size()) throw InvalidData();
    if (bases.size() > std::size_t{std::numeric_limits<int>::max()}) throw InvalidData();
    verifyAndShift(quality, encoding->min_quality, encoding->max_quality, encoding->shift());
    const ScanSelection::Verdict verdict = selection.judge(static_cast<std::int64_t>(i));
    if (verdict == ScanSelection::Verdict::kStop) return;
    if (verdict == ScanSelection::Verdict::kPassOver) continue;
    updateDistribution(bases.data(), quality.data(), static_cast<int>(bases.size()), encoding,
                       distribution);
  }
}

}  // namespace readkit
