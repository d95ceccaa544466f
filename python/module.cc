// The extension module readkit._readkit: libraries, their calls, and columns of texts. Everything
// that has to do with files and their rules is in Python, in the folder readkit/.
#include <string>
#include <vector>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "host/array.h"
#include "host/loader.h"
#include "python/arrow.h"
#include "python/calls.h"
#include "python/errors.h"
#include "python/quality_page.h"
#include "python/text_column.h"

namespace py = pybind11;

PYBIND11_MODULE(_readkit, module) {
  using readkit::host::Library;
  module.doc() = "Host arrays and calls of gateway functions; see the package readkit.";
  readkit::python::translate_errors();
  readkit::python::add_text_column(module);
  py::class_<Library>(module, "Library", "A loaded library of gateway functions.")
      .def(py::init<const std::string&>(), py::arg("path"),
           py::call_guard<py::gil_scoped_release>())
      .def_property_readonly("path", &Library::path)
      .def("function_names", &Library::function_names,
           "The registered names with their namespaces, in the order of registration.")
      .def("has", &Library::has, py::arg("name"), "Whether there is a function of this name.")
      .def("call", &readkit::python::call, py::arg("name"), py::arg("arguments"),
           py::arg("nargout") = 1, py::arg("progress") = py::none(),
           "The outputs as a tuple, one at least.");
  module.attr("__version__") = READKIT_VERSION;
  module.def("flavour_path", &readkit::host::flavour_path, py::arg("flavour"),
             "The library that came with the package: 'exact' or 'fast'.");
  module.def(
      "text_column", &readkit::python::text_column_over, py::arg("bytes"), py::arg("offsets"),
      "The texts bytes[offsets[i]:offsets[i + 1]] of two arrays, uint8 and int64, not copied.");
  module.def("arrow_of_table", &readkit::python::arrow_of_table, py::arg("names"),
             py::arg("columns"), py::arg("rows"),
             "Columns as one struct array of Arrow: the capsules (schema, array).");
  module.def("quality_page", &readkit::python::quality_page, py::arg("page"), py::arg("settings"),
             py::arg("samples"), "The page of reports with the numbers of these samples in it.");
  module.def("live_arrays", &readkit::host::live_arrays, "How many host arrays exist now.");
  module.def("live_blocks", &readkit::host::live_blocks,
             "How many blocks of host memory exist now.");
}
