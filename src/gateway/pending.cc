#include "gateway/pending.h"

#include "gateway/gateways.h"

namespace readkit {

// Defines a gateway that is not built yet.
#define READKIT_PENDING_GATEWAY(NAME) \
  void NAME(int, txArray*[], int, const txArray*[]) { throw GatewayNotBuiltYet(#NAME); }

READKIT_PENDING_GATEWAY(scanQualities)

#undef READKIT_PENDING_GATEWAY

}  // namespace readkit
