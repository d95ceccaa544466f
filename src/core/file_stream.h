// A standard file stream that opens a Path, with a buffer large enough for whole-file reads and a
// view of lines in it.
#pragma once

#include <cstddef>
#include <fstream>
#include <istream>
#include <memory>
#include <string>
#include <string_view>

#include "core/aligned_buffer.h"
#include "core/monitor.h"
#include "core/path.h"

namespace readkit {

/// A read/write stream on one file: stream operations, state bits and positions apply to it as to
/// any standard stream. Movable; the destructor closes the file.
class FileStream : public std::iostream {
 public:
  FileStream();
  FileStream(FileStream&& other) noexcept;
  FileStream& operator=(FileStream&& other) noexcept;
  ~FileStream() override = default;

  /// Opens the file; the fail bit tells of failure.
  void open(const Path& path, std::ios::openmode mode);
  bool is_open() const { return file_->is_open(); }
  /// Closes the file; the fail bit tells when that, or bringing out the last bytes, failed.
  void close();

  /// Reads a line as std::getline does, state bits included, without its '\n'. The view is valid
  /// until the next operation on the stream. Returns what std::getline tells: false when no
  /// character could be extracted.
  bool next_line(std::string_view& line);

 private:
  // Opens the protected window of a file buffer to `next_line`, and collects what is written.
  class Buffer : public std::filebuf {
   public:
    // The base brings out its last bytes when it ends: too late, its room is gone by then.
    ~Buffer() override { std::filebuf::close(); }
    bool open(const Path& path, std::ios::openmode mode);
    const char* next() const { return gptr(); }
    const char* end() const { return egptr(); }
    void take(std::size_t n) { setg(eback(), gptr() + n, egptr()); }

   protected:
    int_type underflow() override;
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* from, std::streamsize n) override;

   private:
    bool allow(const Transfers& transfers);

    AlignedBuffer room_;
    Transfers reads_;
    Transfers writes_;
  };

  bool assemble_line(std::string_view& line);

  std::unique_ptr<Buffer> file_;
  std::string pieces_;  // of a line that crosses the end of the buffer
};

}  // namespace readkit
