// Which records of a file a conversion takes: all, or those of a list of ordinals.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/errors.h"

namespace readkit {

/// Hands records to `take`: all that `next` gives when `n` is 0, else those whose ordinal (1-based,
/// in file order) stands in `ordinals`, which must ascend; stops after the `n`-th of them. Kept: an
/// ordinal that is 0, beyond the last record, repeated or less than the one before it is not an
/// error; it is waited for until the file ends, and so nothing behind it in the list is taken.
/// Raises BadIndex when a record is taken whose ordinal is not greater than the last one's.
template <typename Next, typename Take>
void for_each_selected(const unsigned* ordinals, std::size_t n, const Next& next,
                       const Take& take) {
  if (n == 0) {
    while (next()) take();
    return;
  }
  std::size_t taken = 0;
  unsigned last = 0;
  for (std::uint64_t ordinal = 1; taken < n && next(); ++ordinal) {
    const unsigned wanted = ordinals[taken];
    if (ordinal != wanted) continue;
    take();
    if (wanted <= last) throw BadIndex();
    last = wanted;
    ++taken;
  }
}

}  // namespace readkit
