#include "support/deflate_bits.h"

namespace readkit {

DeflateBits& DeflateBits::put(std::uint32_t value, int size) {
  for (int i = 0; i < size; ++i) {
    if (free_bits_ == 0) {
      bytes_.push_back('\0');
      free_bits_ = 8;
    }
    const unsigned bit = value >> i & 1U;
    bytes_.back() =
        static_cast<char>(static_cast<unsigned char>(bytes_.back()) | bit << (8 - free_bits_));
    --free_bits_;
  }
  return *this;
}

DeflateBits& DeflateBits::code(std::uint32_t code, int size) {
  for (int i = size - 1; i >= 0; --i) put(code >> i & 1U, 1);
  return *this;
}

DeflateBits& DeflateBits::fixed_symbol(unsigned symbol) {
  if (symbol < 144) return code(0x30 + symbol, 8);
  if (symbol < 256) return code(0x190 + symbol - 144, 9);
  if (symbol < 280) return code(symbol - 256, 7);
  return code(0xC0 + symbol - 280, 8);
}

DeflateBits& DeflateBits::dynamic_codes(const std::vector<int>& literals,
                                        const std::vector<int>& distances) {
  put(static_cast<std::uint32_t>(literals.size() - 257), 5);
  put(static_cast<std::uint32_t>(distances.size() - 1), 5);
  put(15, 4);                              // all 19 lengths of the code for lengths follow:
  for (int i = 0; i < 3; ++i) put(0, 3);   // none for the repeats 16, 17, 18,
  for (int i = 0; i < 16; ++i) put(4, 3);  // and 4 bits for each length, whose code is itself
  for (const int length : literals) code(static_cast<std::uint32_t>(length), 4);
  for (const int length : distances) code(static_cast<std::uint32_t>(length), 4);
  return *this;
}

DeflateBits& DeflateBits::symbol(const std::vector<int>& lengths, std::size_t symbol) {
  // Canonical: codes ascend by length, then by symbol.
  const int length = lengths.at(symbol);
  std::uint32_t next = 0;
  for (int shorter = 1; shorter <= length; ++shorter) {
    next <<= 1;
    for (std::size_t i = 0; i < lengths.size(); ++i) {
      if (shorter == length && i == symbol) return code(next, length);
      if (lengths[i] == shorter) ++next;
    }
  }
  return *this;
}

}  // namespace readkit
