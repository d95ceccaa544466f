#include "python/text_column.h"

#include <algorithm>
#include <utility>

#include <pybind11/numpy.h>

#include "python/arrow.h"

namespace py = pybind11;

namespace readkit::python {
namespace {

// Adds rows to texts that become a column.
class TextsBuilder {
 public:
  explicit TextsBuilder(std::size_t rows) { own_->offsets.reserve(rows + 1); }

  // A character array. Nearly all texts of a file are ASCII, whose units are its bytes.
  void add_characters(const txArray* characters) {
    std::string& all = own_->bytes;
    const std::size_t start = all.size();
    const auto units = host::data_of<char16_t>(characters);
    all.resize(start + units.size());
    char* const bytes = all.data() + start;
    unsigned seen = 0;
    for (std::size_t i = 0; i < units.size(); ++i) {
      seen |= units[i];
      bytes[i] = static_cast<char>(units[i]);
    }
    if (seen >= 0x80) {
      all.resize(start);
      all += host::text_of(characters);
    }
    end_row();
  }

  void add_text(std::string_view text) {
    own_->bytes += text;
    end_row();
  }

  // The row of a column that has a text there, or none.
  void add_row(const Texts& from, std::size_t row) {
    if (from.is_missing(row)) {
      add_missing();
    } else {
      add_text(from.row(row));
    }
  }

  void add_missing() {
    const std::size_t row = own_->offsets.size() - 1;
    if (validity_.empty()) validity_.assign(row / 8 + 1, 0xFF);
    validity_.resize(row / 8 + 1, 0xFF);
    validity_[row / 8] &= static_cast<std::uint8_t>(~(1U << (row % 8)));
    ++missing_;
    end_row();
  }

  Texts finish() {
    own_->bytes.shrink_to_fit();
    const std::size_t rows = own_->offsets.size() - 1;
    if (missing_ != 0) validity_.resize((rows + 7) / 8, 0xFF);
    return {.bytes = own_->bytes,
            .offsets = own_->offsets,
            .memory = own_,
            .validity = std::move(validity_),
            .missing = missing_};
  }

 private:
  struct Own {
    std::string bytes;
    std::vector<std::int64_t> offsets{0};
  };

  void end_row() { own_->offsets.push_back(static_cast<std::int64_t>(own_->bytes.size())); }

  std::shared_ptr<Own> own_ = std::make_shared<Own>();
  std::vector<std::uint8_t> validity_;
  std::size_t missing_ = 0;
};

bool is_column(const txArray* array) {
  return txGetN(array) == 1 || txGetNumberOfElements(array) == 0;
}

std::optional<Texts> texts_in_cells(const txArray* cells) {
  const std::size_t rows = txGetNumberOfElements(cells);
  for (std::size_t i = 0; i < rows; ++i) {
    const txArray* const cell = host::cell_of(cells, i);
    if (cell != nullptr && txGetClassID(cell) != txCHAR_CLASS) return std::nullopt;
  }
  TextsBuilder builder(rows);
  for (std::size_t i = 0; i < rows; ++i) {
    const txArray* const cell = host::cell_of(cells, i);
    if (cell == nullptr) {
      builder.add_missing();
    } else {
      builder.add_characters(cell);
    }
  }
  return builder.finish();
}

Texts texts_in_strings(const txArray* strings) {
  const std::size_t rows = txGetNumberOfElements(strings);
  TextsBuilder builder(rows);
  for (std::size_t i = 0; i < rows; ++i) {
    if (const std::optional<std::string> text = host::string_of(strings, i)) {
      builder.add_text(*text);
    } else {
      builder.add_missing();
    }
  }
  return builder.finish();
}

using Rows = py::array_t<py::ssize_t, py::array::c_style>;
using Bytes = py::array_t<std::uint8_t, py::array::c_style>;
using Truths = py::array_t<bool, py::array::c_style>;

// The Python class. Slices share the texts.
class TextColumn {
 public:
  explicit TextColumn(std::shared_ptr<const Texts> texts)
      : texts_(std::move(texts)), end_(texts_->rows()) {}
  explicit TextColumn(Texts texts) : TextColumn(std::make_shared<const Texts>(std::move(texts))) {}

