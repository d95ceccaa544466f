// Calls a gateway function the way the host does: inputs in, outputs or one error out.
#pragma once

#include <initializer_list>
#include <span>
#include <vector>

#include "core/export.h"
#include "gateway/tx_array.h"
#include "host/array.h"
#include "host/error.h"
#include "host/loader.h"

namespace readkit::host {

/// The output slots that every call hands over at least, whatever number of outputs is asked for.
inline constexpr int kMinOutputSlots = 16;
/// The most outputs that a call may ask for.
inline constexpr int kMaxOutputs = 65535;

/// Calls `function`, asking for `nlhs` outputs, and returns max(nlhs, 1) handles; a slot that the
/// function left unfilled gives a null handle. What it stored in later slots is destroyed.
///
/// Every failure is a HostError (see raise_as_host_error for what becomes of exceptions), after
/// which nothing that the function stored is left over. The host refuses by itself, without calling
/// the function: a negative or absurd `nlhs` (id::kOutputCount) and null inputs (id::kNullInput).
/// It refuses outputs that are not the function's to give: an input, an array that lies within
/// another one, one array in two slots (id::kInvalidOutput).
READKIT_EXPORT std::vector<Owned> call(const Function& function, int nlhs,
                                       std::span<const txArray* const> inputs);
READKIT_EXPORT std::vector<Owned> call(const Function& function, int nlhs,
                                       const std::vector<Owned>& inputs);
/// For inputs in braces: `call(function, 1, {name.get(), index.get()})`.
READKIT_EXPORT std::vector<Owned> call(const Function& function, int nlhs,
                                       std::initializer_list<const txArray*> inputs);
/// For a function that no library object owns. A null one raises HostError (id::kNoFunction).
READKIT_EXPORT std::vector<Owned> call_entry(txGateway entry, int nlhs,
                                             std::span<const txArray* const> inputs);

}  // namespace readkit::host
