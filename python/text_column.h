// A column of texts as one block of bytes and offsets into it: what a column of a million read
// names becomes instead of a million objects. Python objects are made of single texts, or of all,
// on demand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include "host/array.h"

namespace readkit::python {

/// The texts of a column, one behind the other. Row i is bytes [offsets[i], offsets[i + 1]), as the
/// file has them: usually UTF-8, but any bytes are possible.
struct Texts {
  std::string_view bytes;
  std::span<const std::int64_t> offsets;
  /// What both lie in.
  std::shared_ptr<const void> memory;
  /// One bit for each row, the lowest of a byte first: whether there is a text. Empty when all rows
  /// have one.
  std::vector<std::uint8_t> validity;
  std::size_t missing = 0;

  std::size_t rows() const { return offsets.size() - 1; }
  bool is_missing(std::size_t row) const {
    return !validity.empty() && (validity[row / 8] >> (row % 8) & 1U) == 0;
  }
  std::string_view row(std::size_t i) const;
};

/// The texts of a column of cells that hold character arrays or nothing, or of a column of strings;
/// an empty cell and the missing string are missing rows. Nothing for any other array. Needs no
/// GIL.
std::optional<Texts> texts_in(const txArray* array);

/// Adds the class TextColumn.
void add_text_column(pybind11::module_& module);
/// The column of these texts, as Python sees it.
pybind11::object make_text_column(Texts texts);
/// A column over the memory of two arrays, uint8 and int64, which it keeps: `offsets` as in Texts.
/// Raises TypeError for arrays of another form, ValueError for offsets that descend or lead out of
/// `bytes`.
pybind11::object text_column_over(const pybind11::array& bytes, const pybind11::array& offsets);
/// Keeps a Python object alive; to be let go of by any thread, with the GIL or without.
std::shared_ptr<const void> hold(pybind11::object object);
/// The texts of an object that is a TextColumn; null for any other.
std::shared_ptr<const Texts> texts_of_column(pybind11::handle object);

/// The str of bytes as a file has them; those that are not UTF-8 become surrogates, as in names of
/// files (PEP 383).
pybind11::object str_of_bytes(std::string_view bytes);

}  // namespace readkit::python
