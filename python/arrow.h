// Columns for other libraries, by Arrow's C data interface in PyCapsules: no copy of the data, and
// no need of Arrow's own library. The two structures are the interface's, member for member.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <pybind11/pybind11.h>

#include "python/text_column.h"

extern "C" {

struct ArrowSchema {
  const char* format;
  const char* name;
  const char* metadata;
  std::int64_t flags;
  std::int64_t n_children;
  ArrowSchema** children;
  ArrowSchema* dictionary;
  void (*release)(ArrowSchema*);
  void* private_data;
};

struct ArrowArray {
  std::int64_t length;
  std::int64_t null_count;
  std::int64_t offset;
  std::int64_t n_buffers;
  std::int64_t n_children;
  const void** buffers;
  ArrowArray** children;
  ArrowArray* dictionary;
  void (*release)(ArrowArray*);
  void* private_data;
};

}  // extern "C"

namespace readkit::python {

/// A capsule "arrow_schema": large_utf8, or large_binary when bytes are not UTF-8.
pybind11::capsule schema_of_texts(const Texts& texts);
/// (schema, array) of `rows` texts from the row `begin` on; the array keeps the texts alive.
pybind11::tuple arrow_of_texts(const std::shared_ptr<const Texts>& texts, std::size_t begin,
                               std::size_t rows);

/// (schema, array) of a table, a struct with one child for each column: objects with
/// `__arrow_c_array__`, or one-dimensional numeric NumPy arrays, whose memory is shared.
/// Raises TypeError for other columns, ValueError for columns of different lengths.
pybind11::tuple arrow_of_table(const std::vector<std::string>& names,
                               const std::vector<pybind11::object>& columns, std::size_t rows);

}  // namespace readkit::python