  std::size_t size() const { return end_ - begin_; }
  const std::shared_ptr<const Texts>& texts() const { return texts_; }

  py::object at(py::ssize_t index) const {
    const auto rows = static_cast<py::ssize_t>(size());
    if (index < -rows || index >= rows) throw py::index_error("no such row in the column");
    return object_of(begin_ + static_cast<std::size_t>(index < 0 ? index + rows : index));
  }

  py::object slice(const py::slice& wanted) const {
    py::ssize_t start = 0;
    py::ssize_t stop = 0;
    py::ssize_t step = 0;
    py::ssize_t length = 0;
    if (!wanted.compute(static_cast<py::ssize_t>(size()), &start, &stop, &step, &length)) {
      throw py::error_already_set();
    }
    if (step == 1) {
      TextColumn part(*this);
      part.begin_ = begin_ + static_cast<std::size_t>(start);
      part.end_ = part.begin_ + static_cast<std::size_t>(length);
      return py::cast(std::move(part));
    }
    Rows rows(length);
    for (py::ssize_t i = 0; i < length; ++i) rows.mutable_at(i) = start + i * step;
    return take(rows);
  }

  py::object take(const Rows& rows) const {
    if (rows.ndim() != 1) throw py::value_error("rows must have one dimension");
    TextsBuilder builder(static_cast<std::size_t>(rows.size()));
    const auto count = static_cast<py::ssize_t>(size());
    for (py::ssize_t i = 0; i < rows.size(); ++i) {
      const py::ssize_t row = rows.at(i);
      if (row < -count || row >= count) throw py::index_error("no such row in the column");
      const std::size_t place = begin_ + static_cast<std::size_t>(row < 0 ? row + count : row);
      builder.add_row(*texts_, place);
    }
    return py::cast(TextColumn(builder.finish()));
  }

  static TextColumn concatenate(const py::sequence& columns) {
    std::size_t rows = 0;
    for (const py::handle column : columns) rows += column.cast<const TextColumn&>().size();
    TextsBuilder builder(rows);
    for (const py::handle one : columns) {
      const auto& column = one.cast<const TextColumn&>();
      for (std::size_t i = column.begin_; i < column.end_; ++i) builder.add_row(*column.texts_, i);
    }
    return TextColumn(builder.finish());
  }

  // What a pickle holds: offsets, bytes, and which rows have a text (None: all of them). Arrays
  // over the column's own memory where it is not a slice.
  static py::tuple state(const py::object& self) {
    const auto& column = self.cast<const TextColumn&>();
    if (column.size() != column.texts_->rows()) {
      return state(py::cast(TextColumn(column.own_texts())));
    }
    py::object present = py::none();
    if (column.texts_->missing != 0) {
      Truths rows(static_cast<py::ssize_t>(column.size()));
      for (std::size_t i = 0; i < column.size(); ++i) {
        rows.mutable_at(static_cast<py::ssize_t>(i)) = !column.texts_->is_missing(i);
      }
      present = rows;
    }
    return py::make_tuple(offsets(self), data(self), present);
  }

  static TextColumn of_state(const py::tuple& state) {
    if (state.size() != 3) throw py::value_error("no state of a column of texts");
    const auto offsets = state[0].cast<Rows>();
    const auto data = state[1].cast<Bytes>();
    const bool is_complete = state[2].is_none();
    const auto present = is_complete ? Truths(std::max<py::ssize_t>(offsets.size() - 1, 0))
                                     : state[2].cast<Truths>();
    if (offsets.ndim() != 1 || offsets.size() == 0 || offsets.at(0) != 0 || data.ndim() != 1 ||
        offsets.at(offsets.size() - 1) != data.size() ||
        !std::is_sorted(offsets.data(), offsets.data() + offsets.size()) || present.ndim() != 1 ||
        present.size() != offsets.size() - 1) {
      throw py::value_error("no state of a column of texts");
    }
    TextsBuilder builder(static_cast<std::size_t>(offsets.size()) - 1);
    const std::string_view bytes(reinterpret_cast<const char*>(data.data()),
                                 static_cast<std::size_t>(data.size()));
    for (py::ssize_t row = 0; row + 1 < offsets.size(); ++row) {
      if (!is_complete && !present.at(row)) {
        builder.add_missing();
        continue;
      }
      const auto begin = static_cast<std::size_t>(offsets.at(row));
      builder.add_text(bytes.substr(begin, static_cast<std::size_t>(offsets.at(row + 1)) - begin));
    }
    return TextColumn(builder.finish());
  }

