// The four conversions, from any source of records.
#pragma once

#include <cstddef>
#include <set>
#include <string>

#include "convert/source.h"
#include "core/path.h"

namespace readkit {

// Each copies the records of `source` that `for_each_selected` takes by `ordinals` and `n`, from
// the first record on, into a new file `out`, which replaces an existing one. All raise BadIndex,
// CannotOpenOutFile for an output that is the source itself, FileWrite for one that cannot be
// written to its end, and the errors of reading; the output then stays as far as it was written.

/// With the header of the source. Unless `refs` is empty, only these references and those of their
/// mates stay in the dictionary, and records are renumbered. Raises FileNotFound for an output that
/// cannot be created, InvalidHeaderSubset when `refs` names no reference, and std::out_of_range for
/// a selected record whose reference is not kept.
void copy_to_bam(const Source& source, const Path& out, const unsigned* ordinals, std::size_t n,
                 const std::set<std::string>& refs);
/// Raises FileNotFound for an output that cannot be created, and what SAM::write raises.
void copy_to_sam(const Source& source, const Path& out, const unsigned* ordinals, std::size_t n,
                 bool with_header);
/// Raise CannotOpenOutFile for an output that cannot be created.
void copy_to_fastq(const Source& source, const Path& out, const unsigned* ordinals, std::size_t n);
void copy_to_fasta(const Source& source, const Path& out, const unsigned* ordinals, std::size_t n);

}  // namespace readkit
