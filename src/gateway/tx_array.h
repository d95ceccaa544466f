// The host's arrays, declared: every operation that the library needs of the numeric host which
// loads it, and what each must do. The library defines none of them; the host does (host/ is one
// such host), and the dynamic linker brings the two together when the library is loaded.
//
// Ownership. Arrays made here belong to the library until it stores them in an output slot, in a
// cell (`txSetCell`) or a field (`txSetField`), or destroys them (`matrix::destroyArray`);
// `matrix::Owned` does the last by itself. Input arrays are the host's and read-only. Linear
// indexes are 0-based and column-major.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/export.h"
#include "core/ustring.h"

/// An opaque host array.
struct txArray;

/// The host's class identifiers, in the host's numbering.
enum txClassID : int {
  txUNKNOWN_CLASS = 0,
  txCELL_CLASS = 1,
  txSTRUCT_CLASS = 2,
  txLOGICAL_CLASS = 3,
  txCHAR_CLASS = 4,
  txDOUBLE_CLASS = 6,
  txSINGLE_CLASS = 7,
  txINT8_CLASS = 8,
  txUINT8_CLASS = 9,
  txINT16_CLASS = 10,
  txUINT16_CLASS = 11,
  txINT32_CLASS = 12,
  txUINT32_CLASS = 13,
  txINT64_CLASS = 14,
  txUINT64_CLASS = 15,
  txSTRING_CLASS = 19,
};

/// Whether a numeric array has imaginary parts; the library asks for real ones only.
enum txComplexity : int { txREAL = 0, txCOMPLEX = 1 };

/// The form of every gateway function: `nlhs` outputs are asked for, `plhs` are the slots to fill
/// (at least 16, null at entry), `prhs` the `nrhs` inputs.
using txGateway = void (*)(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[]);

extern "C" {

// ---- Looking at an array ---------------------------------------------------------------------

/// The class of `a`.
READKIT_EXPORT txClassID txGetClassID(const txArray* a);
/// The number of rows of `a`: its first dimension.
READKIT_EXPORT std::size_t txGetM(const txArray* a);
/// The number of columns of `a`: the product of its other dimensions.
READKIT_EXPORT std::size_t txGetN(const txArray* a);
/// The product of all dimensions of `a`.
READKIT_EXPORT std::size_t txGetNumberOfElements(const txArray* a);
/// The bytes of one element of a numeric, logical or char array; 0 for cell, struct and string.
READKIT_EXPORT std::size_t txGetElementSize(const txArray* a);
/// The data block of a numeric, logical (one byte an element) or char (16-bit units) array, column
/// by column; null for other classes and, possibly, for an empty array. Valid while `a` lives.
READKIT_EXPORT void* txGetData(const txArray* a);
/// True when `a` is real and dense: the test for a plain array of numbers or truth values.
READKIT_EXPORT bool txIsRealDense(const txArray* a);
/// The first element of a numeric or logical array as a double. REQUIRES: `a` has an element.
READKIT_EXPORT double txGetScalar(const txArray* a);
/// The element at linear `index` of a cell array, owned by it; null for an empty cell, for an index
/// past the end and when `a` is not a cell array.
READKIT_EXPORT txArray* txGetCell(const txArray* a, std::size_t index);
/// The field `field_name` of element `index` of a structure array, owned by it; null when there is
/// no such field or element, or when `a` is not a structure array.
READKIT_EXPORT txArray* txGetField(const txArray* a, std::size_t index, const char* field_name);

// ---- Making an array ---------------------------------------------------------------------------

/// A 1-by-n character row vector of NUL-terminated bytes. A null pointer gives an empty one.
READKIT_EXPORT txArray* txCreateString(const char* text);
/// An m-by-n cell array of empty cells.
READKIT_EXPORT txArray* txCreateCellMatrix(std::size_t m, std::size_t n);
/// An m-by-n double matrix of zeros.
READKIT_EXPORT txArray* txCreateDoubleMatrix(std::size_t m, std::size_t n, txComplexity real);
/// A 1-by-1 double.
READKIT_EXPORT txArray* txCreateDoubleScalar(double x);
/// A 1-by-1 logical.
READKIT_EXPORT txArray* txCreateLogicalScalar(bool b);
/// An m-by-n matrix of zeros of a numeric class.
READKIT_EXPORT txArray* txCreateNumericMatrix(std::size_t m, std::size_t n, txClassID class_id,
                                              txComplexity real);
/// An m-by-n structure array with the `count` fields of these names in every element, all of them
/// empty.
READKIT_EXPORT txArray* txCreateStructMatrix(std::size_t m, std::size_t n, std::size_t count,
                                             const char* const field_names[]);

// ---- Changing an array -------------------------------------------------------------------------

/// Stores `value` at linear `index` of `cell`, which takes ownership of it (and destroys what was
/// there). REQUIRES: `cell` is a cell array and `index` lies within it; a host that finds otherwise
/// raises an error and leaves `value` with the caller.
READKIT_EXPORT void txSetCell(txArray* cell, std::size_t index, txArray* value);
/// Stores `value` in the field `field_name` of element `index` of the structure array `a`, which
/// takes ownership of it (and destroys what was there). REQUIRES: there are such an element and
/// such a field; a host that finds otherwise raises an error and leaves `value` with the caller.
READKIT_EXPORT void txSetField(txArray* a, std::size_t index, const char* field_name,
                               txArray* value);
/// Change the row and the column count in place, without touching the data block. REQUIRES: the
/// data block is large enough for the new shape.
READKIT_EXPORT void txSetM(txArray* a, std::size_t m);
READKIT_EXPORT void txSetN(txArray* a, std::size_t n);
/// Gives the numeric array `a` the data block `data`, which must come from `txCalloc` or
/// `txRealloc`, covers the array's present shape, and becomes the array's; the old block is freed.
READKIT_EXPORT void txSetPr(txArray* a, void* data);

// ---- Host memory -------------------------------------------------------------------------------

/// Memory for data blocks: `txCalloc` zero-fills count * size bytes; a failure raises
/// `std::bad_alloc`. `txFree` accepts null.
READKIT_EXPORT void* txCalloc(std::size_t count, std::size_t size);
READKIT_EXPORT void* txRealloc(void* p, std::size_t size);
READKIT_EXPORT void txFree(void* p);

}  // extern "C"

