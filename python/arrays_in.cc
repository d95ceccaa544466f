#include "python/arrays_in.h"

#include <complex>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <pybind11/numpy.h>

#include "python/text_column.h"

namespace py = pybind11;

namespace readkit::python {
namespace {

using host::Dims;
using host::OptionalText;
using host::Owned;

// Objects that contain themselves end here instead of on the end of the stack.
class Nesting {
 public:
  Nesting() {
    if (Py_EnterRecursiveCall(" while converting an argument") != 0) throw py::error_already_set();
  }
  ~Nesting() { Py_LeaveRecursiveCall(); }
  Nesting(const Nesting&) = delete;
  Nesting& operator=(const Nesting&) = delete;
};

bool is_text(py::handle object) {
  return PyUnicode_Check(object.ptr()) || PyBytes_Check(object.ptr()) ||
         py::hasattr(object, "__fspath__");
}

std::u16string units_of(py::handle text) {
  const auto bytes = py::reinterpret_steal<py::object>(
      PyUnicode_AsEncodedString(text.ptr(), "utf-16-le", "surrogatepass"));
  if (!bytes) throw py::error_already_set();
  const std::string_view view(PyBytes_AS_STRING(bytes.ptr()),
                              static_cast<std::size_t>(PyBytes_GET_SIZE(bytes.ptr())));
  std::u16string units(view.size() / sizeof(char16_t), u'\0');
  if (!units.empty()) std::memcpy(units.data(), view.data(), view.size());
  return units;
}

// A surrogate that stands for a byte (PEP 383) is the same unit in the host's text.
Owned characters(py::handle object) {
  py::object text = py::reinterpret_borrow<py::object>(object);
  if (!PyUnicode_Check(text.ptr()) && !PyBytes_Check(text.ptr())) {
    text = py::reinterpret_steal<py::object>(PyOS_FSPath(object.ptr()));
    if (!text) throw py::error_already_set();
  }
  if (PyUnicode_Check(text.ptr())) {
    if (PyUnicode_IS_ASCII(text.ptr()) == 0) return host::make_text(units_of(text));
    return host::make_text(
        std::string_view(static_cast<const char*>(PyUnicode_DATA(text.ptr())),
                         static_cast<std::size_t>(PyUnicode_GET_LENGTH(text.ptr()))));
  }
  return host::make_text(std::string_view(PyBytes_AS_STRING(text.ptr()),
                                          static_cast<std::size_t>(PyBytes_GET_SIZE(text.ptr()))));
}

// The int as a double, when that is the same number.
double exact_double(py::handle number) {
  const double value = PyLong_AsDouble(number.ptr());
  if (value == -1.0 && PyErr_Occurred() != nullptr) PyErr_Clear();
  const auto back = py::reinterpret_steal<py::object>(PyLong_FromDouble(value));
  if (!back) PyErr_Clear();
  if (!back || !back.equal(number)) {
    throw py::value_error(
        "an int is handed over as a double, which cannot hold this one; use a NumPy integer");
  }
  return value;
}

Owned cells_of_texts(const py::sequence& texts) {
  std::vector<Owned> cells;
  cells.reserve(texts.size());
  for (const py::handle text : texts) cells.push_back(characters(text));
  const std::size_t rows = cells.size();
  return host::make_cell(Dims{rows, 1}, std::move(cells));
}

Owned strings(const py::sequence& sequence) {
  std::vector<OptionalText> texts;
  for (const py::handle text : sequence) {
    if (text.is_none()) {
      texts.emplace_back();
    } else {
      texts.emplace_back(matrix::get_ustring(characters(text).get()));
    }
  }
  const std::size_t rows = texts.size();
  return host::make_string_array(Dims{rows, 1}, std::move(texts));
}

Owned texts_of(const Texts& texts) {
  std::vector<Owned> cells;
  cells.reserve(texts.rows());
  for (std::size_t i = 0; i < texts.rows(); ++i) {
    cells.push_back(texts.is_missing(i) ? nullptr : host::make_text(texts.row(i)));
  }
  const std::size_t rows = cells.size();
  return host::make_cell(Dims{rows, 1}, std::move(cells));
}

Owned structure(const py::dict& dict) {
  std::vector<std::pair<std::string, Owned>> fields;
  for (const auto& [name, value] : dict) {
    if (!PyUnicode_Check(name.ptr())) throw py::type_error("the keys of a structure must be str");
    fields.emplace_back(py::cast<std::string>(name), to_host(value));
  }
  return host::make_struct(std::move(fields));
}

txClassID class_of(const py::dtype& dtype) {
  const auto size = dtype.itemsize();
  switch (dtype.kind()) {
    case 'b':
      return txLOGICAL_CLASS;
    case 'f':
      if (size == 4) return txSINGLE_CLASS;
      if (size == 8) return txDOUBLE_CLASS;
      break;
    case 'i':
      return size == 1   ? txINT8_CLASS
             : size == 2 ? txINT16_CLASS
             : size == 4 ? txINT32_CLASS
                         : txINT64_CLASS;
    case 'u':
      return size == 1   ? txUINT8_CLASS
             : size == 2 ? txUINT16_CLASS
             : size == 4 ? txUINT32_CLASS
                         : txUINT64_CLASS;
    default:
      break;
  }
  throw py::type_error("arrays of dtype " + py::cast<std::string>(py::str(py::object(dtype))) +
                       " have no class in the host");
}

Dims dims_of(const py::array& array) {
  Dims dims;
  for (py::ssize_t i = 0; i < array.ndim(); ++i) {
    dims.push_back(static_cast<std::size_t>(array.shape(i)));
  }
  if (dims.empty()) return {1, 1};
  if (dims.size() == 1) dims.push_back(1);
  return dims;
}

Owned complex_numbers(const py::array& array) {
  const py::array_t<std::complex<double>, py::array::f_style | py::array::forcecast> values(array);
  std::vector<double> real;
  std::vector<double> imaginary;
  for (py::ssize_t i = 0; i < values.size(); ++i) {
    real.push_back(values.data()[i].real());
    imaginary.push_back(values.data()[i].imag());
  }
  return host::make_complex(dims_of(array), real, imaginary);
}

Owned numbers(const py::array& given) {
  const char kind = given.dtype().kind();
  if (kind == 'c') return complex_numbers(given);
  if (kind == 'O' || kind == 'U' || kind == 'S') {
    if (given.ndim() != 1)
      throw py::type_error("arrays of objects and texts must have one dimension");
    return to_host(given.attr("tolist")());
  }
  const txClassID class_id = class_of(given.dtype());
  // In the machine's byte order and column by column.
  const py::object native = given.dtype().attr("newbyteorder")("=");
  const py::array array =
      py::module_::import("numpy").attr("asarray")(given, native, py::arg("order") = "F");
  return host::make_from_bytes(dims_of(array), class_id, array.data(),
                               static_cast<std::size_t>(array.size()));
}

bool is_number(py::handle object) {
  return PyBool_Check(object.ptr()) || PyLong_Check(object.ptr()) || PyFloat_Check(object.ptr());
}

Owned column(const py::sequence& sequence) {
  bool all_texts = true;
  bool any_missing = false;
  bool all_numbers = !sequence.empty();
  bool all_truths = all_numbers;
  for (const py::handle item : sequence) {
    any_missing |= item.is_none();
    all_texts &= item.is_none() || is_text(item);
    all_numbers &= is_number(item);
    all_truths &= PyBool_Check(item.ptr()) != 0;
  }
  if (all_texts) return any_missing ? strings(sequence) : cells_of_texts(sequence);
  if (all_numbers) {
    std::vector<double> values;
    for (const py::handle item : sequence) {
      values.push_back(PyFloat_Check(item.ptr()) ? PyFloat_AS_DOUBLE(item.ptr())
                                                 : exact_double(item));
    }
    if (!all_truths) return host::make_column(values);
    return numbers(py::array(py::module_::import("numpy").attr("asarray")(sequence)));
  }
  std::vector<Owned> cells;
  for (const py::handle item : sequence) cells.push_back(to_host(item));
  const std::size_t rows = cells.size();
  return host::make_cell(Dims{rows, 1}, std::move(cells));
}

}  // namespace

Owned to_host(py::handle object) {
  const Nesting nesting;
  PyObject* const o = object.ptr();
  if (object.is_none()) return host::make_from_bytes(Dims{0, 0}, txDOUBLE_CLASS, nullptr, 0);
  if (PyUnicode_Check(o) || PyBytes_Check(o)) return characters(object);
  if (PyBool_Check(o)) return host::make_scalar(o == Py_True);
  // NumPy's double is a float, too.
  if (PyFloat_Check(o)) return host::make_scalar(PyFloat_AS_DOUBLE(o));
  if (PyLong_Check(o)) return host::make_scalar(exact_double(object));
  if (py::isinstance<py::array>(object)) return numbers(py::reinterpret_borrow<py::array>(object));
  if (const auto texts = texts_of_column(object)) return texts_of(*texts);
  // A copy: a list may change while its items are converted.
  if (PyList_Check(o) || PyTuple_Check(o))
    return column(py::tuple(py::reinterpret_borrow<py::object>(object)));
  if (PyDict_Check(o)) return structure(object.attr("copy")());
  if (py::hasattr(object, "__fspath__")) return characters(object);
  if (py::hasattr(object, "__array__")) {
    return numbers(py::array(py::module_::import("numpy").attr("asarray")(object)));
  }
  throw py::type_error("an argument of type " + std::string(Py_TYPE(o)->tp_name) +
                       " is no array for the host");
}

}  // namespace readkit::python
