// The making and the destruction of arrays of every kind, and their dimensions.
#include "host/array.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/array_pool.h"
#include "host/array_storage.h"
#include "host/error.h"

namespace readkit::host {
namespace {

constexpr std::size_t kHeaders = sizeof(txArray) + sizeof(Block);

// Up to this size the data block lies in the array's own memory.
constexpr std::size_t kMaxInsideBytes = kMaxPooledBytes - kHeaders;

static_assert(alignof(txArray) == alignof(Block), "a block follows the array without a gap");
static_assert(alignof(Block) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__, "the pool aligns blocks");

// The one place that allocates an array; destroy() is the one that frees it.
txArray* allocate_with_block(std::size_t bytes, Contents contents) {
  txArray* const a = new (take_from_pool(kHeaders + bytes)) txArray;
  a->data = new (static_cast<void*>(a + 1)) Block{bytes, BlockUse::kInside} + 1;
  if (contents == Contents::kZeros) std::memset(a->data, 0, bytes);
  count_made();
  return a;
}

void free_array(txArray* a) noexcept {
  if (a->data != nullptr && block_of(a->data)->use != BlockUse::kInside) free_block(a->data);
  a->~txArray();
  return_to_pool(a);
}

// Destroys `a` and all it contains, without recursion: cells may be nested at any depth. Arrays
// with contents of their own, which wait for their turn, are chained through `owner`.
void destroy(txArray* a) noexcept {
  a->owner = nullptr;
  std::size_t destroyed = 0;
  txArray* next = a;
  while (next != nullptr) {
    txArray* const current = next;
    next = current->owner;
    for (txArray* content : contents_of(*current)) {
      if (content == nullptr) continue;
      if (contents_of(*content).empty()) {
        free_array(content);
        ++destroyed;
        continue;
      }
      content->owner = next;
      next = content;
    }
    free_array(current);
    ++destroyed;
  }
  count_destroyed(destroyed);
}

// At least two dimensions, no trailing ones beyond the second.
void normalize(Dims& dims) {
  if (dims.empty()) dims = {0, 0};
  while (dims.size() > 2 && dims.back() == 1) dims.pop_back();
  if (dims.size() == 1) dims.push_back(1);
}

}  // namespace

std::size_t stored_size(txClassID class_id) {
  switch (class_id) {
    case txCELL_CLASS:
      return sizeof(txArray*);
    case txLOGICAL_CLASS:
    case txINT8_CLASS:
    case txUINT8_CLASS:
      return 1;
    case txCHAR_CLASS:
    case txINT16_CLASS:
    case txUINT16_CLASS:
      return 2;
    case txSINGLE_CLASS:
    case txINT32_CLASS:
    case txUINT32_CLASS:
      return 4;
    case txDOUBLE_CLASS:
    case txINT64_CLASS:
    case txUINT64_CLASS:
      return 8;
    case txSTRUCT_CLASS:
    case txSTRING_CLASS:
    case txUNKNOWN_CLASS:
      break;
  }
  return 0;
}

bool is_numeric(txClassID class_id) {
  return class_id >= txDOUBLE_CLASS && class_id <= txUINT64_CLASS;
}

std::size_t checked_product(std::size_t a, std::size_t b) {
  std::size_t product = 0;
  if (__builtin_mul_overflow(a, b, &product)) {
    throw std::length_error("the dimensions of an array are too large");
  }
  return product;
}

Owned new_array(txClassID class_id, std::size_t rows, std::size_t columns, std::size_t slot_bytes,
                Contents contents) {
  const std::size_t bytes = checked_product(checked_product(rows, columns), slot_bytes);
  const bool inside = bytes <= kMaxInsideBytes;
  Owned a(allocate_with_block(inside ? bytes : 0, contents));
  a->class_id = class_id;
  a->rows = rows;
  a->columns = columns;
  if (!inside) a->data = new_block(bytes, BlockUse::kAttached, contents);
  return a;
}

Owned new_array(txClassID class_id, Dims dims, std::size_t slot_bytes, Contents contents) {
  normalize(dims);
  std::size_t columns = 1;
  for (std::size_t i = 1; i < dims.size(); ++i) columns = checked_product(columns, dims[i]);
  Owned a = new_array(class_id, dims[0], columns, slot_bytes, contents);
  if (dims.size() > 2) extra_of(*a).dims = std::move(dims);
  return a;
}

ArrayExtra& extra_of(txArray& a) {
  if (!a.extra) a.extra = std::make_unique<ArrayExtra>();
  return *a.extra;
}

std::span<txArray*> contents_of(const txArray& a) {
  if (a.class_id != txCELL_CLASS && a.class_id != txSTRUCT_CLASS) return {};
  return {static_cast<txArray**>(a.data), block_of(a.data)->bytes / sizeof(txArray*)};
}

txArray** find_field(const txArray& a, std::size_t index, std::string_view field_name) {
  const std::vector<std::string>& names = a.extra->field_names;
  const auto found = std::find(names.begin(), names.end(), field_name);
  if (found == names.end()) return nullptr;
  const auto field = static_cast<std::size_t>(found - names.begin());
  return &contents_of(a)[index * names.size() + field];
}

void store(txArray& a, txArray*& slot, txArray* value, const char* operation) {
  if (value == slot) return;
  bool in_use = value != nullptr && value->owner != nullptr;
  for (const txArray* outer = &a; outer != nullptr; outer = outer->owner) in_use |= outer == value;
  if (in_use) throw HostError(id::kArrayInUse, {std::string(operation)});
  if (slot != nullptr) destroy(slot);
  slot = value;
  if (value != nullptr) value->owner = &a;
}

void store_field(txArray& a, std::size_t index, std::string_view field_name, txArray* value,
                 const char* operation) {
  check_index(a, index, operation);
  txArray** const slot = find_field(a, index, field_name);
  if (slot == nullptr) throw HostError(id::kNoSuchField, {std::string(field_name)});
  store(a, *slot, value, operation);
}

const char* class_name(txClassID class_id) {
  static constexpr std::array<const char*, 20> kNames = {
      "unknown", "cell",   "struct",  "logical", "char",    "unknown", "double",
      "single",  "int8",   "uint8",   "int16",   "uint16",  "int32",   "uint32",
      "int64",   "uint64", "unknown", "unknown", "unknown", "string"};
  const auto index = static_cast<std::size_t>(class_id);
  return index < kNames.size() ? kNames[index] : kNames[0];
}

void raise_null_array(const char* operation) {
  throw HostError(id::kNullArray, {std::string(operation)});
}

void raise_wrong_class(const char* operation, const char* wanted, const txArray* a) {
  throw HostError(id::kWrongClass, {std::string(operation), std::string(wanted),
                                    std::string(class_name(txGetClassID(a)))});
}

void raise_out_of_range(const char* operation, std::size_t index, std::size_t count) {
  throw HostError(id::kIndexOutOfRange,
                  {std::string(operation), std::to_string(index), std::to_string(count)});
}

const txArray& checked(const txArray* a, txClassID class_id, const char* operation) {
  if (a == nullptr) raise_null_array(operation);
  if (a->class_id != class_id) raise_wrong_class(operation, class_name(class_id), a);
  return *a;
}

txArray& checked(txArray* a, txClassID class_id, const char* operation) {
  checked(static_cast<const txArray*>(a), class_id, operation);
  return *a;
}

void check_count(const txArray& a, std::size_t count, const char* operation) {
  const std::size_t wanted = txGetNumberOfElements(&a);
  if (count != wanted) {
    throw HostError(id::kWrongElementCount,
                    {std::string(operation), std::to_string(wanted), std::to_string(count)});
  }
}

void check_index(const txArray& a, std::size_t index, const char* operation) {
  const std::size_t count = txGetNumberOfElements(&a);
  if (index >= count) raise_out_of_range(operation, index, count);
}

}  // namespace readkit::host

