// Gateway functions called in this process with hostile files: a result or a documented error, and
// nothing left over.
#pragma once

#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "core/errors.h"
#include "gateway/tx_array.h"
#include "host/array.h"
#include "host/call.h"
#include "host/error.h"

namespace readkit::fuzz {

using Inputs = std::vector<host::Owned>;
using Outputs = std::vector<host::Owned>;

template <typename... Arrays>
Inputs inputs(Arrays... arrays) {
  Inputs list;
  (list.push_back(std::move(arrays)), ...);
  return list;
}

/// What came of a call: outputs, or the identifier of its error.
struct Outcome {
  Outputs outputs;
  std::string error;
};

/// Whose errors are to be expected: those of damaged files, or those of any arguments, too.
enum class Hostile { kFiles, kArguments };

/// Calls a gateway function. An error that hostile input should not lead to, and arrays or blocks
/// of host memory that are left over, are findings.
Outcome call(const char* name, txGateway gateway, int nlhs, const Inputs& inputs,
             Hostile hostile = Hostile::kFiles);

/// Raises a finding unless hostile input may lead to this error.
void require_documented(const char* name, const std::string& identifier,
                        Hostile hostile = Hostile::kFiles);

/// Runs `work` and returns the identifier of its error, empty for none. An error that hostile input
/// should not lead to is a finding.
template <typename Work>
std::string error_of(const char* name, const Work& work, Hostile hostile = Hostile::kFiles) {
  try {
    try {
      work();
      return {};
    } catch (const MsgIdException& error) {
      // As below, with one exception in place of three, which take most of the time.
      require_documented(name, error.get_error_id(), hostile);
      return error.get_error_id();
    } catch (const std::exception&) {
      host::raise_as_host_error();
    }
  } catch (const host::HostError& error) {
    require_documented(name, error.identifier(), hostile);
    return error.identifier();
  }
}

}  // namespace readkit::fuzz
