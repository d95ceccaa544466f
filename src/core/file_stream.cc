#include "core/file_stream.h"

#include <cstring>
#include <utility>

namespace readkit {
namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 18;

}  // namespace

bool FileStream::Buffer::open(const Path& path, std::ios::openmode mode) {
  if (!room_) {
    room_ = AlignedBuffer(kBufferSize);
    pubsetbuf(room_.data<char>(), kBufferSize);
  }
  const std::string name = path.native();
  reads_ = Transfers(name, false);
  writes_ = Transfers(name, true);
  return std::filebuf::open(name, mode) != nullptr;
}

bool FileStream::Buffer::allow(const Transfers& transfers) {
  if (!Transfers::are_watched()) return true;
  const std::streamoff position = seekoff(0, std::ios::cur);
  return transfers.allow(position < 0 ? 0 : static_cast<std::uint64_t>(position));
}

// A refusal is no end of the file: the stream goes bad, as when the operating system refuses.
std::filebuf::int_type FileStream::Buffer::underflow() {
  if (!allow(reads_)) throw std::ios::failure("the read was refused");
  return std::filebuf::underflow();
}

std::filebuf::int_type FileStream::Buffer::overflow(int_type c) {
  return allow(writes_) ? std::filebuf::overflow(c) : traits_type::eof();
}

// A file buffer of its own would bring out long texts one by one, whatever room is left.
std::streamsize FileStream::Buffer::xsputn(const char* from, std::streamsize n) {
  if (n <= 0) return 0;
  if (n > epptr() - pptr()) return allow(writes_) ? std::filebuf::xsputn(from, n) : 0;
  std::memcpy(pptr(), from, static_cast<std::size_t>(n));
  pbump(static_cast<int>(n));
  return n;
}

FileStream::FileStream() : std::iostream(nullptr), file_(std::make_unique<Buffer>()) {
  init(file_.get());
}

FileStream::FileStream(FileStream&& other) noexcept : FileStream() { *this = std::move(other); }

FileStream& FileStream::operator=(FileStream&& other) noexcept {
  if (this == &other) return *this;
  std::iostream::swap(other);
  file_.swap(other.file_);
  set_rdbuf(file_.get());
  other.set_rdbuf(other.file_.get());
  other.close();
  return *this;
}

void FileStream::open(const Path& path, std::ios::openmode mode) {
  if (file_->open(path, mode)) {
    clear();
  } else {
    setstate(std::ios::failbit);
  }
}

void FileStream::close() {
  if (file_->close() == nullptr) setstate(std::ios::failbit);
}

bool FileStream::next_line(std::string_view& line) {
  const std::istream::sentry ready(*this, true);
  if (!ready) return false;
  const char* const start = file_->next();
  const auto room = static_cast<std::size_t>(file_->end() - start);
  const void* const newline = room == 0 ? nullptr : std::memchr(start, '\n', room);
  if (newline == nullptr) return assemble_line(line);
  const auto length = static_cast<std::size_t>(static_cast<const char*>(newline) - start);
  line = std::string_view(start, length);
  file_->take(length + 1);
  return true;
}

bool FileStream::assemble_line(std::string_view& line) {
  const bool found = static_cast<bool>(std::getline(*this, pieces_));
  line = pieces_;
  return found;
}

}  // namespace readkit
