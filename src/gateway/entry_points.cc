// The library's two entry points and its table of gateway functions.
#include <array>

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

constexpr int kSymbolScope = 2;

}  // namespace
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
