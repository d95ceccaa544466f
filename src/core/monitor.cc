#include "core/monitor.h"

namespace readkit {
namespace {

struct Watch {
  kxMonitor monitor = nullptr;
  void* context = nullptr;
  bool has_ended = false;
};

thread_local Watch watch;

}  // namespace

bool Transfers::are_watched() { return watch.monitor != nullptr; }

bool Transfers::allow(std::uint64_t position) const {
  if (watch.monitor == nullptr) return true;
  if (watch.has_ended) return false;
  const kxTransfer transfer{path_.c_str(), position, are_writes_};
  watch.has_ended = !watch.monitor(watch.context, &transfer);
  return !watch.has_ended;
}

}  // namespace readkit

void kxSetMonitor(kxMonitor monitor, void* context) {
  readkit::watch = {.monitor = monitor, .context = context, .has_ended = false};
}
