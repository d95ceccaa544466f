// Deflate streams put together bit by bit, for what no compressor would write.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace readkit {

/// Fields are put from the lowest bit on, Huffman codes from their highest bit on, as RFC 1951
/// says.
class DeflateBits {
 public:
  /// A field of `size` bits.
  DeflateBits& put(std::uint32_t value, int size);
  /// A Huffman code of `size` bits.
  DeflateBits& code(std::uint32_t code, int size);

  /// The header of the last block: stored (0), fixed codes (1), dynamic codes (2), none (3).
  DeflateBits& last_block(unsigned type) { return put(1, 1).put(type, 2); }
  /// A literal or length symbol (0 to 287), or a distance symbol (0 to 31), of the fixed codes.
  DeflateBits& fixed_symbol(unsigned symbol);
  DeflateBits& fixed_distance(unsigned symbol) { return code(symbol, 5); }

  /// The code lengths of a dynamic block, each written by itself with a 4-bit code.
  DeflateBits& dynamic_codes(const std::vector<int>& literals, const std::vector<int>& distances);
  /// A symbol of the code that has these lengths.
  DeflateBits& symbol(const std::vector<int>& lengths, std::size_t symbol);

  /// The stream so far, filled up with zero bits.
  const std::string& bytes() const { return bytes_; }

 private:
  std::string bytes_;
  int free_bits_ = 0;  // in the last byte
};

}  // namespace readkit
