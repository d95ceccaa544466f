// Changes of BGZF and BAM files that leave them what they are on the outside, so that the code
// behind the codec meets the change.
#pragma once

#include <cstddef>
#include <string>

#include "fuzz/support/target.h"

namespace readkit::fuzz {

/// Changes a BGZF file: its bytes as they stand, with sizes and checksums put right afterwards or
/// not; or what its blocks hold, which is then cut into blocks anew.
std::string change_bgzf(const std::string& file, Random& random, const ChangeBytes& bytes,
                        std::size_t room);

/// The same for a BAM file, whose content is changed by header and records: within one, whose
/// length word follows, or by leaving out, repeating or exchanging them.
std::string change_bam(const std::string& file, Random& random, const ChangeBytes& bytes,
                       std::size_t room);

/// Puts sizes, checksums and, where they are no headers, headers of blocks right.
std::string repaired_bgzf(std::string file);

/// A BGZF file of this content in stored blocks, in which dictionaries and other files' pieces fit.
std::string stored_bgzf(const std::string& content, std::size_t block_size = 0xff00,
                        bool with_marker = true);

}  // namespace readkit::fuzz
