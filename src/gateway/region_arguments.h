// The regions of a BAM file that a call is about.
#pragma once

#include <cstddef>
#include <vector>

#include "bam/region_sweep.h"
#include "core/path.h"
#include "gateway/tx_array.h"

namespace readkit {

/// The regions of three numeric arrays of one length: references, 0-based, and the first and the
/// last position of each, 1-based and inclusive. A first position below 1 is 1, a last one before
/// the first is the first. Raises BadIndex for lists of different lengths, ReferenceIDNotFound for
/// a reference that the file does not have, and InvalidInputType for an array of another class.
std::vector<RefRegion> regions_argument(const BAM& bam, const txArray* references,
                                        const txArray* firsts, const txArray* lasts);

/// Opens the index, or loads the whole of it where so many `regions` are asked that most of it will
/// be needed. Raises the errors of either.
void open_index_for(std::size_t regions, BAM& bam, const Path& index);

}  // namespace readkit
