// Outputs of a call as Python objects.
#pragma once

#include <pybind11/pybind11.h>

#include "host/array.h"

namespace readkit::python {

/// What Python sees of an output:
///
///   numbers, logicals    a NumPy array over the host's memory, which the array owns from then on
///                        and frees with its last reference; Fortran order; columns, one row too,
///                        have one dimension
///   a logical scalar     bool
///   characters           str, column by column
///   a string scalar      str, or None for the missing one
///   cells of texts, or a column of strings    TextColumn; None for an empty cell
///   other cells          list, column by column
///   a structure          dict; a list of dicts unless it is 1-by-1
///   no array             None
///
/// REQUIRES: the GIL.
pybind11::object to_python(host::Owned array);

}  // namespace readkit::python
