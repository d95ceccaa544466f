// Settings in, distributions out.
#include "quality/scan_qualities.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "core/errors.h"
#include "gateway/arguments.h"
#include "gateway/gateways.h"
#include "gateway/results.h"
#include "quality/sources.h"

namespace readkit {
namespace {

enum SourceType : std::int64_t { kFastqFile = 1, kSamFile = 2, kBamFile = 3, kMemory = 4 };

}  // namespace

void readInputArguments(const txArray** prhs, encoding_t* encoding) {
  encoding->min_quality = int64_argument(prhs[2], "minQuality");
  encoding->max_quality = int64_argument(prhs[3], "maxQuality");
  encoding->offset = int64_argument(prhs[4], "offset");
  encoding->ignore_value = int64_argument(prhs[5], "ignoreValue");
  encoding->read_length = int64_argument(prhs[6], "readLength");
  encoding->min_average = scalar_argument(prhs[7], "minAverage");
  const std::int64_t selected = int64_argument(prhs[8], "selectedCount");
  encoding->has_indices = selected >= 0;
  if (selected > 0) {
    const auto count = static_cast<std::size_t>(selected);
    if (txGetNumberOfElements(prhs[9]) < count) throw InvalidData();
    encoding->indices = int64_list_argument(prhs[9], count, "selected");
  }
  encoding->min_length = int64_argument(prhs[10], "minLength");
  encoding->scan_start = int64_argument(prhs[11], "scanStart");
  encoding->scan_end = int64_argument(prhs[12], "scanEnd");
  encoding->flag = scalar_argument(prhs[13], "flag") != 0 ? 1 : 0;
}

matrix::Owned txArrayFromVector(const std::vector<double>& values) {
  matrix::Owned row(txCreateDoubleMatrix(1, values.size(), txREAL));
  std::copy(values.begin(), values.end(), column_data<double>(row));
  return row;
}

matrix::Owned txArrayFrom2DVector(HostMatrix values, std::size_t rows, std::size_t columns) {
  matrix::Owned array(txCreateDoubleMatrix(0, 0, txREAL));
  if (columns > 0) {
    txSetPr(array.get(), values.get());
    static_cast<void>(values.release());
  }
  txSetM(array.get(), rows);
  txSetN(array.get(), columns);
  return array;
}

matrix::Owned map_to_txarray(const std::map<int, std::int64_t>& histogram) {
  matrix::Owned table(txCreateDoubleMatrix(histogram.size(), 2, txREAL));
  double* length = column_data<double>(table);
  double* count = length + histogram.size();
  for (const auto& [key, value] : histogram) {
    *length++ = key;
    *count++ = static_cast<double>(value);
  }
  return table;
}

void assignReturn(txArray** plhs, distribution_t* distribution) {
  settle(distribution);
  const auto old_columns = static_cast<std::size_t>(distribution->capacity);
  const auto columns = static_cast<std::size_t>(distribution->max_length);
  const auto shrunk = [&](HostMatrix& matrix, std::size_t rows) {
    if (columns > 0) matrixRealloc(matrix, rows, old_columns, columns);
    return txArrayFrom2DVector(std::move(matrix), rows, columns);
  };
  matrix::Owned outputs[] = {
      txArrayFromVector(distribution->average_histogram),
      shrunk(distribution->quality_matrix, distribution->quality_rows),
      txArrayFromVector(distribution->gc_histogram),
      shrunk(distribution->base_matrix, kBaseRows),
      matrix::Owned(txCreateDoubleScalar(static_cast<double>(distribution->read_count))),
      map_to_txarray(distribution->length_histogram),
  };
  for (matrix::Owned& output : outputs) set_output(plhs++, std::move(output));
}

void doScanQualities(int, txArray* plhs[], int, const txArray* prhs[]) {
  const std::int64_t type = int64_argument(prhs[0], "sourceType");
  encoding_t encoding;
  readInputArguments(prhs, &encoding);
  distribution_t distribution;
  getEmptyDistribution(&distribution, &encoding);
  switch (type) {
    case kFastqFile:
      collectDataFromFASTQ(matrix::get_ustring(prhs[1]), &encoding, &distribution);
      break;
    case kSamFile:
      collectDataFromSAM(matrix::get_ustring(prhs[1]), &encoding, &distribution);
      break;
    case kBamFile:
      collectDataFromBAM(matrix::get_ustring(prhs[1]), &encoding, &distribution);
      break;
    case kMemory:
      collectDataFromStruct(prhs[1], &encoding, &distribution);
      break;
    default:
      throw InvalidDataSourceType();
  }
  assignReturn(plhs, &distribution);
}

// [averages, qualities, gc, bases, reads, lengths] = scanQualities(type, source, min, max, offset,
//     ignore, readLength, minAverage, nSelected, selected, minLength, start, end, unmappedToo)
void scanQualities(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"scanQualities", nrhs, 14, 14, nlhs, 6);
  doScanQualities(nlhs, plhs, nrhs, prhs);
}

}  // namespace readkit
