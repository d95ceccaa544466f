// Python objects as inputs of a call.
#pragma once

#include <pybind11/pybind11.h>

#include "host/array.h"

namespace readkit::python {

/// A host array of `object`, with a copy of what it holds:
///
///   str, bytes, os.PathLike        a character row; the names of files are taken as the system has
///                                  them, whatever their bytes are
///   bool, int, float               a logical or double scalar
///   NumPy array or scalar          the same class and shape; one dimension is a column
///   list, tuple of texts           a cell column of character rows; with None in it, a column of
///                                  strings in which it is the missing one
///   list, tuple of numbers         a column of doubles, or logicals
///   any other list or tuple        a cell column; an empty one has no rows
///   dict                           a 1-by-1 structure
///   TextColumn                     as a list of its texts
///   None                           the empty double array
///
/// Raises TypeError for other objects, ValueError for an int that no double holds, RecursionError
/// for what contains itself. REQUIRES: the GIL.
host::Owned to_host(pybind11::handle object);

}  // namespace readkit::python
