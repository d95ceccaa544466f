#include "core/errors.h"

namespace readkit {

MsgIdException::MsgIdException(std::string component, std::string kind, ErrorArguments arguments)
    : component_(std::move(component)),
      kind_(std::move(kind)),
      arguments_(std::move(arguments)),
      id_(component_ + ":" + kind_) {}

}  // namespace readkit
