// How far long work has come, on a line of standard error that is written over.
//
// The work of a command has one stage, reading its input, or two: a sort then merges the temporary
// files that it made, or writes its output if it made none. Positions are the real ones in files.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace readkit::cli {

class Progress {
 public:
  /// `wanted` is what the user said; without a word progress is shown on a terminal.
  Progress(std::string command, bool quiet, std::optional<bool> wanted);

  /// The input, as its readers know it and as the user does.
  void begin(const std::string& path, const std::string& name, std::uint64_t size);
  /// Reading is followed by merging, or by writing.
  void expect_second_stage() { stages_ = 2; }
  /// Shows nothing: standard output needs the terminal.
  void hide() { shown_ = false; }

  /// The file has been read, or written, up to `position`.
  void moved(const char* path, std::uint64_t position, bool is_write);
  /// Input that the program itself reads: up to `position` of `size` bytes (0: not known).
  void reading(const std::string& name, std::uint64_t position, std::uint64_t size);
  /// How far the input has been read.
  std::uint64_t position() const { return input_.position; }

  /// Removes the line, so that something else can be printed.
  void end();

 private:
  using Clock = std::chrono::steady_clock;
  struct File {
    std::string name;
    std::uint64_t position = 0;
    std::uint64_t size = 0;
  };
  struct Stage {
    const char* name;
    std::uint64_t done;
    std::uint64_t all;  // 0: not known
    bool is_second;
  };
  Stage stage() const;
  void show();
  std::string line(Clock::time_point now) const;

  std::string command_;
  bool shown_;
  bool on_terminal_;
  bool visible_ = false;
  int stages_ = 1;
  std::string input_path_;
  File input_;
  // What is written and, in between, read again: temporary files and outputs.
  std::map<std::string, std::uint64_t, std::less<>> written_;
  std::map<std::string, std::uint64_t, std::less<>> read_again_;
  bool last_was_write_ = false;
  Clock::time_point start_ = Clock::now();
  Clock::time_point next_;
};

}  // namespace readkit::cli
