// The operations of gateway/tx_array.h that look at an array or change it.
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "host/array_storage.h"
#include "host/error.h"

namespace readkit::host {
namespace {

template <typename T>
double first_element(const txArray& a) {
  return static_cast<double>(*static_cast<const T*>(a.data));
}

// How many elements the memory of `a` has room for.
std::size_t capacity(const txArray& a) {
  switch (a.class_id) {
    case txSTRING_CLASS:
      return a.extra->texts.size();
    case txSTRUCT_CLASS:
      // A structure without fields keeps nothing for an element.
      return a.extra->field_names.empty() ? std::numeric_limits<std::size_t>::max()
                                          : contents_of(a).size() / a.extra->field_names.size();
    default:
      return a.data == nullptr ? 0 : block_of(a.data)->bytes / stored_size(a.class_id);
  }
}

void set_shape(txArray& a, std::size_t rows, std::size_t columns, const char* operation) {
  std::size_t count = 0;
  if (__builtin_mul_overflow(rows, columns, &count) || count > capacity(a)) {
    throw HostError(id::kBlockTooSmall,
                    {std::string(operation), std::to_string(rows), std::to_string(columns)});
  }
  if (a.extra && a.extra->complex) a.extra->imaginary.resize(count);
  a.rows = rows;
  a.columns = columns;
}

}  // namespace
}  // namespace readkit::host

extern "C" {

txClassID txGetClassID(const txArray* a) { return a == nullptr ? txUNKNOWN_CLASS : a->class_id; }

std::size_t txGetM(const txArray* a) { return a == nullptr ? 0 : a->rows; }

std::size_t txGetN(const txArray* a) { return a == nullptr ? 0 : a->columns; }

std::size_t txGetNumberOfElements(const txArray* a) {
  return a == nullptr ? 0 : a->rows * a->columns;
}

std::size_t txGetElementSize(const txArray* a) {
  if (a == nullptr || a->class_id == txCELL_CLASS) return 0;
  return readkit::host::stored_size(a->class_id);
}

void* txGetData(const txArray* a) { return txGetElementSize(a) == 0 ? nullptr : a->data; }

bool txIsRealDense(const txArray* a) {
  return a != nullptr && txGetElementSize(a) != 0 && !(a->extra && a->extra->complex);
}

double txGetScalar(const txArray* a) {
  using readkit::host::first_element;
  constexpr char kOperation[] = "txGetScalar";
  if (a == nullptr) readkit::host::raise_null_array(kOperation);
  const bool plain = readkit::host::is_numeric(a->class_id) || a->class_id == txLOGICAL_CLASS;
  if (!plain) readkit::host::raise_wrong_class(kOperation, "numeric or logical", a);
  if (txGetNumberOfElements(a) == 0) {
    throw readkit::host::HostError(readkit::host::id::kEmptyArray, {std::string(kOperation)});
  }
  switch (a->class_id) {
    case txDOUBLE_CLASS:
      return first_element<double>(*a);
    case txSINGLE_CLASS:
      return first_element<float>(*a);
    case txINT8_CLASS:
      return first_element<std::int8_t>(*a);
    case txINT16_CLASS:
      return first_element<std::int16_t>(*a);
    case txUINT16_CLASS:
      return first_element<std::uint16_t>(*a);
    case txINT32_CLASS:
      return first_element<std::int32_t>(*a);
    case txUINT32_CLASS:
      return first_element<std::uint32_t>(*a);
    case txINT64_CLASS:
      return first_element<std::int64_t>(*a);
    case txUINT64_CLASS:
      return first_element<std::uint64_t>(*a);
    default:  // uint8 and logical
      return first_element<std::uint8_t>(*a);
  }
}

txArray* txGetCell(const txArray* a, std::size_t index) {
  if (txGetClassID(a) != txCELL_CLASS || index >= txGetNumberOfElements(a)) return nullptr;
  return readkit::host::contents_of(*a)[index];
}

txArray* txGetField(const txArray* a, std::size_t index, const char* field_name) {
  if (txGetClassID(a) != txSTRUCT_CLASS || field_name == nullptr) return nullptr;
  if (index >= txGetNumberOfElements(a)) return nullptr;
  txArray** const slot = readkit::host::find_field(*a, index, field_name);
  return slot == nullptr ? nullptr : *slot;
}

void txSetCell(txArray* cell, std::size_t index, txArray* value) {
  constexpr char kOperation[] = "txSetCell";
  txArray& a = readkit::host::checked(cell, txCELL_CLASS, kOperation);
  readkit::host::check_index(a, index, kOperation);
  readkit::host::store(a, readkit::host::contents_of(a)[index], value, kOperation);
}

void txSetField(txArray* a, std::size_t index, const char* field_name, txArray* value) {
  constexpr char kOperation[] = "txSetField";
  txArray& structure = readkit::host::checked(a, txSTRUCT_CLASS, kOperation);
  if (field_name == nullptr) readkit::host::raise_null_array(kOperation);
  readkit::host::store_field(structure, index, field_name, value, kOperation);
}

void txSetM(txArray* a, std::size_t m) {
  constexpr char kOperation[] = "txSetM";
  if (a == nullptr) readkit::host::raise_null_array(kOperation);
  readkit::host::set_shape(*a, m, a->columns, kOperation);
  if (a->extra && !a->extra->dims.empty()) a->extra->dims[0] = m;
}

void txSetN(txArray* a, std::size_t n) {
  constexpr char kOperation[] = "txSetN";
  if (a == nullptr) readkit::host::raise_null_array(kOperation);
  readkit::host::set_shape(*a, a->rows, n, kOperation);
  if (a->extra) a->extra->dims.clear();
}

void txSetPr(txArray* a, void* data) {
  using readkit::host::block_of;
  using readkit::host::BlockUse;
  using readkit::host::HostError;
  constexpr char kOperation[] = "txSetPr";
  if (a == nullptr) readkit::host::raise_null_array(kOperation);
  if (!readkit::host::is_numeric(a->class_id) && a->class_id != txLOGICAL_CLASS) {
    readkit::host::raise_wrong_class(kOperation, "numeric or logical", a);
  }
  if (data == a->data) return;
  if (data != nullptr && block_of(data)->use != BlockUse::kLoose) {
    throw HostError(readkit::host::id::kBlockInUse, {std::string(kOperation)});
  }
  const std::size_t bytes = txGetNumberOfElements(a) * txGetElementSize(a);
  if (bytes > (data == nullptr ? 0 : block_of(data)->bytes)) {
    throw HostError(readkit::host::id::kBlockTooSmall,
                    {std::string(kOperation), std::to_string(a->rows), std::to_string(a->columns)});
  }
  if (a->data != nullptr && block_of(a->data)->use == BlockUse::kAttached) {
    readkit::host::free_block(a->data);
  }
  a->data = data;
  if (data != nullptr) block_of(data)->use = BlockUse::kAttached;
}

}  // extern "C"
