// Errors of the host as exceptions of Python.
#pragma once

#include "host/error.h"

namespace readkit::python {

/// Makes the exception that readkit/errors.py has for `error` the current one. REQUIRES: the GIL.
void set_python_error(const host::HostError& error);

/// From now on a HostError that leaves a function of this module arrives as that exception.
void translate_errors();

}  // namespace readkit::python
