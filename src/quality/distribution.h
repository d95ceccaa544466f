// What a quality scan accumulates over many reads.
//
//   distribution_t distribution;
//   getEmptyDistribution(&distribution, &encoding);
//   for (...) updateDistribution(bases, qualities, length, &encoding, &distribution);
//   settle(&distribution);
//
// Qualities are signed bytes, the offset already subtracted (see verifyAndShift) and within
// [min_quality, max_quality]; positions are 0-based, spans inclusive.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "gateway/host_memory.h"
#include "quality/encoding.h"
#include "quality/tally.h"

namespace readkit {

/// A matrix of the host's memory, column by column.
using HostMatrix = HostBlock<double>;

inline constexpr int kBaseRows = 5;  ///< A, C, G, T, other
inline constexpr int kGcBins = 20;

/// The counts. Positions count from the start of the span: column 0 is the first one scanned.
struct distribution_t {
  std::vector<double> average_histogram;  ///< reads by integer average quality - min_quality
  HostMatrix quality_matrix;              ///< `quality_rows` x `capacity`: qualities by position
  std::vector<double> gc_histogram;       ///< reads by their part of G and C, in steps of 5 %
  HostMatrix base_matrix;                 ///< 5 x `capacity`: letters by position
  int max_length = 0;                     ///< the longest span
  std::int64_t read_count = 0;            ///< reads that were counted
  int capacity = 0;                       ///< columns of both matrices
  std::map<int, std::int64_t> length_histogram;  ///< reads by the length of their span

  std::size_t quality_rows = 0;  ///< max_quality - min_quality + 1
  // What the matrices do not have before `settle`.
  BaseTally recent_bases;
  QualityTally recent_qualities;
  int ignored = 0;  ///< the quality that is not counted; beyond all bytes where there is none
};

/// Prepares the tables: 1000 columns, or `read_length`; that also fixes the span in `encoding`.
/// Raises InvalidData for settings that no table can hold or no span can have, std::bad_alloc.
void getEmptyDistribution(distribution_t* distribution, encoding_t* encoding);

/// Counts one read of `length` letters and qualities, unless its average quality or its span is too
/// small. Kept: a span that starts two positions or more behind the read's end has a negative
/// length, and the read counts with it
/// (DistributionSpan.SpanThatStartsFurtherBehindCountsWithANegativeLength). Raises InvalidData when
/// the tables cannot grow to the span, std::out_of_range for an average without a place in the
/// histogram, std::bad_alloc.
void updateDistribution(const char* seq, const char* qual, int length, const encoding_t* encoding,
                        distribution_t* distribution);

/// Counts the letters at positions start to end, and their G and C. REQUIRES: as many columns.
void scanSequence(int start, int end, const char* seq, distribution_t* distribution);
/// Counts the qualities at positions start to end, and their average; returns how many were not
/// ignored. REQUIRES: as many columns. Raises as `updateDistribution`.
int scanQuality(int start, int end, const char* qual, const encoding_t* encoding,
                distribution_t* distribution);
/// The mean of the qualities at positions start to end that are not ignored; the most negative
/// double when all are, 0 when end lies before start.
double getAverageQuality(const char* qual, int start, int end, const encoding_t* encoding);

/// Brings what is still held in narrow counters into the matrices. To be called before they are
/// read.
void settle(distribution_t* distribution);

/// A matrix of zeros. Raises std::bad_alloc.
HostMatrix matrixAllocate(std::size_t rows, std::size_t columns);
/// Gives the matrix another number of columns; new ones are zeros. REQUIRES: columns above 0.
/// Raises std::bad_alloc.
void matrixRealloc(HostMatrix& matrix, std::size_t rows, std::size_t old_columns,
                   std::size_t columns);

}  // namespace readkit