/// Raises a host error with an identifier and a text; does not return.
[[noreturn]] READKIT_EXPORT void gwErrMsgIdAndTxt(const char* id, const char* text);

/// Host text: bytes become UTF-16 as `readkit::to_ustring` does it, and come back as
/// `readkit::to_bytes` does it, so that every byte survives the round trip.
namespace matrix {

/// Destroys an array that the library still owns, with everything inside it. Accepts null.
READKIT_EXPORT void destroyArray(txArray* a);

struct Destroyer {
  void operator()(txArray* a) const { destroyArray(a); }
};
/// An array that the library owns.
using Owned = std::unique_ptr<txArray, Destroyer>;

/// Releases an owning handle into a plain array that can be stored in an output slot.
inline txArray* to_tessel(Owned handle) { return handle.release(); }

/// A character row vector of `length` bytes.
READKIT_EXPORT txArray* create(const char* bytes, std::size_t length);
/// Arrays of any dimensions: empty cells; zeros; numbers that are not initialised.
READKIT_EXPORT Owned create_cell(const std::vector<std::size_t>& dims);
READKIT_EXPORT Owned create_numeric(const std::vector<std::size_t>& dims, txClassID class_id,
                                    txComplexity real);
READKIT_EXPORT Owned create_uninitialized_numeric(const std::vector<std::size_t>& dims,
                                                  txClassID class_id, txComplexity real);

/// The text of a character array (all of it, column by column) or of a string scalar, as bytes or
/// as UTF-16. Raises "Tessel:string:MustBeStringScalarOrCharacterVector" for anything else, and
/// "Tessel:string:MissingNotSupported" for the missing string.
READKIT_EXPORT std::string get_string(const txArray* a);
READKIT_EXPORT readkit::UString get_ustring(const txArray* a);
/// The texts of a string array or a cell array of character arrays, in element order; one text for
/// a character array. Raises as `get_ustring` for anything else.
READKIT_EXPORT std::vector<readkit::UString> get_string_array(const txArray* a);

/// Whether `a` is a host string array.
READKIT_EXPORT bool isString(const txArray* a);
/// The element at linear `index` of a string array; nothing for the missing string.
/// REQUIRES: `isString(a)` and `index` lies within it.
READKIT_EXPORT std::optional<readkit::UString> getString(const txArray* a, std::size_t index);

}  // namespace matrix
