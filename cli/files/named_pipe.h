// A pipe with a name, which the library writes as it would a file, and whose other end is here.
#pragma once

#include <exception>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

#include "cli/files/private_folder.h"

namespace readkit::cli {

class NamedPipe {
 public:
  /// Takes what was written, piece by piece, on a thread of the pipe's own.
  using Sink = std::function<void(std::string_view)>;

  /// A pipe called `name` in a private folder.
  NamedPipe(const std::string& name, Sink sink);
  ~NamedPipe();
  NamedPipe(const NamedPipe&) = delete;
  NamedPipe& operator=(const NamedPipe&) = delete;

  const std::string& path() const { return path_; }
  /// Calls `work`, which writes to `path`, and returns when the sink has taken all of it. Raises
  /// what the sink raised, or else what `work` did. REQUIRES: is called once.
  void run(const std::function<void()>& work);

 private:
  void pump();

  PrivateFolder folder_;
  std::string path_;
  Sink sink_;
  int reader_ = -1;
  int writer_ = -1;  // keeps the pipe open while `work` opens and closes it
  std::thread thread_;
  std::exception_ptr error_;
};

/// Calls `work` with the path of a pipe, and `take` with every line that is written to it, without
/// its newline, on another thread.
void take_lines(const std::function<void(std::string_view)>& take,
                const std::function<void(const std::string&)>& work);

}  // namespace readkit::cli
