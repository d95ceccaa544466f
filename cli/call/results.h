// From host arrays to JSON: the one document that a call prints.
#pragma once

#include <span>

#include "cli/terminal/output.h"
#include "host/array.h"
#include "host/error.h"

namespace readkit::cli {

/// {"outputs": [...]}, every output in the spelled-out form that arguments.h reads, null for one
/// that the function did not fill. Doubles have 17 significant digits and singles 9, so that they
/// read back as they were; text is UTF-8, with units that UTF-8 cannot hold as escapes.
void write_outputs(Output& out, std::span<const host::Owned> outputs);

/// {"error": {"identifier": ..., "arguments": [...], "message": ...}}.
void write_error(Output& out, const host::HostError& error);

}  // namespace readkit::cli
