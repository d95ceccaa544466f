// What a BAM header says: references by index and name, the header text.
#include "bam/bam.h"
#include "core/errors.h"
#include "gateway/arguments.h"
#include "gateway/gateways.h"
#include "gateway/results.h"

namespace readkit {
namespace {

matrix::Owned make_int32_scalar(std::int32_t value) {
  return make_column<std::int32_t>(std::span<const std::int32_t>(&value, 1));
}

matrix::Owned make_reference_names(const BamHeader& header) {
  matrix::Owned names = make_cells(header.references().size());
  std::size_t row = 0;
  for (const Reference& reference : header.references()) set_text(names, row++, reference.name());
  return names;
}

matrix::Owned make_reference_lengths(const BamHeader& header) {
  matrix::Owned lengths = make_column<std::uint32_t>(header.references().size());
  auto* row = column_data<std::uint32_t>(lengths);
  for (const Reference& reference : header.references()) *row++ = reference.l_ref;
  return lengths;
}

}  // namespace

// count = getNumReferences(bam)
void getNumReferences(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"getNumReferences", nrhs, 1, 1, nlhs, 1);
  const BAM bam(path_argument(prhs[0]));
  if (nlhs == 1) set_output(&plhs[0], make_int32_scalar(bam.get_num_refs()));
}

// index = getReferenceID(bam, name)
void getReferenceID(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"getReferenceID", nrhs, 2, 2, nlhs, 1);
  const Path path = path_argument(prhs[0]);
  const std::string name = text_argument(prhs[1]);
  const BAM bam(path);
  int id = -1;
  try {
    id = bam.get_ref_id(name);
  } catch (const ReferenceIDNotFound&) {
    // An unknown name is an answer, -1, not an error.
  }
  if (nlhs == 1) set_output(&plhs[0], make_int32_scalar(id));
}

// name = getReferenceString(bam, index)
void getReferenceString(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"getReferenceString", nrhs, 2, 2, nlhs, 1);
  const Path path = path_argument(prhs[0]);
  const std::int32_t id = int32_argument(prhs[1], "index");
  const BAM bam(path);
  if (nlhs != 1) return;
  const std::string name = bam.get_ref_name(id);
  set_output(&plhs[0], matrix::Owned(matrix::create(name.data(), name.size())));
}

// [text, names, lengths] = getHeader(bam)
void getHeader(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"getHeader", nrhs, 1, 1, nlhs, 3);
  const BAM bam(path_argument(prhs[0]));
  if (nlhs < 1) return;
  // Up to the text's first NUL, if it has one.
  set_output(&plhs[0], matrix::Owned(txCreateString(bam.sam_header().c_str())));
  if (nlhs >= 2) set_output(&plhs[1], make_reference_names(bam.header()));
  if (nlhs >= 3) set_output(&plhs[2], make_reference_lengths(bam.header()));
}

}  // namespace readkit
