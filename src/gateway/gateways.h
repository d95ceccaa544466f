// The gateway functions: what the host calls. Each has the host's calling form (see txGateway).
#pragma once

#include "core/export.h"
#include "gateway/tx_array.h"

extern "C" {

/// Registers the seventeen gateway functions in the host's namespace seqlab.internal.readkit,
/// which must exist. Returns what the host says of the last one.
READKIT_EXPORT bool TslInitialize_readkit();
/// Does nothing: the library keeps no state between calls.
READKIT_EXPORT void TslTerminate_readkit();

}  // extern "C"

namespace readkit {

#define READKIT_GATEWAY(NAME) \
  READKIT_EXPORT void NAME(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[])

READKIT_GATEWAY(bamInfo);
READKIT_GATEWAY(bamSort);
READKIT_GATEWAY(bamIndex);
READKIT_GATEWAY(getNumReferences);
READKIT_GATEWAY(getReferenceID);
READKIT_GATEWAY(getReferenceString);
READKIT_GATEWAY(getStartsInReference);
READKIT_GATEWAY(getFeatureCountData);
READKIT_GATEWAY(getFeatures);
READKIT_GATEWAY(getHeader);
READKIT_GATEWAY(convertFormat);
READKIT_GATEWAY(samSort);
READKIT_GATEWAY(samWriteUnaligned);
READKIT_GATEWAY(samWrite);
READKIT_GATEWAY(samToBam);
READKIT_GATEWAY(samInfo);
READKIT_GATEWAY(scanQualities);
/// Exported, not registered.
READKIT_GATEWAY(kxBamIndexComplete);
READKIT_GATEWAY(kxBamShuffle);
READKIT_GATEWAY(kxBamShuffleSeeded);
READKIT_GATEWAY(kxCheck);
READKIT_GATEWAY(kxFields);
READKIT_GATEWAY(kxSamWriteRegions);
READKIT_GATEWAY(kxVerified);

#undef READKIT_GATEWAY

}  // namespace readkit
