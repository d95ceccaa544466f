// Where the reads of a scan come from. Each function counts the reads of its source into the
// distribution; the record numbers of the settings count all records of the source from 0.
#pragma once

#include "core/ustring.h"
#include "gateway/tx_array.h"
#include "quality/distribution.h"
#include "quality/encoding.h"

namespace readkit {

/// A FASTQ file of four-line records. Raises UnableToOpenFile for a file that cannot be opened or
/// read on, InvalidData for a wanted record whose sequence and qualities differ in length or that
/// has a quality out of range, and what `updateDistribution` raises.
void collectDataFromFASTQ(const UString& path, const encoding_t* encoding,
                          distribution_t* distribution);

/// A SAM or BAM file; sequences and qualities are those of the record, "*" where they are missing.
/// Records without a reference are left out unless the settings' `flag` is set. Raises the errors
/// of the file, InvalidData as above for every record up to the one that follows the last wanted
/// one, wanted or not, and what `updateDistribution` raises.
void collectDataFromSAM(const UString& path, const encoding_t* encoding,
                        distribution_t* distribution);
void collectDataFromBAM(const UString& path, const encoding_t* encoding,
                        distribution_t* distribution);

/// A 1-by-1 structure with cell arrays of texts, "Sequence" and "Quality"; a read without a
/// sequence is passed over. Raises MemoryDataInvalid, MemoryNotCell, NumSeqNotEqualNumQual,
/// MustBeStringScalarOrCharacterVector for a cell that is no text, InvalidData as for SAM, and what
/// `updateDistribution` raises.
void collectDataFromStruct(const txArray* data, const encoding_t* encoding,
                           distribution_t* distribution);

}  // namespace readkit
