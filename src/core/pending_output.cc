#include "core/pending_output.h"

#include <utility>

#include "core/interrupted.h"

namespace readkit {

bool PendingOutput::bring_out(std::FILE* file) {
  const std::size_t size = std::exchange(size_, std::size_t{0});
  if (size == 0) return !failed_;
  const std::size_t done = transfer_through_signals(file, size, [&](std::size_t so_far) {
    return std::fwrite(bytes_.data<char>() + so_far, 1, size - so_far, file);
  });
  if (done != size) {
    failed_ = true;
    room_ = 0;
  }
  return !failed_;
}

bool PendingOutput::close(std::FILE* file) {
  const bool is_written = bring_out(file);
  room_ = 0;
  return std::fclose(file) == 0 && is_written;
}

}  // namespace readkit
