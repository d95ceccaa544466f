#include "quality/fastq_lines.h"

#include <cstddef>
#include <cstring>
#include <limits>

#include "core/errors.h"

namespace readkit {
namespace {

// The length of a line whose text ends at `end`: with its '\n', or before.
int without_return(const char* line, std::size_t end) {
  const bool has_return = line[end] == '\n' && end > 0 && line[end - 1] == '\r';
  return static_cast<int>(has_return ? end - 1 : end);
}

// The index of the '\n' or NUL that ends the text of a line whose last `got` characters were read
// to `from`; a '\n' can only be the last of them.
std::size_t text_end(const char* line, std::size_t from, std::size_t got) {
  if (const void* nul = std::memchr(line + from, '\0', got)) {
    return static_cast<std::size_t>(static_cast<const char*>(nul) - line);
  }
  const std::size_t end = from + got;
  return got > 0 && line[end - 1] == '\n' ? end - 1 : end;
}

}  // namespace

void bufferExpand(buffer_t* buffer, int size) {
  resize_host_block(buffer->text, static_cast<std::size_t>(size));
  buffer->capacity = size;
}

int sequenceLength(const char* text) { return without_return(text, std::strcspn(text, "\n")); }

int readLine(buffer_t* buffer, File& file) {
  std::size_t read = 0;
  while (true) {
    const auto capacity = static_cast<std::size_t>(buffer->capacity);
    char* const text = buffer->text.get();
    // Only a line that fills the buffer reaches the byte before its last.
    text[capacity - 2] = '\0';
    const std::size_t got = file.read_line(text + read, capacity - read);
    if (text[capacity - 2] == '\0' || text[capacity - 2] == '\n') {
      return without_return(text, text_end(text, read, got));
    }
    read = capacity - 1;
    if (buffer->capacity > std::numeric_limits<int>::max() / 2) throw InvalidData();
    bufferExpand(buffer, 2 * buffer->capacity);
  }
}

int fillBuffersFASTQ(buffer_t* seq, buffer_t* qual, File& file) {
  if (readLine(seq, file) == 0) return kNoRecord;
  const int length = readLine(seq, file);
  readLine(qual, file);
  const int qualities = readLine(qual, file);
  return length == 0 || length == qualities ? length : kUnequalLengths;
}

}  // namespace readkit
