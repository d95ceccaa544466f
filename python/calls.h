// Calls of gateway functions from Python.
#pragma once

#include <string>

#include <pybind11/pybind11.h>

#include "host/loader.h"

namespace readkit::python {

/// Calls the function `name` with the inputs `arguments` and gives a tuple of max(nargout, 1)
/// objects, as `to_python` makes them. Other threads of Python run meanwhile. At most every 50 ms
/// the call looks up: it lets signals be handled, and calls `progress(path, position, is_write)`
/// unless that is None. What either raises ends the call and arrives; what the call had written so
/// far stays behind.
pybind11::tuple call(const host::Library& library, const std::string& name,
                     const pybind11::tuple& arguments, int nargout, pybind11::object progress);

}  // namespace readkit::python
