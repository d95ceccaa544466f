#include "support/faults.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <vector>

#include <fcntl.h>
#include <link.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#define READKIT_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define READKIT_SANITIZED 1
#endif
#endif

#ifdef READKIT_SANITIZED
#include <sanitizer/allocator_interface.h>
#include <sanitizer/lsan_interface.h>
#endif

namespace readkit {
namespace {

// The fault of this thread, and how many calls it has seen. Read by signal handlers and by malloc:
// plain data, without constructors.
struct Injection {
  bool armed;
  bool struck;
  std::size_t seen;
  Fault fault;
};
thread_local constinit Injection injection = {};

std::atomic<bool> counting{false};
std::atomic<std::int64_t> live_allocations{0};
std::atomic<std::int64_t> live_files{0};

// Where the code of a shared library lies.
struct Code {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;

  bool contains(const void* address) const {
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    return at >= begin && at < end;
  }
};
// Two that end the process when they do not get a little memory, whatever its program does: for the
// data of a new thread, and (by calloc) for the list of what that thread's end calls.
constinit Code dynamic_linker;
constinit Code c_library;

int find_code(dl_phdr_info* object, std::size_t, void*) {
  const std::string_view name = object->dlpi_name;
  Code* const code = name.find("/ld-") != name.npos       ? &dynamic_linker
                     : name.find("/libc.so") != name.npos ? &c_library
                                                          : nullptr;
  for (std::size_t i = 0; code != nullptr && i < object->dlpi_phnum; ++i) {
    const auto& part = object->dlpi_phdr[i];
    if (part.p_type != PT_LOAD || (part.p_flags & PF_X) == 0) continue;
    code->begin = object->dlpi_addr + part.p_vaddr;
    code->end = code->begin + part.p_memsz;
  }
  return 0;
}

bool strikes(Operation operation) {
  if (!injection.armed || injection.fault.operation != operation) return false;
  ++injection.seen;
  if (injection.seen < injection.fault.at) return false;
  const std::size_t later = injection.seen - injection.fault.at;
  if (injection.fault.lasts == Lasts::kOnce && later > 0) return false;
  if (injection.fault.lasts == Lasts::kEverySecond && later % 2 != 0) return false;
  injection.struck = true;
  return true;
}

// ---- System calls ------------------------------------------------------------------------------
//
// A filter of the kernel turns the calls into signals of this thread, whose handler makes the call
// itself, with a mark in the sixth argument that lets it pass: none of these calls has six, but for
// mappings, where the mark is an offset that has no meaning without a file.

constexpr std::uint64_t kMark = 0x5afe5afe5afe5000U;

struct SystemCall {
  long number;
  long arguments[5];
};

// Returns what the kernel gives: a result, or a negative error number.
long perform(const SystemCall& call) {
  const long* const a = call.arguments;
  const long result = syscall(call.number, a[0], a[1], a[2], a[3], a[4], static_cast<long>(kMark));
  return result == -1 ? -errno : result;
}

struct Trapped {
  long number;
  Operation operation;
};
constexpr Trapped kTrapped[] = {
#ifdef SYS_open
    {SYS_open, Operation::kOpen},         {SYS_stat, Operation::kStatus},
    {SYS_unlink, Operation::kRemove},
#endif
    {SYS_openat, Operation::kOpen},       {SYS_fstat, Operation::kStatus},
    {SYS_newfstatat, Operation::kStatus}, {SYS_statx, Operation::kStatus},
    {SYS_read, Operation::kRead},         {SYS_readv, Operation::kRead},
    {SYS_pread64, Operation::kRead},      {SYS_write, Operation::kWrite},
    {SYS_writev, Operation::kWrite},      {SYS_pwrite64, Operation::kWrite},
    {SYS_lseek, Operation::kSeek},        {SYS_close, Operation::kClose},
    {SYS_unlinkat, Operation::kRemove},   {SYS_mmap, Operation::kMap},
};

// Sanitizers make pipes, and close them, to learn what memory they may read. Those only count.
constexpr long kPipes[] = {
#ifdef SYS_pipe
    SYS_pipe,
#endif
    SYS_pipe2,
};

Operation operation_of(long number) {
  for (const Trapped& trapped : kTrapped) {
    if (trapped.number == number) return trapped.operation;
  }
  return Operation::kStatus;
}

int error_of(Operation operation) {
  switch (operation) {
    case Operation::kOpen:
    case Operation::kStatus:
    case Operation::kRemove:
      return EACCES;
    case Operation::kWrite:
      return ENOSPC;
    case Operation::kMap:
    case Operation::kAllocation:
      return ENOMEM;
    case Operation::kRead:
    case Operation::kSeek:
    case Operation::kClose:
      break;
  }
  return EIO;
}

// A call that a fault has struck.
long fail(const SystemCall& call, Operation operation) {
  // Lists of pieces have no length to shorten; they hold few bytes, and none of a header's.
  constexpr long kFewBytes = 97;
  const bool has_length = call.number == SYS_read || call.number == SYS_write;
  switch (injection.fault.manner) {
    case Manner::kInterrupted:
      return -EINTR;
    case Manner::kComesShort: {
      SystemCall shorter = call;
      if (has_length && call.arguments[2] > kFewBytes) shorter.arguments[2] = kFewBytes;
      return perform(shorter);
    }
    case Manner::kEnds:
      return 0;
    case Manner::kFails:
      break;
  }
  if (operation == Operation::kClose && perform(call) == 0) --live_files;
  return -error_of(operation);
}

long answer(const SystemCall& call) {
  if (std::find(std::begin(kPipes), std::end(kPipes), call.number) != std::end(kPipes)) {
    const long result = perform(call);
    if (result == 0) live_files += 2;
    return result;
  }
  const Operation operation = operation_of(call.number);
  if (strikes(operation)) return fail(call, operation);
  const long result = perform(call);
  if (operation == Operation::kOpen && result >= 0) ++live_files;
  if (operation == Operation::kClose && result == 0) --live_files;
  return result;
}

#if defined(__x86_64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_X86_64;
SystemCall call_in(const ucontext_t& context) {
  const auto& r = context.uc_mcontext.gregs;
  return {
      static_cast<long>(r[REG_RAX]),
      {static_cast<long>(r[REG_RDI]), static_cast<long>(r[REG_RSI]), static_cast<long>(r[REG_RDX]),
       static_cast<long>(r[REG_R10]), static_cast<long>(r[REG_R8])}};
}
void set_result(ucontext_t& context, long result) { context.uc_mcontext.gregs[REG_RAX] = result; }
#elif defined(__aarch64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
SystemCall call_in(const ucontext_t& context) {
  const auto& r = context.uc_mcontext.regs;
  return {static_cast<long>(r[8]),
          {static_cast<long>(r[0]), static_cast<long>(r[1]), static_cast<long>(r[2]),
           static_cast<long>(r[3]), static_cast<long>(r[4])}};
}
void set_result(ucontext_t& context, long result) {
  context.uc_mcontext.regs[0] = static_cast<unsigned long long>(result);
}
#else
constexpr std::uint32_t kArchitecture = 0;
SystemCall call_in(const ucontext_t&) { return {}; }
void set_result(ucontext_t&, long) {}
#endif

void on_system_call(int, siginfo_t*, void* context) {
  const int saved = errno;
  auto& thread = *static_cast<ucontext_t*>(context);
  set_result(thread, answer(call_in(thread)));
  errno = saved;
}

constexpr std::uint32_t offset_of_argument(std::size_t index) {
  return static_cast<std::uint32_t>(offsetof(seccomp_data, args) + index * sizeof(std::uint64_t));
}
sock_filter load_word(std::size_t offset) {
  return {BPF_LD | BPF_W | BPF_ABS, 0, 0, static_cast<std::uint32_t>(offset)};
}
sock_filter verdict(std::uint32_t value) { return {BPF_RET | BPF_K, 0, 0, value}; }
// Goes on with the next instruction when the loaded word is `value`; else passes over one.
sock_filter unless_equal_skip_one(std::uint32_t value) {
  return {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, value};
}
sock_filter if_equal_skip_one(std::uint32_t value) {
  return {BPF_JMP | BPF_JEQ | BPF_K, 1, 0, value};
}

bool install_filter() {
  std::vector<sock_filter> filter = {
      load_word(offsetof(seccomp_data, arch)),
      if_equal_skip_one(kArchitecture),
      verdict(SECCOMP_RET_ALLOW),
      load_word(offset_of_argument(5)),
      unless_equal_skip_one(static_cast<std::uint32_t>(kMark & 0xffffffffU)),
      verdict(SECCOMP_RET_ALLOW),
      load_word(offsetof(seccomp_data, nr)),
      // A mapping of a file passes: its last argument is needed.
      {BPF_JMP | BPF_JEQ | BPF_K, 0, 4, static_cast<std::uint32_t>(SYS_mmap)},
      load_word(offset_of_argument(4)),
      unless_equal_skip_one(0xffffffffU),
      verdict(SECCOMP_RET_TRAP),
      verdict(SECCOMP_RET_ALLOW),
  };
  const auto trap = [&](long number) {
    filter.push_back(unless_equal_skip_one(static_cast<std::uint32_t>(number)));
    filter.push_back(verdict(SECCOMP_RET_TRAP));
  };
  for (const Trapped& trapped : kTrapped) trap(trapped.number);
  for (const long number : kPipes) trap(number);
  filter.push_back(verdict(SECCOMP_RET_ALLOW));
  const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

}  // namespace

bool trap_system_calls() {
  if (kArchitecture == 0) return false;
  struct sigaction action = {};
  action.sa_sigaction = on_system_call;
  action.sa_flags = SA_SIGINFO;
  if (sigaction(SIGSYS, &action, nullptr) != 0 || !install_filter()) return false;
  dl_iterate_phdr(find_code, nullptr);
#ifdef READKIT_SANITIZED
  __sanitizer_install_malloc_and_free_hooks(
      [](const volatile void*, std::size_t) { ++live_allocations; },
      [](const volatile void*) { --live_allocations; });
#endif
  counting = true;
  return true;
}

bool allocations_can_fail() {
#ifdef READKIT_SANITIZED
  return false;
#else
  return true;
#endif
}

bool has_leaks() {
#ifdef READKIT_SANITIZED
  return __lsan_do_recoverable_leak_check() != 0;
#else
  return false;
#endif
}

Faults::Faults(const Fault& fault) { injection = {true, false, 0, fault}; }
Faults::~Faults() { injection.armed = false; }
bool Faults::have_struck() { return injection.struck; }

Held held() { return {live_allocations, live_files}; }

std::string_view name_of(Operation operation) {
  switch (operation) {
    case Operation::kOpen:
      return "open";
    case Operation::kStatus:
      return "status";
    case Operation::kRead:
      return "read";
    case Operation::kWrite:
      return "write";
    case Operation::kSeek:
      return "seek";
    case Operation::kClose:
      return "close";
    case Operation::kRemove:
      return "remove";
    case Operation::kMap:
      return "map";
    case Operation::kAllocation:
      break;
  }
  return "allocation";
}

std::string describe(const Fault& fault) {
  static constexpr const char* kManners[] = {"fails", "comes short", "is interrupted",
                                             "finds the end"};
  static constexpr const char* kLengths[] = {"once", "for good", "and every second after it"};
  return std::string(name_of(fault.operation)) + " " + std::to_string(fault.at) + " " +
         kManners[static_cast<std::size_t>(fault.manner)] + ", " +
         kLengths[static_cast<std::size_t>(fault.lasts)];
}

}  // namespace readkit

// ---- Memory -------------------------------------------------------------------------------------
//
// The program's own allocation functions come before those of the run-time library for all shared
// libraries that it loads, and so does everything that is built on them.

#ifndef READKIT_SANITIZED

extern "C" {

// Where the GNU library keeps what these replace.
// NOLINTBEGIN(bugprone-reserved-identifier)
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);
// NOLINTEND(bugprone-reserved-identifier)

}  // extern "C"

