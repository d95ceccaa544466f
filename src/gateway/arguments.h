// From host arrays to the library's types: what every gateway does before it works.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "core/path.h"
#include "core/ustring.h"
#include "gateway/tx_array.h"

namespace readkit {

/// The first step of every gateway. Raises InvalidArgCount with `name` unless `nrhs` lies in
/// [min_in, max_in], then TooManyOutputs when `nlhs` exceeds `max_out`.
void validate_argcount(UString name, int nrhs, int min_in, int max_in, int nlhs, int max_out);

/// A file name from a character array or a string scalar. Raises
/// MustBeStringScalarOrCharacterVector and MissingNotSupported.
Path path_argument(const txArray* a);
/// The name of an index file: ".bai" is appended unless the name ends with it. A name shorter than
/// four characters raises std::out_of_range("basic_string").
Path index_path_argument(const txArray* a);
/// Text as bytes. Raises as `path_argument`.
std::string text_argument(const txArray* a);

/// The first element of a numeric or logical array; NaN counts as 0. Raises InvalidInputType with
/// `option` and "double" for an empty or any other array.
double scalar_argument(const txArray* a, const char* option);
/// The same, truncated toward zero and saturated to 32 or 64 bits; 64-bit integers as they are.
std::int64_t int64_argument(const txArray* a, const char* option);
std::int32_t int32_argument(const txArray* a, const char* option);
/// `number` truncated toward zero and saturated to 32 bits; NaN is 0.
std::int32_t to_int32(double number);

/// The data of `a` read as 32-bit unsigned integers, as many as `a` has elements; the class is not
/// checked, but for one that stores fewer bytes: it raises InvalidInputType with `option` and
/// "uint32". Valid while `a` lives.
std::span<const std::uint32_t> uint32_list_argument(const txArray* a, const char* option);

/// The first `count` elements of a numeric or logical array, as `int64_argument` takes one. Raises
/// InvalidInputType with `option` and "int64" for any other array. REQUIRES: `a` has as many.
std::vector<std::int64_t> int64_list_argument(const txArray* a, std::size_t count,
                                              const char* option);

}  // namespace readkit
