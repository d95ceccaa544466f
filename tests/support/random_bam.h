// Sorted BAM files by chance, for queries.
#pragma once

#include <cstddef>

#include "support/bam_builder.h"
#include "support/random_data.h"

namespace readkit {

/// A sorted file of three references with up to 25 records each, some unmapped, some spliced, some
/// without bases, and some without a reference behind them; named "0", "1"... `bulk` bytes that do
/// not shrink follow every record.
BamBuilder random_bam(Random& random, std::size_t bulk);

}  // namespace readkit
