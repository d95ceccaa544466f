// Faults of the system on demand: the Nth open, read, write, seek, close, removal, mapping or
// allocation fails, comes short or is interrupted, once or from then on.
//
//   const std::string report = in_child([&] {
//     if (!trap_system_calls()) return std::string("not allowed");
//     const Faults faults({Operation::kRead, Manner::kFails, Lasts::kOnce, 3});
//     ...
//     return Faults::have_struck() ? "the third read failed" : "there was no third read";
//   });
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace readkit {

/// What can go wrong. All but allocations are calls of the operating system, whoever makes them:
/// the library itself or the run-time libraries on its behalf.
enum class Operation : std::uint8_t {
  kOpen,
  kStatus,
  kRead,
  kWrite,
  kSeek,
  kClose,
  kRemove,
  kMap,  ///< of memory that belongs to no file
  kAllocation,
};

enum class Manner : std::uint8_t {
  kFails,        ///< EACCES, EIO, ENOSPC or ENOMEM; a close does close
  kComesShort,   ///< a few bytes are read or written instead of many
  kInterrupted,  ///< EINTR before anything has happened
  kEnds,         ///< nothing more is read, since the file has become shorter
};

enum class Lasts : std::uint8_t { kOnce, kForGood, kEverySecond };

struct Fault {
  Operation operation;
  Manner manner;
  Lasts lasts;
  std::size_t at;  ///< the call that it strikes, the first one being 1
};

/// "the 3rd read fails, once", for messages.
std::string describe(const Fault& fault);
std::string_view name_of(Operation operation);

/// Makes faults possible in this thread and those that it starts, whose system calls go through a
/// filter from now on, for good: only in a process that will end soon (`in_child`). False where the
/// system, or the processor, does not let it.
bool trap_system_calls();
/// Whether allocations can be made to fail: not under a sanitizer, which has its own.
bool allocations_can_fail();

/// Lets a fault happen in this thread, for the lifetime of the object. One at a time.
class Faults {
 public:
  explicit Faults(const Fault& fault);
  Faults(const Faults&) = delete;
  Faults& operator=(const Faults&) = delete;
  ~Faults();

  /// Whether the last fault of this thread has happened.
  static bool have_struck();
};

/// What a process has that it must give back.
struct Held {
  std::int64_t allocations = 0;
  std::int64_t files = 0;  ///< descriptors

  friend bool operator==(const Held&, const Held&) = default;
};
/// Counted since `trap_system_calls`: what differs between two moments has been kept in between.
Held held();

/// Whether there is memory in this process to which nothing refers any more; standard error tells
/// where it comes from. Only sanitizers know that, and only in threads without faults: they use
/// system calls of their own. False where there are none, or where they are told not to look.
bool has_leaks();

}  // namespace readkit
