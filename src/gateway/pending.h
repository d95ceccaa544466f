// The gateway functions that are declared and registered but not built yet. This is the one place
// that lists them; it goes when the list is empty.
#pragma once

#include <stdexcept>
#include <string>

#include "core/export.h"

namespace readkit {

/// Raised by every gateway of the list in pending.cc.
class READKIT_EXPORT GatewayNotBuiltYet : public std::logic_error {
 public:
  explicit GatewayNotBuiltYet(const char* gateway)
      : std::logic_error(std::string("the gateway function ") + gateway + " is not built yet") {}
};

}  // namespace readkit