namespace {

bool memory_is_out(const void* caller) {
  if (readkit::dynamic_linker.contains(caller) ||
      !readkit::strikes(readkit::Operation::kAllocation))
    return false;
  errno = ENOMEM;
  return true;
}

void* counted(void* memory) {
  if (memory != nullptr && readkit::counting.load(std::memory_order_relaxed)) {
    readkit::live_allocations.fetch_add(1, std::memory_order_relaxed);
  }
  return memory;
}

}  // namespace

// Or clang keeps them to the program.
#pragma GCC visibility push(default)
extern "C" {

void* malloc(std::size_t size) {
  return memory_is_out(__builtin_return_address(0)) ? nullptr : counted(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size) {
  const void* const caller = __builtin_return_address(0);
  const bool fails = !readkit::c_library.contains(caller) && memory_is_out(caller);
  return fails ? nullptr : counted(__libc_calloc(count, size));
}

void* realloc(void* memory, std::size_t size) {
  if (memory_is_out(__builtin_return_address(0))) return nullptr;
  void* const moved = __libc_realloc(memory, size);
  return memory == nullptr ? counted(moved) : moved;
}

void* memalign(std::size_t alignment, std::size_t size) {
  return memory_is_out(__builtin_return_address(0)) ? nullptr
                                                    : counted(__libc_memalign(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) { return memalign(alignment, size); }

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
  void* const got = memalign(alignment, size);
  if (got == nullptr) return ENOMEM;
  *memory = got;
  return 0;
}

void free(void* memory) {
  if (memory != nullptr && readkit::counting.load(std::memory_order_relaxed)) {
    readkit::live_allocations.fetch_sub(1, std::memory_order_relaxed);
  }
  __libc_free(memory);
}

}  // extern "C"
#pragma GCC visibility pop

#endif