  py::list to_list() const {
    py::list list(size());
    for (std::size_t i = 0; i < size(); ++i) list[i] = object_of(begin_ + i);
    return list;
  }

  py::object to_numpy() const {
    py::array array(py::dtype("O"), std::vector<py::ssize_t>{static_cast<py::ssize_t>(size())});
    auto** const cells = static_cast<PyObject**>(array.mutable_data());
    for (std::size_t i = 0; i < size(); ++i) {
      py::object text = object_of(begin_ + i);
      Py_XDECREF(std::exchange(cells[i], text.release().ptr()));
    }
    return array;
  }

  // Views of the column's own memory, which they keep alive.
  static py::array offsets(const py::object& self) {
    const auto& column = self.cast<const TextColumn&>();
    return view(py::dtype::of<std::int64_t>(), column.size() + 1,
                column.texts_->offsets.data() + column.begin_, self);
  }
  static py::array data(const py::object& self) {
    const auto& column = self.cast<const TextColumn&>();
    return view(py::dtype::of<std::uint8_t>(), column.texts_->bytes.size(),
                column.texts_->bytes.data(), self);
  }

  std::string repr() const {
    constexpr std::size_t kShown = 4;
    std::string text = "<TextColumn of " + std::to_string(size());
    for (std::size_t i = 0; i < std::min(size(), kShown); ++i) {
      text += (i == 0 ? ": " : ", ") +
              py::cast<std::string>(
                  py::module_::import("builtins").attr("ascii")(object_of(begin_ + i)));
    }
    return text + (size() > kShown ? ", ...>" : ">");
  }

  std::size_t nbytes() const {
    const auto& offsets = texts_->offsets;
    return static_cast<std::size_t>(offsets[end_] - offsets[begin_]);
  }

  // Texts of these rows only: those of a slice are copied.
  std::shared_ptr<const Texts> own_texts() const {
    if (size() == texts_->rows()) return texts_;
    TextsBuilder builder(size());
    for (std::size_t i = begin_; i < end_; ++i) builder.add_row(*texts_, i);
    return std::make_shared<const Texts>(builder.finish());
  }

  py::capsule arrow_schema() const { return schema_of_texts(*texts_); }
  py::tuple arrow_array() const { return arrow_of_texts(texts_, begin_, size()); }

 private:
  py::object object_of(std::size_t row) const {
    if (texts_->is_missing(row)) return py::none();
    return str_of_bytes(texts_->row(row));
  }

  static py::array view(const py::dtype& dtype, std::size_t count, const void* memory,
                        const py::object& owner) {
    py::array array(dtype, {static_cast<py::ssize_t>(count)}, {dtype.itemsize()}, memory, owner);
    array.attr("setflags")(py::arg("write") = false);
    return array;
  }