namespace matrix {

void destroyArray(txArray* a) {
  // An array inside a container goes with the container.
  if (a != nullptr && a->owner == nullptr) readkit::host::destroy(a);
}

Owned create_cell(const std::vector<std::size_t>& dims) {
  return readkit::host::new_array(txCELL_CLASS, dims, sizeof(txArray*),
                                  readkit::host::Contents::kZeros);
}

namespace {

Owned create_numbers(const std::vector<std::size_t>& dims, txClassID class_id,
                     txComplexity complexity, readkit::host::Contents contents) {
  if (!readkit::host::is_numeric(class_id) && class_id != txLOGICAL_CLASS) {
    throw readkit::host::HostError(readkit::host::id::kWrongClass,
                                   {std::string("create_numeric"), std::string("numeric"),
                                    std::string(readkit::host::class_name(class_id))});
  }
  Owned a =
      readkit::host::new_array(class_id, dims, readkit::host::stored_size(class_id), contents);
  if (complexity != txREAL) {
    readkit::host::ArrayExtra& extra = readkit::host::extra_of(*a);
    extra.complex = true;
    extra.imaginary.resize(txGetNumberOfElements(a.get()));
  }
  return a;
}

}  // namespace

Owned create_numeric(const std::vector<std::size_t>& dims, txClassID class_id,
                     txComplexity complexity) {
  return create_numbers(dims, class_id, complexity, readkit::host::Contents::kZeros);
}

Owned create_uninitialized_numeric(const std::vector<std::size_t>& dims, txClassID class_id,
                                   txComplexity complexity) {
  return create_numbers(dims, class_id, complexity, readkit::host::Contents::kUninitialized);
}

}  // namespace matrix

extern "C" {

txArray* txCreateCellMatrix(std::size_t m, std::size_t n) {
  return readkit::host::new_array(txCELL_CLASS, m, n, sizeof(txArray*),
                                  readkit::host::Contents::kZeros)
      .release();
}

txArray* txCreateDoubleMatrix(std::size_t m, std::size_t n, txComplexity complexity) {
  return matrix::create_numeric({m, n}, txDOUBLE_CLASS, complexity).release();
}

txArray* txCreateDoubleScalar(double x) {
  matrix::Owned a = matrix::create_numeric({1, 1}, txDOUBLE_CLASS, txREAL);
  *static_cast<double*>(a->data) = x;
  return a.release();
}

txArray* txCreateLogicalScalar(bool b) {
  matrix::Owned a = matrix::create_numeric({1, 1}, txLOGICAL_CLASS, txREAL);
  *static_cast<bool*>(a->data) = b;
  return a.release();
}

txArray* txCreateNumericMatrix(std::size_t m, std::size_t n, txClassID class_id,
                               txComplexity complexity) {
  return matrix::create_numeric({m, n}, class_id, complexity).release();
}

txArray* txCreateStructMatrix(std::size_t m, std::size_t n, std::size_t count,
                              const char* const field_names[]) {
  if (field_names == nullptr && count != 0) readkit::host::raise_null_array("txCreateStructMatrix");
  std::vector<std::string> names;
  for (std::size_t i = 0; i < count; ++i) {
    if (field_names[i] == nullptr) readkit::host::raise_null_array("txCreateStructMatrix");
    names.emplace_back(field_names[i]);
  }
  return readkit::host::make_struct_array({m, n}, std::move(names)).release();
}

}  // extern "C"
