// Host arrays for C++ callers: how to make the inputs of a call and how to read its outputs. The
// operations that a loaded library uses are declared in gateway/tx_array.h; this host defines them.
//
//   Owned name = make_text("reads.bam");
//   Owned index = make_scalar(3.0);
//   std::vector<Owned> outputs = call(get_reference_string, 1, {name.get(), index.get()});
//   std::cout << text_of(outputs[0].get());
//
// Ownership: a make function gives an owning handle; whatever is put into a cell or structure array
// becomes that array's; readers give pointers and spans that live as long as the array they were
// read from. A wrong use (other class, index past the end, null array) raises HostError; dimensions
// whose product no memory can hold raise std::length_error, lack of memory std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/export.h"
#include "core/ustring.h"
#include "gateway/tx_array.h"

namespace readkit::host {

using matrix::Owned;

/// Sizes along each dimension, two at least: a list of one is completed with a 1, an empty list
/// means 0-by-0. Trailing ones beyond the second are dropped.
using Dims = std::vector<std::size_t>;

/// A text, or nothing for the missing string.
using OptionalText = std::optional<UString>;

/// The class that stores values of type T; `bool` is logical, `char16_t` is char.
template <typename T>
constexpr txClassID class_id_of() {
  if constexpr (std::is_same_v<T, bool>) return txLOGICAL_CLASS;
  if constexpr (std::is_same_v<T, char16_t>) return txCHAR_CLASS;
  if constexpr (std::is_same_v<T, double>) return txDOUBLE_CLASS;
  if constexpr (std::is_same_v<T, float>) return txSINGLE_CLASS;
  if constexpr (std::is_same_v<T, std::int8_t>) return txINT8_CLASS;
  if constexpr (std::is_same_v<T, std::uint8_t>) return txUINT8_CLASS;
  if constexpr (std::is_same_v<T, std::int16_t>) return txINT16_CLASS;
  if constexpr (std::is_same_v<T, std::uint16_t>) return txUINT16_CLASS;
  if constexpr (std::is_same_v<T, std::int32_t>) return txINT32_CLASS;
  if constexpr (std::is_same_v<T, std::uint32_t>) return txUINT32_CLASS;
  if constexpr (std::is_same_v<T, std::int64_t>) return txINT64_CLASS;
  if constexpr (std::is_same_v<T, std::uint64_t>) return txUINT64_CLASS;
  return txUNKNOWN_CLASS;
}
/// Types whose values an array holds in its data block.
template <typename T>
concept Element = class_id_of<T>()
!= txUNKNOWN_CLASS;

// ---- Making text ---------------------------------------------------------------------------

/// A character row vector.
READKIT_EXPORT Owned make_text(std::string_view bytes);
READKIT_EXPORT Owned make_text(std::u16string_view units);
/// A string scalar; the missing string for nothing.
READKIT_EXPORT Owned make_string(OptionalText text);
/// A string array. REQUIRES: as many texts as `dims` has elements.
READKIT_EXPORT Owned make_string_array(const Dims& dims, std::vector<OptionalText> texts);

// ---- Making numbers ------------------------------------------------------------------------

/// An array of the class `class_id` (numeric, logical or char) with a copy of the values at
/// `values`. REQUIRES: `count` is the number of elements of `dims`. For callers that know the class
/// only at run time; `make_array` is the typed form.
READKIT_EXPORT Owned make_from_bytes(const Dims& dims, txClassID class_id, const void* values,
                                     std::size_t count);

/// An array with these values, column by column.
template <Element T>
Owned make_array(const Dims& dims, std::span<const T> values) {
  return make_from_bytes(dims, class_id_of<T>(), values.data(), values.size());
}
template <Element T>
Owned make_row(const std::vector<T>& values) {
  return make_array(Dims{1, values.size()}, std::span<const T>(values));
}
template <Element T>
Owned make_column(const std::vector<T>& values) {
  return make_array(Dims{values.size(), 1}, std::span<const T>(values));
}
template <Element T>
Owned make_scalar(T value) {
  return make_array(Dims{1, 1}, std::span<const T>(&value, 1));
}
/// A complex double array. REQUIRES: both lists are as long as `dims` has elements.
READKIT_EXPORT Owned make_complex(const Dims& dims, std::span<const double> real,
                                  std::span<const double> imaginary);

// ---- Making containers ---------------------------------------------------------------------

/// A cell array; a null handle is an empty cell. REQUIRES: as many cells as `dims` has elements.
READKIT_EXPORT Owned make_cell(const Dims& dims, std::vector<Owned> cells);
/// A cell column of character row vectors.
READKIT_EXPORT Owned make_cell_of_texts(const std::vector<std::string>& texts);
/// A structure array with these fields in every element, all of them empty (null).
READKIT_EXPORT Owned make_struct_array(const Dims& dims, std::vector<std::string> field_names);
/// A 1-by-1 structure.
READKIT_EXPORT Owned make_struct(std::vector<std::pair<std::string, Owned>> fields);
/// Replaces a field of an element; the structure array takes `value`.
READKIT_EXPORT void set_field(txArray* a, std::size_t index, std::string_view field_name,
                              Owned value);

// ---- Reading -------------------------------------------------------------------------------

/// "double", "uint8", "cell", ...; "unknown" for a number that is no class.
READKIT_EXPORT const char* class_name(txClassID class_id);
READKIT_EXPORT Dims dims_of(const txArray* a);
/// Raises HostError unless `a` is an array of this class.
READKIT_EXPORT void require_class(const txArray* a, txClassID class_id);

/// The elements, column by column; for complex arrays, their real parts.
template <Element T>
std::span<const T> data_of(const txArray* a) {
  require_class(a, class_id_of<T>());
  return {static_cast<const T*>(txGetData(a)), txGetNumberOfElements(a)};
}
/// The elements of a numeric, logical or char array of any class, converted to double.
READKIT_EXPORT std::vector<double> numbers_of(const txArray* a);
/// The imaginary parts of a complex double array; empty for a real array.
READKIT_EXPORT std::span<const double> imaginary_of(const txArray* a);

/// The text of a character array or string scalar in UTF-8 (see matrix::get_string).
READKIT_EXPORT std::string text_of(const txArray* a);
/// The texts of a cell array of character arrays, of a string array or of a character array, in
/// UTF-8; an empty cell counts as an empty text.
READKIT_EXPORT std::vector<std::string> texts_of(const txArray* a);
/// One element of a string array, in UTF-8; nothing for the missing string.
READKIT_EXPORT std::optional<std::string> string_of(const txArray* a, std::size_t index);

/// The content of a cell; null for an empty one.
READKIT_EXPORT const txArray* cell_of(const txArray* a, std::size_t index);
/// A field of an element of a structure array; null while it was never set. Raises HostError when
/// there is no such field.
READKIT_EXPORT const txArray* field_of(const txArray* a, std::string_view field_name,
                                       std::size_t index = 0);
/// The field names of a structure array, in their order.
READKIT_EXPORT std::vector<std::string> field_names_of(const txArray* a);

// ---- Counting ------------------------------------------------------------------------------

/// How many arrays exist now, those inside cells and structures included, and how many blocks of
/// host memory (txCalloc, txRealloc, and blocks of arrays). Both come back to what they were when
/// nothing leaks.
READKIT_EXPORT std::size_t live_arrays();
READKIT_EXPORT std::size_t live_blocks();

}  // namespace readkit::host
