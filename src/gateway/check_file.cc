// A file checked, as a structure.
#include <array>
#include <optional>
#include <utility>

#include "check/check.h"
#include "gateway/arguments.h"
#include "gateway/gateways.h"
#include "gateway/results.h"

namespace readkit {
namespace {

matrix::Owned number(std::uint64_t value) {
  return matrix::Owned(txCreateDoubleScalar(static_cast<double>(value)));
}
matrix::Owned truth(bool value) { return matrix::Owned(txCreateLogicalScalar(value)); }
matrix::Owned text(std::string_view bytes) {
  return matrix::Owned(matrix::create(bytes.data(), bytes.size()));
}

matrix::Owned columns_of(const Findings& findings) {
  constexpr std::array<const char*, 4> kFields = {"identifier", "offset", "record", "text"};
  const std::size_t rows = findings.list().size();
  matrix::Owned identifiers = make_cells(rows);
  matrix::Owned offsets = make_column<std::uint64_t>(rows);
  matrix::Owned records = make_column<double>(rows);
  matrix::Owned texts = make_cells(rows);
  std::size_t row = 0;
  for (const Finding& finding : findings.list()) {
    set_text(identifiers, row, finding_identifier(finding.kind));
    column_data<std::uint64_t>(offsets)[row] = finding.offset;
    column_data<double>(records)[row] = static_cast<double>(finding.record);
    set_text(texts, row, finding.text);
    ++row;
  }
  matrix::Owned columns = make_structure(kFields);
  set_field(columns, "identifier", std::move(identifiers));
  set_field(columns, "offset", std::move(offsets));
  set_field(columns, "record", std::move(records));
  set_field(columns, "text", std::move(texts));
  return columns;
}

matrix::Owned structure_of(const CheckResult& result) {
  constexpr std::array<const char*, 7> kFields = {"kind",       "records", "blocks",  "sorted",
                                                  "end_marker", "count",   "findings"};
  matrix::Owned structure = make_structure(kFields);
  set_field(structure, "kind", text(result.kind));
  set_field(structure, "records", number(result.records));
  set_field(structure, "blocks", number(result.blocks));
  set_field(structure, "sorted", truth(result.sorted));
  set_field(structure, "end_marker", truth(result.end_marker));
  set_field(structure, "count", number(result.findings.count()));
  set_field(structure, "findings", columns_of(result.findings));
  return structure;
}

}  // namespace

// result = kxCheck(file)
// result = kxCheck(bam, index)
void kxCheck(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"kxCheck", nrhs, 1, 2, nlhs, 1);
  const Path file = path_argument(prhs[0]);
  std::optional<Path> index;
  if (nrhs == 2) index = index_path_argument(prhs[1]);
  set_output(&plhs[0], structure_of(check_file(file, index ? &*index : nullptr)));
}

}  // namespace readkit
