#include "python/errors.h"

#include <cstdint>
#include <exception>
#include <string>
#include <variant>

#include <pybind11/pybind11.h>

#include "host/array.h"
#include "python/text_column.h"

namespace py = pybind11;

namespace readkit::python {
namespace {

py::object object_of(const ErrorArgument& argument) {
  if (const auto* const number = std::get_if<std::int64_t>(&argument)) return py::int_(*number);
  if (const auto* const bytes = std::get_if<std::string>(&argument)) return str_of_bytes(*bytes);
  return str_of_bytes(host::text_of(host::make_text(std::get<UString>(argument)).get()));
}

}  // namespace

void set_python_error(const host::HostError& error) {
  try {
    py::list arguments;
    for (const ErrorArgument& argument : error.arguments()) arguments.append(object_of(argument));
    const py::object exception =
        py::module_::import("readkit.errors")
            .attr("error_of")(error.identifier(), py::tuple(arguments), str_of_bytes(error.text()));
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.ptr())), exception.ptr());
  } catch (py::error_already_set& failure) {
    failure.restore();
  }
}

void translate_errors() {
  py::register_local_exception_translator([](std::exception_ptr raised) {
    try {
      if (raised) std::rethrow_exception(raised);
    } catch (const host::HostError& error) {
      set_python_error(error);
    }
  });
}

}  // namespace readkit::python
