#include "python/arrays_out.h"

#include <complex>
#include <memory>
#include <utility>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include "python/text_column.h"

namespace py = pybind11;

namespace readkit::python {
namespace {

// An output with all that lies in it: whatever shows some of its memory keeps it.
using Root = std::shared_ptr<const txArray>;

py::object object_of(const Root& root, const txArray* array);

py::dtype dtype_of(txClassID class_id) {
  switch (class_id) {
    case txLOGICAL_CLASS:
      return py::dtype::of<bool>();
    case txSINGLE_CLASS:
      return py::dtype::of<float>();
    case txINT8_CLASS:
      return py::dtype::of<std::int8_t>();
    case txUINT8_CLASS:
      return py::dtype::of<std::uint8_t>();
    case txINT16_CLASS:
      return py::dtype::of<std::int16_t>();
    case txUINT16_CLASS:
      return py::dtype::of<std::uint16_t>();
    case txINT32_CLASS:
      return py::dtype::of<std::int32_t>();
    case txUINT32_CLASS:
      return py::dtype::of<std::uint32_t>();
    case txINT64_CLASS:
      return py::dtype::of<std::int64_t>();
    case txUINT64_CLASS:
      return py::dtype::of<std::uint64_t>();
    default:
      return py::dtype::of<double>();
  }
}

// Dimensions as NumPy counts them: columns have one.
std::vector<py::ssize_t> shape_of(const txArray* array) {
  std::vector<py::ssize_t> shape;
  for (const std::size_t size : host::dims_of(array)) {
    shape.push_back(static_cast<py::ssize_t>(size));
  }
  if (shape.size() == 2 && shape[1] == 1) shape.pop_back();
  return shape;
}

py::array numbers(const Root& root, const txArray* array) {
  const py::dtype dtype = dtype_of(txGetClassID(array));
  std::vector<py::ssize_t> shape = shape_of(array);
  std::vector<py::ssize_t> strides;
  py::ssize_t stride = dtype.itemsize();
  for (const py::ssize_t size : shape) {
    strides.push_back(stride);
    stride *= size;
  }
  const py::capsule owner(std::make_unique<Root>(root).release(),
                          [](void* held) { delete static_cast<Root*>(held); });
  return py::array(dtype, std::move(shape), std::move(strides), txGetData(array), owner);
}

// The host keeps the parts apart, NumPy side by side: a copy.
py::object complex_numbers(const txArray* array) {
  const auto real = host::data_of<double>(array);
  const auto imaginary = host::imaginary_of(array);
  py::array_t<std::complex<double>> numbers(static_cast<py::ssize_t>(real.size()));
  for (std::size_t i = 0; i < real.size(); ++i) {
    numbers.mutable_data()[i] = {real[i], imaginary[i]};
  }
  return numbers.attr("reshape")(shape_of(array), py::arg("order") = "F");
}

py::object cells(const Root& root, const txArray* array) {
  if (auto texts = texts_in(array)) return make_text_column(std::move(*texts));
  py::list list;
  for (std::size_t i = 0; i < txGetNumberOfElements(array); ++i) {
    list.append(object_of(root, host::cell_of(array, i)));
  }
  return list;
}

py::object strings(const txArray* array) {
  if (txGetNumberOfElements(array) == 1) {
    const auto text = host::string_of(array, 0);
    return text ? str_of_bytes(*text) : py::none();
  }
  if (auto texts = texts_in(array)) return make_text_column(std::move(*texts));
  py::list list;
  for (std::size_t i = 0; i < txGetNumberOfElements(array); ++i) {
    const auto text = host::string_of(array, i);
    list.append(text ? str_of_bytes(*text) : py::none());
  }
  return list;
}

py::object structures(const Root& root, const txArray* array) {
  const std::vector<std::string> names = host::field_names_of(array);
  py::list elements;
  for (std::size_t i = 0; i < txGetNumberOfElements(array); ++i) {
    py::dict element;
    for (const std::string& name : names) {
      element[py::str(name)] = object_of(root, host::field_of(array, name, i));
    }
    elements.append(std::move(element));
  }
  if (elements.size() == 1) return elements[0];
  return elements;
}

py::object object_of(const Root& root, const txArray* array) {
  if (array == nullptr) return py::none();
  switch (txGetClassID(array)) {
    case txCHAR_CLASS:
      return str_of_bytes(host::text_of(array));
    case txSTRING_CLASS:
      return strings(array);
    case txCELL_CLASS:
      return cells(root, array);
    case txSTRUCT_CLASS:
      return structures(root, array);
    case txLOGICAL_CLASS:
      if (txGetNumberOfElements(array) == 1) return py::bool_(txGetScalar(array) != 0);
      break;
    case txDOUBLE_CLASS:
      if (!host::imaginary_of(array).empty()) return complex_numbers(array);
      break;
    default:
      break;
  }
  return numbers(root, array);
}

}  // namespace

py::object to_python(host::Owned array) {
  const Root root(std::move(array));
  return object_of(root, root.get());
}

}  // namespace readkit::python
