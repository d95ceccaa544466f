// Making and reading numbers and containers for C++ callers of the host.
#include <algorithm>
#include <cstring>

#include "host/array_storage.h"
#include "host/error.h"

namespace readkit::host {
namespace {

template <typename T>
std::vector<double> converted(const txArray* a) {
  std::vector<double> numbers;
  const std::span<const T> values = data_of<T>(a);
  numbers.reserve(values.size());
  for (const T value : values) numbers.push_back(static_cast<double>(value));
  return numbers;
}

}  // namespace

Owned make_from_bytes(const Dims& dims, txClassID class_id, const void* values, std::size_t count) {
  constexpr char kOperation[] = "make_from_bytes";
  const std::size_t size = class_id == txCELL_CLASS ? 0 : stored_size(class_id);
  if (size == 0) {
    throw HostError(id::kWrongClass, {std::string(kOperation), std::string("numeric"),
                                      std::string(class_name(class_id))});
  }
  Owned a = new_array(class_id, dims, size, Contents::kUninitialized);
  check_count(*a, count, kOperation);
  if (values == nullptr && count != 0) raise_null_array(kOperation);
  if (count != 0) std::memcpy(a->data, values, count * size);
  return a;
}

Owned make_complex(const Dims& dims, std::span<const double> real,
                   std::span<const double> imaginary) {
  Owned a = make_array(dims, real);
  check_count(*a, imaginary.size(), "make_complex");
  ArrayExtra& extra = extra_of(*a);
  extra.complex = true;
  extra.imaginary.assign(imaginary.begin(), imaginary.end());
  return a;
}

Owned make_cell(const Dims& dims, std::vector<Owned> cells) {
  Owned a = matrix::create_cell(dims);
  check_count(*a, cells.size(), "make_cell");
  for (std::size_t i = 0; i < cells.size(); ++i) {
    txSetCell(a.get(), i, cells[i].get());
    static_cast<void>(cells[i].release());
  }
  return a;
}

Owned make_cell_of_texts(const std::vector<std::string>& texts) {
  Owned a = matrix::create_cell({texts.size(), 1});
  for (std::size_t i = 0; i < texts.size(); ++i) {
    txSetCell(a.get(), i, make_text(texts[i]).release());
  }
  return a;
}

Owned make_struct_array(const Dims& dims, std::vector<std::string> field_names) {
  Owned a =
      new_array(txSTRUCT_CLASS, dims, field_names.size() * sizeof(txArray*), Contents::kZeros);
  extra_of(*a).field_names = std::move(field_names);
  return a;
}

Owned make_struct(std::vector<std::pair<std::string, Owned>> fields) {
  std::vector<std::string> names;
  names.reserve(fields.size());
  for (const auto& field : fields) names.push_back(field.first);
  Owned a = make_struct_array({1, 1}, std::move(names));
  for (auto& [name, value] : fields) set_field(a.get(), 0, name, std::move(value));
  return a;
}

void set_field(txArray* a, std::size_t index, std::string_view field_name, Owned value) {
  constexpr char kOperation[] = "set_field";
  store_field(checked(a, txSTRUCT_CLASS, kOperation), index, field_name, value.get(), kOperation);
  static_cast<void>(value.release());
}

Dims dims_of(const txArray* a) {
  if (a == nullptr) raise_null_array("dims_of");
  if (a->extra && !a->extra->dims.empty()) return a->extra->dims;
  return {a->rows, a->columns};
}

void require_class(const txArray* a, txClassID class_id) { checked(a, class_id, "data_of"); }

std::vector<double> numbers_of(const txArray* a) {
  switch (txGetClassID(a)) {
    case txLOGICAL_CLASS:
      return converted<bool>(a);
    case txCHAR_CLASS:
      return converted<char16_t>(a);
    case txDOUBLE_CLASS:
      return converted<double>(a);
    case txSINGLE_CLASS:
      return converted<float>(a);
    case txINT8_CLASS:
      return converted<std::int8_t>(a);
    case txUINT8_CLASS:
      return converted<std::uint8_t>(a);
    case txINT16_CLASS:
      return converted<std::int16_t>(a);
    case txUINT16_CLASS:
      return converted<std::uint16_t>(a);
    case txINT32_CLASS:
      return converted<std::int32_t>(a);
    case txUINT32_CLASS:
      return converted<std::uint32_t>(a);
    case txINT64_CLASS:
      return converted<std::int64_t>(a);
    case txUINT64_CLASS:
      return converted<std::uint64_t>(a);
    default:
      if (a == nullptr) raise_null_array("numbers_of");
      raise_wrong_class("numbers_of", "numeric, logical or char", a);
  }
}

std::span<const double> imaginary_of(const txArray* a) {
  const txArray& numbers = checked(a, txDOUBLE_CLASS, "imaginary_of");
  if (!numbers.extra) return {};
  return numbers.extra->imaginary;
}

const txArray* cell_of(const txArray* a, std::size_t index) {
  const txArray& cells = checked(a, txCELL_CLASS, "cell_of");
  check_index(cells, index, "cell_of");
  return contents_of(cells)[index];
}

const txArray* field_of(const txArray* a, std::string_view field_name, std::size_t index) {
  const txArray& structure = checked(a, txSTRUCT_CLASS, "field_of");
  check_index(structure, index, "field_of");
  txArray* const* const slot = find_field(structure, index, field_name);
  if (slot == nullptr) throw HostError(id::kNoSuchField, {std::string(field_name)});
  return *slot;
}

std::vector<std::string> field_names_of(const txArray* a) {
  return checked(a, txSTRUCT_CLASS, "field_names_of").extra->field_names;
}

}  // namespace readkit::host
