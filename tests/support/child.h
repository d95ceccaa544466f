// Processes that do what a test must not do to its own.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace readkit {

/// Runs `run` in a process of its own and returns what it returns, nothing where it returns
/// nothing. When the process dies, that is what the text says at its end.
std::optional<std::string> in_child(const std::function<std::optional<std::string>()>& run);

/// A short text that outlives the process that wrote it.
class SharedNote {
 public:
  SharedNote();
  SharedNote(const SharedNote&) = delete;
  SharedNote& operator=(const SharedNote&) = delete;
  ~SharedNote();

  /// Keeps the first `kMost` characters.
  void write(std::string_view text);
  std::string text() const { return memory_; }

 private:
  static constexpr std::size_t kMost = 1000;
  char* memory_;
};

}  // namespace readkit
