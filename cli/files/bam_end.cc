#include "cli/files/bam_end.h"

#include <array>
#include <cstdint>
#include <fstream>

namespace readkit::cli {

bool has_end_marker(const std::string& path) {
  constexpr std::array<std::uint8_t, 28> kMarker = {0x1f, 0x8b, 8,   4,   0, 0, 0,    0, 0, 0xff,
                                                    6,    0,    'B', 'C', 2, 0, 0x1b, 0, 3, 0,
                                                    0,    0,    0,   0,   0, 0, 0,    0};
  std::array<char, kMarker.size()> end = {};
  std::ifstream file(path, std::ios::binary);
  file.seekg(-static_cast<std::streamoff>(kMarker.size()), std::ios::end);
  if (!file.read(end.data(), end.size())) return false;
  for (std::size_t i = 0; i < end.size(); ++i) {
    if (static_cast<std::uint8_t>(end[i]) != kMarker[i]) return false;
  }
  return true;
}

}  // namespace readkit::cli
