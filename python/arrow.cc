#include "python/arrow.h"

#include <array>
#include <utility>

#include <pybind11/numpy.h>

namespace py = pybind11;

namespace readkit::python {
namespace {

constexpr char kSchemaName[] = "arrow_schema";
constexpr char kArrayName[] = "arrow_array";
constexpr std::int64_t kNullable = 2;

// What a schema and an array of this module own; their `release` deletes it.
struct OwnedSchema {
  std::string format;
  std::string name;
  std::vector<ArrowSchema> children;
  std::vector<ArrowSchema*> child_pointers;
};
struct OwnedArray {
  std::shared_ptr<const void> memory;
  std::array<const void*, 3> buffers{};
  std::vector<ArrowArray> children;
  std::vector<ArrowArray*> child_pointers;
};

template <typename Structure, typename Owned>
void release(Structure* structure) {
  const std::unique_ptr<Owned> owned(static_cast<Owned*>(structure->private_data));
  for (Structure& child : owned->children) {
    if (child.release != nullptr) child.release(&child);
  }
  structure->release = nullptr;
}

// Consumers take the content out of a capsule and leave `release` null.
template <typename Structure>
py::capsule capsule_of(const Structure& content, const char* name) {
  auto structure = std::make_unique<Structure>(content);
  py::capsule capsule(structure.get(), name, [](PyObject* object) {
    const std::unique_ptr<Structure> held(
        static_cast<Structure*>(PyCapsule_GetPointer(object, PyCapsule_GetName(object))));
    if (held && held->release != nullptr) held->release(held.get());
  });
  static_cast<void>(structure.release());
  return capsule;
}

ArrowSchema make_schema(std::string format, std::string name,
                        std::vector<ArrowSchema> children = {}) {
  auto owned = std::make_unique<OwnedSchema>();
  owned->format = std::move(format);
  owned->name = std::move(name);
  owned->children = std::move(children);
  for (ArrowSchema& child : owned->children) owned->child_pointers.push_back(&child);
  ArrowSchema schema{};
  schema.format = owned->format.c_str();
  schema.name = owned->name.c_str();
  schema.flags = owned->children.empty() ? kNullable : 0;
  schema.n_children = static_cast<std::int64_t>(owned->children.size());
  schema.children = owned->child_pointers.data();
  schema.release = release<ArrowSchema, OwnedSchema>;
  schema.private_data = owned.release();
  return schema;
}

// An array of `rows` elements over `memory`; the first buffer is the validity bitmap.
ArrowArray make_array(std::size_t rows, std::initializer_list<const void*> buffers,
                      std::shared_ptr<const void> memory, std::vector<ArrowArray> children = {}) {
  auto owned = std::make_unique<OwnedArray>();
  owned->memory = std::move(memory);
  std::copy(buffers.begin(), buffers.end(), owned->buffers.begin());
  owned->children = std::move(children);
  for (ArrowArray& child : owned->children) owned->child_pointers.push_back(&child);
  ArrowArray array{};
  array.length = static_cast<std::int64_t>(rows);
  array.n_buffers = static_cast<std::int64_t>(buffers.size());
  array.buffers = owned->buffers.data();
  array.n_children = static_cast<std::int64_t>(owned->children.size());
  array.children = owned->child_pointers.data();
  array.release = release<ArrowArray, OwnedArray>;
  array.private_data = owned.release();
  return array;
}

bool is_utf8(std::string_view bytes) {
  PyObject* const text =
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "strict");
  if (text == nullptr) PyErr_Clear();
  Py_XDECREF(text);
  return text != nullptr;
}

const char* format_of(const py::array& array) {
  const py::dtype dtype = array.dtype();
  const auto size = dtype.itemsize();
  const auto pick = [&](std::array<const char*, 4> formats) {
    return size == 1 ? formats[0] : size == 2 ? formats[1] : size == 4 ? formats[2] : formats[3];
  };
  const bool is_plain = array.ndim() == 1 && (array.shape(0) < 2 || array.strides(0) == size) &&
                        dtype.attr("isnative").cast<bool>();
  if (is_plain && size <= 8) {
    if (dtype.kind() == 'i') return pick({"c", "s", "i", "l"});
    if (dtype.kind() == 'u') return pick({"C", "S", "I", "L"});
    if (dtype.kind() == 'f' && size >= 4) return pick({"", "", "f", "g"});
  }
  throw py::type_error("a column must be texts, or a contiguous one-dimensional array of numbers");
}

void add_numbers(const py::array& array, const std::string& name, std::vector<ArrowSchema>& schemas,
                 std::vector<ArrowArray>& arrays) {
  const char* const format = format_of(array);
  arrays.push_back(
      make_array(static_cast<std::size_t>(array.shape(0)), {nullptr, array.data()}, hold(array)));
  schemas.push_back(make_schema(format, name));
}

// Moves schema and array out of the capsules of a column. The schema's name stays what it was, so
// it is wrapped by copying the format of a column without children.
void add_exported(const py::object& column, const std::string& name,
                  std::vector<ArrowSchema>& schemas, std::vector<ArrowArray>& arrays) {
  const py::tuple pair = column.attr("__arrow_c_array__")();
  auto* const schema =
      static_cast<ArrowSchema*>(PyCapsule_GetPointer(py::object(pair[0]).ptr(), kSchemaName));
  if (schema == nullptr) throw py::error_already_set();
  auto* const array =
      static_cast<ArrowArray*>(PyCapsule_GetPointer(py::object(pair[1]).ptr(), kArrayName));
  if (array == nullptr) throw py::error_already_set();
  if (schema->n_children != 0 || schema->dictionary != nullptr) {
    throw py::type_error("a column must not have columns of its own");
  }
  schemas.push_back(make_schema(schema->format, name));
  arrays.push_back(*array);
  array->release = nullptr;
}

// Releases what was exported when a later column fails.
template <typename Structure>
class Pending {
 public:
  Pending() = default;
  ~Pending() {
    for (Structure& structure : list) {
      if (structure.release != nullptr) structure.release(&structure);
    }
  }
  Pending(const Pending&) = delete;
  Pending& operator=(const Pending&) = delete;

