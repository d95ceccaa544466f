#include "host/call.h"

#include <algorithm>
#include <string>
#include <utility>

#include "host/array_storage.h"

namespace readkit::host {
namespace {

std::string position(std::size_t index) { return std::to_string(index + 1); }

// The output slots of one call. Owns what the function stored, but for arrays that it had no right
// to give away; those have other owners.
class OutputSlots {
 public:
  OutputSlots(int nlhs, std::span<const txArray* const> inputs)
      : wanted_(static_cast<std::size_t>(std::max(nlhs, 1))),
        inputs_(inputs),
        slots_(std::max(wanted_, static_cast<std::size_t>(kMinOutputSlots)), nullptr) {}
  OutputSlots(const OutputSlots&) = delete;
  OutputSlots& operator=(const OutputSlots&) = delete;
  ~OutputSlots() { destroy_all(); }

  txArray** data() { return slots_.data(); }

  // The wanted outputs; the others go with this object. Raises HostError for an output that is not
  // the function's to give.
  std::vector<Owned> take() {
    for (std::size_t i = 0; i < wanted_; ++i) {
      if (!may_be_given(i)) {
        throw HostError(id::kInvalidOutput, {position(i)});
      }
    }
    std::vector<Owned> outputs(wanted_);
    for (std::size_t i = 0; i < wanted_; ++i) {
      std::replace(slots_.begin() + static_cast<std::ptrdiff_t>(wanted_), slots_.end(), slots_[i],
                   static_cast<txArray*>(nullptr));
      outputs[i].reset(std::exchange(slots_[i], nullptr));
    }
    return outputs;
  }

 private:
  // A null slot may be given: the function left it unfilled.
  bool may_be_given(std::size_t i) const {
    const txArray* const a = slots_[i];
    if (a == nullptr) return true;
    const auto before = slots_.begin() + static_cast<std::ptrdiff_t>(i);
    return !is_elsewhere(a) && std::find(slots_.begin(), before, a) == before;
  }

  bool is_elsewhere(const txArray* a) const {
    return a->owner != nullptr || std::find(inputs_.begin(), inputs_.end(), a) != inputs_.end();
  }

  // All questions about the arrays are asked before the first one is destroyed, since a later slot
  // may hold a part of an array in an earlier one.
  void destroy_all() noexcept {
    for (std::size_t i = 0; i < slots_.size(); ++i) {
      if (!may_be_given(i)) slots_[i] = nullptr;
    }
    for (txArray*& slot : slots_) matrix::destroyArray(std::exchange(slot, nullptr));
  }

  std::size_t wanted_;
  std::span<const txArray* const> inputs_;
  std::vector<txArray*> slots_;
};

void check_call(txGateway entry, int nlhs, std::span<const txArray* const> inputs) {
  if (entry == nullptr) throw HostError(id::kNoFunction);
  if (nlhs < 0 || nlhs > kMaxOutputs) {
    throw HostError(id::kOutputCount, {std::int64_t{nlhs}, std::int64_t{kMaxOutputs}});
  }
  const auto missing = std::find(inputs.begin(), inputs.end(), nullptr);
  if (missing != inputs.end()) {
    throw HostError(id::kNullInput, {position(static_cast<std::size_t>(missing - inputs.begin()))});
  }
}

}  // namespace

std::vector<Owned> call_entry(txGateway entry, int nlhs, std::span<const txArray* const> inputs) {
  try {
    check_call(entry, nlhs, inputs);
    std::vector<const txArray*> arguments(inputs.begin(), inputs.end());
    OutputSlots slots(nlhs, inputs);
    entry(nlhs, slots.data(), static_cast<int>(arguments.size()), arguments.data());
    return slots.take();
  } catch (...) {
    raise_as_host_error();
  }
}

std::vector<Owned> call(const Function& function, int nlhs,
                        std::span<const txArray* const> inputs) {
  return call_entry(function.entry(), nlhs, inputs);
}

std::vector<Owned> call(const Function& function, int nlhs, const std::vector<Owned>& inputs) {
  try {
    std::vector<const txArray*> arrays;
    arrays.reserve(inputs.size());
    for (const Owned& input : inputs) arrays.push_back(input.get());
    return call(function, nlhs, std::span<const txArray* const>(arrays));
  } catch (...) {
    raise_as_host_error();
  }
}

std::vector<Owned> call(const Function& function, int nlhs,
                        std::initializer_list<const txArray*> inputs) {
  return call(function, nlhs, std::span<const txArray* const>(inputs.begin(), inputs.size()));
}

}  // namespace readkit::host
