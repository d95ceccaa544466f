#include "core/monitor.h"

namespace readkit {
namespace {

struct Watch {
  kxMonitor monitor = nullptr;
  void* context = nullptr;
  bool has_ended = false;
};

thread_local Watch watch;

bool ask(const kxTransfer& transfer) {
  if (watch.monitor == nullptr) return true;
  if (watch.has_ended) return false;
  watch.has_ended = !watch.monitor(watch.context, &transfer);
  return !watch.has_ended;
}

}  // namespace

bool Transfers::are_watched() { return watch.monitor != nullptr; }

bool Transfers::allow(std::uint64_t position) const {
  return ask({.path = path_.c_str(), .position = position, .is_write = are_writes_});
}

bool Transfers::allow_work() { return ask({.path = "", .position = 0, .is_write = false}); }

}  // namespace readkit

void kxSetMonitor(kxMonitor monitor, void* context) {
  readkit::watch = {.monitor = monitor, .context = context, .has_ended = false};
}
