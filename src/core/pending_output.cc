#include "core/pending_output.h"

#include <utility>

namespace readkit {

bool PendingOutput::bring_out(std::FILE* file) {
  const std::size_t size = std::exchange(size_, std::size_t{0});
  if (size > 0 &&
      !(writes_.allow(position_) && std::fwrite(bytes_.data<char>(), 1, size, file) == size)) {
    failed_ = true;
    room_ = 0;
  }
  position_ += size;
  return !failed_;
}

bool PendingOutput::close(std::FILE* file) {
  const bool is_written = bring_out(file);
  room_ = 0;
  return std::fclose(file) == 0 && is_written;
}

}  // namespace readkit