  std::shared_ptr<const Texts> texts_;
  std::size_t begin_ = 0;
  std::size_t end_;
};

}  // namespace

std::string_view Texts::row(std::size_t i) const {
  return bytes.substr(static_cast<std::size_t>(offsets[i]),
                      static_cast<std::size_t>(offsets[i + 1] - offsets[i]));
}

std::optional<Texts> texts_in(const txArray* array) {
  if (array == nullptr || !is_column(array)) return std::nullopt;
  if (txGetClassID(array) == txCELL_CLASS) return texts_in_cells(array);
  if (txGetClassID(array) != txSTRING_CLASS || txGetNumberOfElements(array) == 1)
    return std::nullopt;
  return texts_in_strings(array);
}

py::object str_of_bytes(std::string_view bytes) {
  PyObject* const text =
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogateescape");
  if (text == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::object>(text);
}

std::shared_ptr<const void> hold(py::object object) {
  return {object.release().ptr(), [](PyObject* held) {
            const py::gil_scoped_acquire gil;
            Py_DECREF(held);
          }};
}

py::object text_column_over(const py::array& bytes, const py::array& offsets) {
  const auto is_plain = [](const py::array& array, const py::dtype& dtype) {
    return array.ndim() == 1 && array.dtype().equal(dtype) &&
           (array.shape(0) < 2 || array.strides(0) == array.itemsize());
  };
  if (!is_plain(bytes, py::dtype::of<std::uint8_t>()) ||
      !is_plain(offsets, py::dtype::of<std::int64_t>())) {
    throw py::type_error("a column of texts needs contiguous arrays of uint8 and of int64");
  }
  Texts texts;
  texts.bytes = {static_cast<const char*>(bytes.data()), static_cast<std::size_t>(bytes.size())};
  texts.offsets = {static_cast<const std::int64_t*>(offsets.data()),
                   static_cast<std::size_t>(offsets.size())};
  if (texts.offsets.empty() || texts.offsets.front() < 0 ||
      !std::ranges::is_sorted(texts.offsets) || texts.offsets.back() > bytes.size()) {
    throw py::value_error("the offsets of a column of texts must ascend within its bytes");
  }
  texts.memory = hold(py::make_tuple(bytes, offsets));
  return make_text_column(std::move(texts));
}

py::object make_text_column(Texts texts) { return py::cast(TextColumn(std::move(texts))); }

std::shared_ptr<const Texts> texts_of_column(py::handle object) {
  if (!py::isinstance<TextColumn>(object)) return nullptr;
  return object.cast<const TextColumn&>().own_texts();
}

void add_text_column(py::module_& module) {
  py::class_<TextColumn>(module, "TextColumn",
                         R"(A column of texts: one block of bytes and offsets into it.

A sequence of str (None where there is no text) that makes its str objects when they are asked for.
Bytes that are not UTF-8 become surrogates, as os.fsdecode does it.)")
      .def("__len__", &TextColumn::size)
      .def("__repr__", &TextColumn::repr)
      .def(
          "__array__",
          [](const TextColumn& column, const py::object& dtype) {
            const py::object array = column.to_numpy();
            return dtype.is_none() ? array : array.attr("astype")(dtype);
          },
          py::arg("dtype") = py::none())
      .def("__iter__",
           [](const py::object& self) {
             return py::reinterpret_steal<py::object>(PySeqIter_New(self.ptr()));
           })
      .def("__getitem__", &TextColumn::at, py::arg("index"))
      .def("__getitem__", &TextColumn::slice, py::arg("index"))
      .def(
          "take", &TextColumn::take, py::arg("rows"),
          "The column of these rows, 0-based; negative ones count from the end. Raises IndexError.")
      .def_static("concatenate", &TextColumn::concatenate, py::arg("columns"),
                  "The rows of several columns, one behind the other, as one column.")
      .def(py::pickle(&TextColumn::state, &TextColumn::of_state))
      .def("to_list", &TextColumn::to_list, "A list of str; None for a missing text.")
      .def("to_numpy", &TextColumn::to_numpy, "A one-dimensional array of dtype object.")
      .def_property_readonly(
          "offsets", &TextColumn::offsets,
          R"(int64, one more than rows: row i is data[offsets[i]:offsets[i + 1]]. Not a copy.)")
      .def_property_readonly(
          "data", &TextColumn::data,
          "uint8: the bytes of all rows, and of those around a slice. Not a copy.")
      .def_property_readonly("nbytes", &TextColumn::nbytes, "Bytes of all texts together.")
      .def("__arrow_c_schema__", &TextColumn::arrow_schema,
           "large_utf8; large_binary when some bytes are not UTF-8.")
      .def(
          "__arrow_c_array__",
          [](const TextColumn& column, const py::object&) { return column.arrow_array(); },
          py::arg("requested_schema") = py::none(),
          "Arrow's PyCapsule interface, without a copy: (schema, array).");
}

}  // namespace readkit::python
