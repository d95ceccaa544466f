// The references of a conversion that keeps only some of them.
#pragma once

#include <set>
#include <string>

#include "convert/source.h"

namespace readkit {

/// `refs` and the references of the mates: reads all records, and for each whose reference is in
/// the set so far adds that of its mate. Kept: a reference that comes into the set late misses the
/// mates of its earlier records. Raises ReferenceIDNotFound for a record whose reference index, or
/// whose mate's, is outside the dictionary.
std::set<std::string> with_mates(std::set<std::string> refs, const Source& source);

}  // namespace readkit