  std::vector<Structure> list;
};

}  // namespace

py::capsule schema_of_texts(const Texts& texts) {
  return capsule_of(make_schema(is_utf8(texts.bytes) ? "U" : "Z", ""), kSchemaName);
}

py::tuple arrow_of_texts(const std::shared_ptr<const Texts>& texts, std::size_t begin,
                         std::size_t rows) {
  const void* const validity = texts->validity.empty() ? nullptr : texts->validity.data();
  ArrowArray array =
      make_array(rows, {validity, texts->offsets.data(), texts->bytes.data()}, texts);
  array.offset = static_cast<std::int64_t>(begin);
  // Of a part, nobody has counted.
  array.null_count = rows == texts->rows() ? static_cast<std::int64_t>(texts->missing)
                     : texts->missing == 0 ? 0
                                           : -1;
  return py::make_tuple(schema_of_texts(*texts), capsule_of(array, kArrayName));
}

py::tuple arrow_of_table(const std::vector<std::string>& names,
                         const std::vector<py::object>& columns, std::size_t rows) {
  Pending<ArrowSchema> schemas;
  Pending<ArrowArray> arrays;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (py::isinstance<py::array>(columns[i])) {
      add_numbers(py::array(columns[i]), names.at(i), schemas.list, arrays.list);
    } else {
      add_exported(columns[i], names.at(i), schemas.list, arrays.list);
    }
    if (arrays.list.back().length != static_cast<std::int64_t>(rows)) {
      throw py::value_error("the columns are not of the same length");
    }
  }
  return py::make_tuple(
      capsule_of(make_schema("+s", "", std::exchange(schemas.list, {})), kSchemaName),
      capsule_of(make_array(rows, {nullptr}, nullptr, std::exchange(arrays.list, {})), kArrayName));
}

}  // namespace readkit::python
