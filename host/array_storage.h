// What a host array is made of. Only the array files of host/ include this.
//
// Invariants of an array:
//   rows * columns does not overflow and is the number of elements; columns is the product of all
//   dimensions but the first.
//   `data` points past the Block that precedes it, which has room for all elements (or is null,
//   when the class keeps no data block or there is nothing to keep). Cells and structures keep
//   pointers to their contents there, one or one per field for each element; every pointer within
//   the block's room is owned, also those past the elements after the array was made smaller. The
//   block of a small array lies in the same memory as the array, that of a larger one by itself.
//   `owner` is set exactly while the array lies in a cell or structure array.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "gateway/tx_array.h"
#include "host/array.h"

namespace readkit::host {

/// Who frees a block: whoever has the pointer, the array it is attached to, or nobody, because it
/// is a part of the array's own memory.
enum class BlockUse : std::uint8_t { kLoose, kAttached, kInside };

/// Precedes every block of host memory. Aligned so that the memory after it suits any type.
struct alignas(16) Block {
  std::size_t bytes;
  BlockUse use;
};

/// What only some arrays have.
struct ArrayExtra {
  Dims dims;                             ///< All dimensions, for more than two; else empty.
  std::vector<std::string> field_names;  ///< Of a structure array.
  std::vector<OptionalText> texts;       ///< The elements of a string array.
  std::vector<double> imaginary;         ///< The imaginary parts of a complex array.
  bool complex = false;
};

}  // namespace readkit::host

struct alignas(16) txArray {
  txClassID class_id = txUNKNOWN_CLASS;
  std::size_t rows = 0;
  std::size_t columns = 0;
  void* data = nullptr;
  /// The container that the array lies in; while arrays are being destroyed, the next one to go.
  txArray* owner = nullptr;
  std::unique_ptr<readkit::host::ArrayExtra> extra;
};

namespace readkit::host {

enum class Contents { kZeros, kUninitialized };

/// Bytes of an element in the data block; for cells the pointer, for structures and strings 0.
std::size_t stored_size(txClassID class_id);
bool is_numeric(txClassID class_id);

/// The product; raises std::length_error when it does not fit.
std::size_t checked_product(std::size_t a, std::size_t b);

/// An array with a data block of rows * columns * `slot_bytes` bytes. Raises std::length_error and
/// std::bad_alloc.
Owned new_array(txClassID class_id, std::size_t rows, std::size_t columns, std::size_t slot_bytes,
                Contents contents);
/// The same with any dimensions, as gateway callers give them (see Dims).
Owned new_array(txClassID class_id, Dims dims, std::size_t slot_bytes, Contents contents);
/// The extra part, made when it is missing.
ArrayExtra& extra_of(txArray& a);

/// A character row of `units` units that are not initialised.
Owned new_text(std::size_t units);
inline char16_t* units_of(const txArray& a) { return static_cast<char16_t*>(a.data); }

/// The owned pointers of a cell or structure array: all that the block has room for.
std::span<txArray*> contents_of(const txArray& a);
/// The place of a field of an element of a structure array; null when there is no such field.
/// REQUIRES: `a` is a structure array and has the element.
txArray** find_field(const txArray& a, std::size_t index, std::string_view field_name);
/// Stores `value`, which may be null, in `slot` of the container `a`, destroying what was there.
/// Raises HostError, leaving `value` alone, when it lies in a container already or contains `a`.
void store(txArray& a, txArray*& slot, txArray* value, const char* operation);
/// The same in a field of the element `index` of the structure array `a`. Raises HostError also
/// when there is no such element or field.
void store_field(txArray& a, std::size_t index, std::string_view field_name, txArray* value,
                 const char* operation);

inline Block* block_of(void* data) { return static_cast<Block*>(data) - 1; }
/// A block of host memory for an array to own: `kAttached`. Raises std::bad_alloc.
void* new_block(std::size_t bytes, BlockUse use, Contents contents);
/// Frees a block that is not kInside. Accepts null.
void free_block(void* data) noexcept;
void count_made() noexcept;
void count_destroyed(std::size_t arrays) noexcept;

/// Raises HostError with the arguments that the catalog's text of the identifier wants.
[[noreturn]] void raise_null_array(const char* operation);
[[noreturn]] void raise_wrong_class(const char* operation, const char* wanted, const txArray* a);
[[noreturn]] void raise_out_of_range(const char* operation, std::size_t index, std::size_t count);

/// `*a` when it is not null and of the class. Raises HostError otherwise.
const txArray& checked(const txArray* a, txClassID class_id, const char* operation);
txArray& checked(txArray* a, txClassID class_id, const char* operation);
/// Raises HostError unless `count` is the number of elements of `a`.
void check_count(const txArray& a, std::size_t count, const char* operation);
/// Raises HostError unless `a` has an element `index`.
void check_index(const txArray& a, std::size_t index, const char* operation);

}  // namespace readkit::host
