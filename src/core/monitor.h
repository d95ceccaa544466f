// A host's view of a call that takes long: every large read and write is shown to it, and every
// while of work in memory, and it may end the call.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "core/export.h"

extern "C" {

/// A read or write of many bytes that is about to happen; or, without a name, work in memory.
struct kxTransfer {
  const char* path;        ///< The file's native name, or ""; valid during the call that shows it.
  std::uint64_t position;  ///< The offset in the file, in bytes, at which it begins.
  bool is_write;
};

/// What a host is asked before each transfer; false ends the call. It must not throw, and must not
/// call the library.
using kxMonitor = bool (*)(void* context, const kxTransfer* transfer);

/// From now on shows the transfers of the calling thread to `monitor`, or to none when that is
/// null. Once a monitor has said false it is not asked again: all further transfers of the thread
/// fail, so that the running call soon ends as it does when a disk fails, with some error of a
/// failed read or write, and with what it had written so far left behind. `context` stays the
/// caller's.
READKIT_EXPORT void kxSetMonitor(kxMonitor monitor, void* context);

}  // extern "C"

namespace readkit {

/// The transfers of one open file, as the thread's monitor gets to see them.
class Transfers {
 public:
  Transfers() = default;
  Transfers(std::string path, bool are_writes) : path_(std::move(path)), are_writes_(are_writes) {}

  /// Whether the next transfer may happen, at this offset of the file.
  bool allow(std::uint64_t position) const;

  /// Whether work in memory may go on, for those who do it for more than some 50 ms.
  static bool allow_work();

  /// Whether somebody watches this thread, for those to whom an offset is not free.
  static bool are_watched();

 private:
  std::string path_;
  bool are_writes_ = false;
};

}  // namespace readkit
