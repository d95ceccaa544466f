// Made-up reads for the kernels: always the same ones, and about as compressible as real ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "header/bam_header.h"
#include "records/alignment.h"

namespace readkit::kernels {

inline constexpr int kBases = 151;

/// One reference, "chr1", of 2^28 bases.
const BamHeader& header();
/// SAM lines of reads of `kBases` bases, in coordinate order, 100 positions apart.
std::vector<std::string> sam_lines(std::size_t count);
/// The records of such lines.
std::vector<Alignment> alignments(std::size_t count);
/// Uncompressed bytes of a full block of records.
std::vector<std::uint8_t> block_of_records();

}  // namespace readkit::kernels
