// The steps of the gateway `scanQualities`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "gateway/tx_array.h"
#include "quality/distribution.h"
#include "quality/encoding.h"

namespace readkit {

/// The gateway once its arguments are counted: 14 inputs, six outputs, which are all made whatever
/// is asked for. Raises InvalidInputType for a setting that is no number, InvalidDataSourceType,
/// and what the settings, the source (see sources.h) and the counting raise.
void doScanQualities(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[]);

/// Fills the settings from the inputs 2 to 13. Raises InvalidInputType, and InvalidData for fewer
/// record numbers than announced.
void readInputArguments(const txArray** prhs, encoding_t* encoding);

/// Makes the six outputs; the matrices of the distribution become the host's.
void assignReturn(txArray** plhs, distribution_t* distribution);

/// A row.
matrix::Owned txArrayFromVector(const std::vector<double>& values);
/// A matrix that takes the block over. REQUIRES: the block has rows x columns elements, or there
/// are no columns.
matrix::Owned txArrayFrom2DVector(HostMatrix values, std::size_t rows, std::size_t columns);
/// N x 2: the keys, which ascend, and the values.
matrix::Owned map_to_txarray(const std::map<int, std::int64_t>& histogram);

}  // namespace readkit
