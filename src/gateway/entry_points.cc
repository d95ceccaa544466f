// The library's two entry points and its table of gateway functions, which is also that of
// kxVerified.
#include <algorithm>
#include <array>
#include <string>

#include "core/bgzf.h"
#include "core/errors.h"
#include "gateway/arguments.h"
#include "gateway/gateways.h"
#include "gateway/tx_registry.h"

namespace readkit {
namespace {

struct Entry {
  const char* name;
  txGateway function;
};

// In registration order, which the host shows.
constexpr std::array<Entry, 17> kEntries = {{
    {"bamInfo", bamInfo},
    {"bamSort", bamSort},
    {"bamIndex", bamIndex},
    {"getNumReferences", getNumReferences},
    {"getReferenceID", getReferenceID},
    {"getReferenceString", getReferenceString},
    {"getStartsInReference", getStartsInReference},
    {"getFeatureCountData", getFeatureCountData},
    {"getFeatures", getFeatures},
    {"getHeader", getHeader},
    {"convertFormat", convertFormat},
    {"samSort", samSort},
    {"samWriteUnaligned", samWriteUnaligned},
    {"samWrite", samWrite},
    {"samToBam", samToBam},
    {"samInfo", samInfo},
    {"scanQualities", scanQualities},
}};

// Those that are exported and not registered, but for kxVerified.
constexpr std::array<Entry, 6> kMore = {{
    {"kxBamIndexComplete", kxBamIndexComplete},
    {"kxBamShuffle", kxBamShuffle},
    {"kxBamShuffleSeeded", kxBamShuffleSeeded},
    {"kxCheck", kxCheck},
    {"kxFields", kxFields},
    {"kxSamWriteRegions", kxSamWriteRegions},
}};

constexpr int kSymbolScope = 2;

template <std::size_t kCount>
txGateway find_function(const std::array<Entry, kCount>& entries, const std::string& name) {
  const auto* const found =
      std::ranges::find_if(entries, [&name](const Entry& entry) { return name == entry.name; });
  return found == entries.end() ? nullptr : found->function;
}

}  // namespace

// [output, ...] = kxVerified(name, input, ...)
void kxVerified(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[]) {
  // The inputs and outputs are counted by the function itself.
  if (nrhs < 1) throw InvalidArgCount(u"kxVerified");
  const std::string name = text_argument(prhs[0]);
  txGateway function = find_function(kEntries, name);
  if (function == nullptr) function = find_function(kMore, name);
  if (function == nullptr) throw InvalidInputType(u"name", u"function");
  const StrictReading strict;
  function(nlhs, plhs, nrhs - 1, prhs + 1);
}

}  // namespace readkit

bool TslInitialize_readkit() {
  txFunctionNamespace* const seqlab = txFindNamespace("seqlab");
  txFunctionNamespace* const internal = txFindInnerNamespace(seqlab, "internal");
  txFunctionNamespace* const ns = txFindInnerNamespace(internal, "readkit");
  bool added = false;
  for (const auto& [name, function] : readkit::kEntries) {
    added = txAddFunction(ns, txInternName(name), function, nullptr, readkit::kSymbolScope);
  }
  return added;
}

void TslTerminate_readkit() {}
