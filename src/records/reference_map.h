// Reference indexes by name, for the lines of SAM files.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace readkit {

/// Reference indexes, none below 0, by name. Not to be asked by two threads at once: it remembers
/// the names that it was asked for last, since neighbouring records mostly share them.
class ReferenceMap {
 public:
  static constexpr int kNone = -1;

  ReferenceMap() = default;
  ReferenceMap(std::initializer_list<std::pair<const std::string, int>> references)
      : indexes_(references) {}

  /// Adds a name; false, and nothing changes, when it is there.
  bool insert(std::string_view name, int index) {
    recent_ = {};
    return indexes_.emplace(name, index).second;
  }
  /// Adds a name, or gives it another index.
  void insert_or_assign(std::string name, int index) {
    recent_ = {};
    indexes_.insert_or_assign(std::move(name), index);
  }
  /// The index of a name, `kNone` when it has none.
  int find(std::string_view name) const {
    Recent& recent = recent_[slot_of(name)];
    if (name != recent.name || name.empty()) recent = {std::string(name), look_up(name)};
    return recent.index;
  }
  std::size_t size() const { return indexes_.size(); }

  friend bool operator==(const ReferenceMap& a, const ReferenceMap& b) {
    return a.indexes_ == b.indexes_;
  }

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const noexcept {
      return std::hash<std::string_view>()(name);
    }
  };
  // The answer to an earlier question; none before the first one, which an empty name stands for.
  struct Recent {
    std::string name;
    int index = kNone;
  };
  static constexpr std::size_t kSlots = 8;

  // Keeps "=" and "*" apart from most names.
  static std::size_t slot_of(std::string_view name) {
    return name.empty() ? 0 : (name.size() + static_cast<unsigned char>(name.front())) % kSlots;
  }
  int look_up(std::string_view name) const {
    const auto found = indexes_.find(name);
    return found == indexes_.end() ? kNone : found->second;
  }

  std::unordered_map<std::string, int, Hash, std::equal_to<>> indexes_;
  mutable std::array<Recent, kSlots> recent_;
};

}  // namespace readkit
