// Which names of optional fields a record has had.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace readkit {

/// A set of names of a letter and a letter or digit, which empties itself in no time: an entry
/// tells in which record its name came last.
class TagNames {
 public:
  /// Begins a record, without a name.
  void start() { ++record_; }
  /// Adds a name; false when the record has had it. REQUIRES: `first` is a letter and `second` a
  /// letter or digit; other characters may be taken for those.
  bool add(std::uint8_t first, std::uint8_t second) {
    std::uint32_t& last = last_[(first & 0x3FU) << 7 | (second & 0x7FU)];
    const bool is_new = last != record_;
    last = record_;
    return is_new;
  }

 private:
  // 6 bits tell letters apart, 7 bits letters and digits.
  static constexpr std::size_t kNames = std::size_t{1} << 13;

  std::vector<std::uint32_t> last_ = std::vector<std::uint32_t>(kNames);
  std::uint32_t record_ = 0;  // modulo 2^32
};

}  // namespace readkit
