#include "core/pending_output.h"

#include <utility>

#include "core/interrupted.h"

namespace readkit {

bool PendingOutput::bring_out(std::FILE* file) {
  const std::size_t size = std::exchange(size_, std::size_t{0});
  if (size == 0) return !failed_;
  const auto write_on = [&](std::size_t done) {
    return std::fwrite(bytes_.data<char>() + done, 1, size - done, file);
  };
  if (!writes_.allow(position_) || transfer_through_signals(file, size, write_on) != size) {
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
