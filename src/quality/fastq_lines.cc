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

// The index of the '\n' or NUL that ends the text of a line whose last part was read to `from`.
std::size_t text_end(const char* line, std::size_t from, const LineCopy& part) {
  if (part.has_nul) return from + std::strlen(line + from);
  return from + part.length - (part.ended ? 1 : 0);
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
    const LineCopy part = file.read_line(text + read, capacity - read);
    const bool fills = read + part.length == capacity - 1;
    if (!fills || text[capacity - 2] == '\0' || part.ended) {
      return without_return(text, text_end(text, read, part));
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
