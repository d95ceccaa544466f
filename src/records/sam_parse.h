// From a SAM line to a record.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace readkit {

struct NameHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view name) const noexcept {
    return std::hash<std::string_view>()(name);
  }
};

/// Reference indexes by name, looked up without making a string.
using ReferenceMap = std::unordered_map<std::string, int, NameHash, std::equal_to<>>;

}  // namespace readkit
