#include "host/monitor.h"

#include <exception>

#include "host/call.h"
#include "host/error.h"

namespace readkit::host {
namespace {

// The monitor of one call, as the library sees it, from construction to destruction.
class Watch {
 public:
  Watch(const Function& function, const Monitor& monitor) : function_(function), monitor_(monitor) {
    function_.set_monitor(&Watch::show, this);
  }
  ~Watch() { function_.set_monitor(nullptr, nullptr); }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  // Raises what there is to say of a call that was ended.
  void require_not_ended() const {
    if (thrown_) std::rethrow_exception(thrown_);
    if (has_ended_) throw HostError(id::kInterrupted);
  }

 private:
  static bool show(void* context, const kxTransfer* transfer) {
    auto& watch = *static_cast<Watch*>(context);
    try {
      watch.has_ended_ = !watch.monitor_(*transfer);
    } catch (...) {
      watch.has_ended_ = true;
      watch.thrown_ = std::current_exception();
    }
    return !watch.has_ended_;
  }

  const Function& function_;
  const Monitor& monitor_;
  bool has_ended_ = false;
  std::exception_ptr thrown_;
};

}  // namespace

std::vector<Owned> call_watched(const Function& function, int nlhs,
                                const std::vector<Owned>& inputs, const Monitor& monitor) {
  const Watch watch(function, monitor);
  std::vector<Owned> outputs;
  try {
    outputs = call(function, nlhs, inputs);
  } catch (const HostError&) {
    watch.require_not_ended();
    throw;
  }
  watch.require_not_ended();
  return outputs;
}

}  // namespace readkit::host
