// A library for the tests of the program: its functions give back what they get, or nothing.
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/errors.h"
#include "gateway/gateways.h"
#include "gateway/tx_array.h"
#include "gateway/tx_registry.h"
#include "host/array.h"

namespace {

using readkit::host::Owned;

Owned copy_of(const txArray* a);

Owned copy_of_strings(const txArray* a) {
  std::vector<readkit::host::OptionalText> texts;
  for (std::size_t i = 0; i < txGetNumberOfElements(a); ++i) {
    texts.push_back(matrix::getString(a, i));
  }
  return readkit::host::make_string_array(readkit::host::dims_of(a), std::move(texts));
}

Owned copy_of_cells(const txArray* a) {
  std::vector<Owned> cells;
  for (std::size_t i = 0; i < txGetNumberOfElements(a); ++i) {
    cells.push_back(copy_of(readkit::host::cell_of(a, i)));
  }
  return readkit::host::make_cell(readkit::host::dims_of(a), std::move(cells));
}

Owned copy_of_struct(const txArray* a) {
  const std::vector<std::string> names = readkit::host::field_names_of(a);
  Owned copy = readkit::host::make_struct_array(readkit::host::dims_of(a), names);
  for (std::size_t i = 0; i < txGetNumberOfElements(a); ++i) {
    for (const std::string& name : names) {
      readkit::host::set_field(copy.get(), i, name, copy_of(readkit::host::field_of(a, name, i)));
    }
  }
  return copy;
}

Owned copy_of(const txArray* a) {
  if (a == nullptr) return nullptr;
  switch (txGetClassID(a)) {
    case txSTRING_CLASS:
      return copy_of_strings(a);
    case txCELL_CLASS:
      return copy_of_cells(a);
    case txSTRUCT_CLASS:
      return copy_of_struct(a);
    case txDOUBLE_CLASS:
      if (!readkit::host::imaginary_of(a).empty()) {
        return readkit::host::make_complex(readkit::host::dims_of(a),
                                           readkit::host::data_of<double>(a),
                                           readkit::host::imaginary_of(a));
      }
      [[fallthrough]];
    default:
      return readkit::host::make_from_bytes(readkit::host::dims_of(a), txGetClassID(a),
                                            txGetData(a), txGetNumberOfElements(a));
  }
}

// outputs = echo(inputs...)
void echo(int, txArray* plhs[], int nrhs, const txArray* prhs[]) {
  for (int i = 0; i < nrhs; ++i) plhs[i] = copy_of(prhs[i]).release();
}

// [cells, structure] = empties(): a cell that was never filled and a field that was never set.
void empties(int, txArray* plhs[], int, const txArray*[]) {
  plhs[0] = txCreateCellMatrix(1, 2);
  plhs[1] = readkit::host::make_struct_array({1, 1}, {"unset"}).release();
}

// [~, second] = second_only()
void second_only(int, txArray* plhs[], int, const txArray*[]) {
  plhs[1] = txCreateString("second");
}

// wanted = strict(): as many outputs as it was asked for, none at most.
void strict(int nlhs, txArray*[], int, const txArray*[]) {
  if (nlhs > 0) throw readkit::TooManyOutputs();
}

// wanted = asked_for(): the number of outputs that the caller asked for.
void asked_for(int nlhs, txArray* plhs[], int, const txArray*[]) {
  plhs[0] = txCreateDoubleScalar(nlhs);
}

// Raises an error with an argument of every type: a number, bytes that are not UTF-8, and a text
// with a unit that UTF-8 cannot hold.
void fail(int, txArray*[], int, const txArray*[]) {
  throw readkit::MsgIdException("some:component", "SomeKind",
                                {std::int64_t{-9223372036854775807} - 1, std::string("a\xFF\"b"),
                                 readkit::UString{u'c', char16_t{0xDCFE}}});
}

}  // namespace

namespace readkit {

/// Exported, not registered.
READKIT_EXPORT void kxUnlisted(int, txArray* plhs[], int, const txArray*[]);
void kxUnlisted(int, txArray* plhs[], int, const txArray*[]) {
  plhs[0] = txCreateString("unlisted");
}

}  // namespace readkit

bool TslInitialize_readkit() {
  txFunctionNamespace* const ns =
      txFindInnerNamespace(txFindInnerNamespace(txFindNamespace("seqlab"), "internal"), "readkit");
  bool added = txAddFunction(ns, txInternName("echo"), echo, nullptr, 2);
  added = txAddFunction(ns, txInternName("empties"), empties, nullptr, 2) && added;
  added = txAddFunction(ns, txInternName("second_only"), second_only, nullptr, 2) && added;
  added = txAddFunction(ns, txInternName("strict"), strict, nullptr, 2) && added;
  added = txAddFunction(ns, txInternName("asked_for"), asked_for, nullptr, 2) && added;
  return txAddFunction(ns, txInternName("fail"), fail, nullptr, 2) && added;
}

void TslTerminate_readkit() {}
