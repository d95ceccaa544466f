// Counting letters by position.
#pragma once

#include <cstddef>
#include <cstdint>

namespace readkit {

/// The letters that have counters, in the order of these.
inline constexpr char kCountedLetters[] = {'A', 'C', 'G', 'T'};

/// Adds the `length` letters to `counts`: a row of counters for each of kCountedLetters, `stride`
/// from one row to the next, a counter for each position. Returns how many are C or G. REQUIRES:
/// `length` is at most `stride` and below 4080; no counter is at its end.
int tally_letters(const char* letters, std::size_t length, std::uint8_t* counts,
                  std::size_t stride);

}  // namespace readkit
