// Bytes by chance, the same on every run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

namespace readkit {

using Random = std::mt19937_64;

/// A number in [low, high].
inline std::int64_t random_number(Random& random, std::int64_t low, std::int64_t high) {
  // Not a standard distribution: those differ between standard libraries.
  const auto span = static_cast<std::uint64_t>(high) - static_cast<std::uint64_t>(low) + 1;
  const std::uint64_t drawn = span == 0 ? random() : random() % span;
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(low) + drawn);
}

/// `size` bytes that no compressor can shorten.
inline std::string random_bytes(Random& random, std::size_t size) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random() & 0xff);
  return bytes;
}

/// `size` letters out of `alphabet`, with repeats, so that they shrink well.
inline std::string random_text(Random& random, std::size_t size,
                               const std::string& alphabet = "ACGT") {
  std::string text;
  while (text.size() < size) {
    if (!text.empty() && random() % 4 == 0) {
      const std::size_t from = random() % text.size();
      text += text.substr(from, random() % 40 + 1);
    } else {
      text += alphabet[random() % alphabet.size()];
    }
  }
  text.resize(size);
  return text;
}

}  // namespace readkit
