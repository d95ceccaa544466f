// Calls that are watched: how far they are, and an end to those that are no longer wanted.
#pragma once

#include <functional>
#include <vector>

#include "core/export.h"
#include "core/monitor.h"
#include "host/array.h"
#include "host/loader.h"

namespace readkit::host {

/// Is shown every large read and write of a call before it happens, in the thread of the call;
/// false ends the call. What it throws ends the call, too.
using Monitor = std::function<bool(const kxTransfer& transfer)>;

/// Calls as `call` does while `monitor` watches. A call that was ended raises HostError
/// (id::kInterrupted), or what the monitor threw, and leaves behind what it had written so far:
/// temporary files and parts of outputs. A library that shows no transfers is called unwatched.
READKIT_EXPORT std::vector<Owned> call_watched(const Function& function, int nlhs,
                                               const std::vector<Owned>& inputs,
                                               const Monitor& monitor);

}  // namespace readkit::host
