// From the library's types to host arrays.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

#include "gateway/host_memory.h"
#include "gateway/tx_array.h"

namespace readkit {

/// The host class that stores values of type T.
template <typename T>
inline constexpr txClassID kClassOf = txUNKNOWN_CLASS;
template <>
inline constexpr txClassID kClassOf<std::uint8_t> = txUINT8_CLASS;
template <>
inline constexpr txClassID kClassOf<std::uint16_t> = txUINT16_CLASS;
template <>
inline constexpr txClassID kClassOf<std::int32_t> = txINT32_CLASS;
template <>
inline constexpr txClassID kClassOf<std::uint32_t> = txUINT32_CLASS;
template <>
inline constexpr txClassID kClassOf<std::int64_t> = txINT64_CLASS;
template <>
inline constexpr txClassID kClassOf<std::uint64_t> = txUINT64_CLASS;
template <>
inline constexpr txClassID kClassOf<double> = txDOUBLE_CLASS;

/// A column of zeros of the class of T, with `rows` rows.
template <typename T>
matrix::Owned make_column(std::size_t rows) {
  return matrix::Owned(txCreateNumericMatrix(rows, 1, kClassOf<T>, txREAL));
}
/// The elements of a column that `make_column<T>` made.
template <typename T>
T* column_data(const matrix::Owned& column) {
  return static_cast<T*>(txGetData(column.get()));
}
/// A column with these elements.
template <typename T>
matrix::Owned make_column(std::span<const T> values) {
  matrix::Owned column = make_column<T>(values.size());
  std::copy(values.begin(), values.end(), column_data<T>(column));
  return column;
}

/// A column that takes these over.
template <typename T>
matrix::Owned take_column(HostValues<T>& values) {
  const std::size_t rows = values.size();
  matrix::Owned column = make_column<T>(std::size_t{0});
  if (rows == 0) return column;
  HostBlock<T> block = values.release();
  txSetPr(column.get(), block.get());
  static_cast<void>(block.release());
  txSetM(column.get(), rows);
  return column;
}

/// A 1-by-1 structure with these fields, which are empty.
template <std::size_t kCount>
matrix::Owned make_structure(const std::array<const char*, kCount>& names) {
  return matrix::Owned(txCreateStructMatrix(1, 1, kCount, names.data()));
}
/// Stores `value` in a field of such a structure.
void set_field(const matrix::Owned& structure, const char* name, matrix::Owned value);

/// A column of `rows` empty cells.
matrix::Owned make_cells(std::size_t rows);
/// Stores `bytes` as a character row vector in row `row` of a cell column.
void set_text(const matrix::Owned& cells, std::size_t row, std::string_view bytes);

/// Stores a result in an output slot, which then owns it.
inline void set_output(txArray** slot, matrix::Owned result) {
  *slot = matrix::to_tessel(std::move(result));
}

}  // namespace readkit
