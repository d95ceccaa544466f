// A fuzz target: what is done with one input, the inputs to begin with, and how to change the file
// in an input so that it stays one. A target registers itself by a static object; the programs ask
// for it by its name.
//
//   void run(Input input) { ... }
//   const Registration registration({.name = "region", .run = run, .seeds = seeds});
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/random_data.h"

namespace readkit::fuzz {

/// The bytes of one input. What a target is to choose stands before the file that it is about.
class Input {
 public:
  explicit Input(std::string_view bytes) : rest_(bytes) {}

  /// The next number off the front; bytes that the input does not have count as 0.
  template <typename T>
  T take() {
    T number{};
    const std::size_t size = std::min(sizeof number, rest_.size());
    std::memcpy(&number, rest_.data(), size);
    rest_.remove_prefix(size);
    return number;
  }
  std::uint8_t byte() { return take<std::uint8_t>(); }
  /// All bytes that are left.
  std::string_view rest() const { return rest_; }

 private:
  std::string_view rest_;
};

/// What a target found wrong. No std::exception, so that no handler of the library's errors takes
/// it.
struct Finding {
  std::string text;
};

/// Ends the run of an input with a finding unless `holds`.
inline void require(bool holds, std::string_view text) {
  if (!holds) throw Finding{std::string(text)};
}

/// Changes bytes in place without knowing what they mean; they become at most `room`.
using ChangeBytes = std::function<void(std::string& bytes, std::size_t room)>;

struct Target {
  const char* name;
  void (*run)(Input input);
  std::vector<std::string> (*seeds)();
  std::size_t choices = 0;  ///< bytes before the file
  /// Changes the file of an input; plain changes of bytes when there is none.
  std::string (*change)(const std::string& file, Random& random, const ChangeBytes& bytes,
                        std::size_t room) = nullptr;
};

/// All targets of the program, by name.
inline std::vector<Target>& targets() {
  static std::vector<Target> all;
  return all;
}

struct Registration {
  explicit Registration(const Target& target) { targets().push_back(target); }
};

/// A changed copy of a whole input of at most `room` bytes: its file, or, less often, its choices.
inline std::string changed_input(const Target& target, const std::string& input, Random& random,
                                 const ChangeBytes& bytes, std::size_t room) {
  std::string changed = input;
  if (target.change == nullptr || input.size() < target.choices) {
    bytes(changed, room);
    return changed;
  }
  std::string choices = input.substr(0, target.choices);
  if (target.choices > 0 && random() % 8 == 0) {
    bytes(choices, target.choices);
    choices.resize(target.choices);
    return choices + input.substr(target.choices);
  }
  const std::size_t left = room - std::min(room, target.choices);
  const std::string file = target.change(input.substr(target.choices), random, bytes, left);
  return choices + file.substr(0, left);
}

}  // namespace readkit::fuzz
