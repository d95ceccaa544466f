// A complete host: arrays, functions by name, and a program that calls the library through them.
// docs/hosts.md goes through it.
//
//   small_host LIBRARY READS.bam
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <stdexcept>
#include <utility>

#include <dlfcn.h>
#include <readkit/gateway/tx_array.h>
#include <readkit/gateway/tx_registry.h>

// ---- Arrays ------------------------------------------------------------------------------------
/// None is complex, sparse or a string array; all have two dimensions.
struct txArray {
  txClassID class_id;
  size_t rows = 0;
  size_t columns = 0;
  std::vector<std::string> fields = {};
  std::vector<matrix::Owned> inside = {};  // cells, or the fields of one structure after the other
  std::unique_ptr<void, decltype(&txFree)> data = {nullptr, txFree};  // numbers, characters
};

namespace {

// By class: the bytes of an element, and the first element as a number.
constexpr size_t kSize[20] = {0, 0, 0, 1, 2, 0, 8, 4, 1, 1, 2, 2, 4, 4, 8, 8};
template <typename T>
double first(const txArray* a) {
  return static_cast<double>(*static_cast<const T*>(a->data.get()));
}
constexpr std::array<double (*)(const txArray*), 16> kFirst = {
    nullptr,        nullptr,         nullptr,        first<bool>,
    nullptr,        nullptr,         first<double>,  first<float>,
    first<int8_t>,  first<uint8_t>,  first<int16_t>, first<uint16_t>,
    first<int32_t>, first<uint32_t>, first<int64_t>, first<uint64_t>};

txArray* make(size_t m, size_t n, txClassID class_id, std::vector<std::string> fields = {}) {
  matrix::Owned a(new txArray{class_id, m, n, std::move(fields)});
  a->inside.resize(class_id == txCELL_CLASS ? m * n : m * n * a->fields.size());
  if (kSize[class_id] != 0) a->data.reset(txCalloc(m * n, kSize[class_id]));
  return a.release();
}

template <typename T>
txArray* make_scalar(T value, txClassID class_id) {
  txArray* const a = make(1, 1, class_id);
  *static_cast<T*>(a->data.get()) = value;
  return a;
}

/// Where a field of an element is among all that are inside; past their end when there is none.
size_t field_index(const txArray* a, size_t index, const char* name) {
  const auto found = std::find(a->fields.begin(), a->fields.end(), name);
  return found == a->fields.end()
             ? a->inside.size()
             : index * a->fields.size() + static_cast<size_t>(found - a->fields.begin());
}

void* checked(void* p) { return p != nullptr ? p : throw std::bad_alloc(); }

}  // namespace

txClassID txGetClassID(const txArray* a) { return a->class_id; }
size_t txGetM(const txArray* a) { return a->rows; }
size_t txGetN(const txArray* a) { return a->columns; }
size_t txGetNumberOfElements(const txArray* a) { return a->rows * a->columns; }
size_t txGetElementSize(const txArray* a) { return kSize[a->class_id]; }
void* txGetData(const txArray* a) { return a->data.get(); }
bool txIsRealDense(const txArray* a) { return kSize[a->class_id] != 0; }
double txGetScalar(const txArray* a) { return kFirst.at(static_cast<size_t>(a->class_id))(a); }
txArray* txGetField(const txArray* a, size_t i, const char* name) {
  const size_t at = field_index(a, i, name);
  return at < a->inside.size() ? a->inside[at].get() : nullptr;
}
txArray* txCreateString(const char* text) { return matrix::create(text, std::string(text).size()); }
txArray* txCreateCellMatrix(size_t m, size_t n) { return make(m, n, txCELL_CLASS); }
txArray* txCreateDoubleScalar(double x) { return make_scalar(x, txDOUBLE_CLASS); }
txArray* txCreateLogicalScalar(bool b) { return make_scalar(b, txLOGICAL_CLASS); }
txArray* txCreateNumericMatrix(size_t m, size_t n, txClassID class_id, txComplexity) {
  return make(m, n, class_id);
}
txArray* txCreateDoubleMatrix(size_t m, size_t n, txComplexity) {
  return make(m, n, txDOUBLE_CLASS);
}
txArray* txCreateStructMatrix(size_t m, size_t n, size_t count, const char* const names[]) {
  return make(m, n, txSTRUCT_CLASS, {names, names + count});
}
void txSetCell(txArray* a, size_t i, txArray* value) { a->inside.at(i).reset(value); }
void txSetField(txArray* a, size_t i, const char* name, txArray* value) {
  a->inside.at(field_index(a, i, name)).reset(value);
}
void txSetM(txArray* a, size_t m) { a->rows = m; }
void txSetN(txArray* a, size_t n) { a->columns = n; }
void txSetPr(txArray* a, void* data) { a->data.reset(data); }
void* txCalloc(size_t n, size_t size) { return checked(std::calloc(n, size)); }
void* txRealloc(void* p, size_t size) { return checked(std::realloc(p, size + 1)); }
void txFree(void* p) { std::free(p); }
void gwErrMsgIdAndTxt(const char* id, const char* text) {
  throw std::runtime_error(std::string(id) + ": " + text);
}

namespace matrix {

void destroyArray(txArray* a) { delete a; }
txArray* create(const char* bytes, size_t length) {
  const std::u16string units = std::filesystem::path(std::string(bytes, length)).u16string();
  txArray* const a = make(1, units.size(), txCHAR_CLASS);
  units.copy(static_cast<char16_t*>(a->data.get()), units.size());
  return a;
}
readkit::UString get_ustring(const txArray* a) {
  if (a->class_id == txCHAR_CLASS)
    return {static_cast<char16_t*>(txGetData(a)), a->rows * a->columns};
  gwErrMsgIdAndTxt("Tessel:string:MustBeStringScalarOrCharacterVector", "this is no text");
}
std::string get_string(const txArray* a) { return std::filesystem::path(get_ustring(a)).string(); }
std::vector<readkit::UString> get_string_array(const txArray* a) {
  if (a->class_id != txCELL_CLASS) return {get_ustring(a)};
  std::vector<readkit::UString> texts;
  for (const Owned& cell : a->inside) texts.push_back(get_ustring(cell.get()));
  return texts;
}

}  // namespace matrix

// ---- Functions by name -------------------------------------------------------------------------
struct txFunctionNamespace : std::string {};
struct txName : std::string {};

namespace {
std::array<txFunctionNamespace, 4> g_namespaces = {{{"seqlab"}, {"internal"}, {"readkit"}, {""}}};
std::set<txName> g_names;
std::map<std::string, txGateway> g_functions;
}  // namespace

const txName* txInternName(const char* name) { return &*g_names.insert(txName{name}).first; }
txFunctionNamespace* txFindNamespace(const char* name) {
  return g_namespaces[0] == name ? g_namespaces.data() : nullptr;
}
txFunctionNamespace* txFindInnerNamespace(txFunctionNamespace* outer, const char* name) {
  return outer != nullptr && outer[1] == name ? outer + 1 : nullptr;
}
bool txAddFunction(txFunctionNamespace* ns, const txName* name, txGateway f, const char*, int) {
  return ns != nullptr && (g_functions[*name] = f) != nullptr;
}

// ---- The program -------------------------------------------------------------------------------
namespace {

/// The wanted outputs of a call; all others are destroyed, whatever happens.
std::vector<matrix::Owned> call(const std::string& name, size_t nlhs,
                                std::vector<const txArray*> inputs) {
  struct Slots : std::array<txArray*, 16> {
    ~Slots() { std::for_each(begin(), end(), matrix::destroyArray); }
  } slots{};
  g_functions.at(name)(static_cast<int>(nlhs), slots.data(), static_cast<int>(inputs.size()),
                       inputs.data());
  std::vector<matrix::Owned> outputs;
  for (size_t i = 0; i < nlhs; ++i) outputs.emplace_back(std::exchange(slots[i], nullptr));
  return outputs;
}

/// [sorted, counts] = bamInfo(bam); [text, names, lengths] = getHeader(bam)
void print_references(const char* path) {
  const matrix::Owned bam(txCreateString(path));
  const std::vector<matrix::Owned> info = call("bamInfo", 2, {bam.get()});
  std::printf("%s by coordinate\n", txGetScalar(info[0].get()) != 0 ? "sorted" : "not sorted");
  const std::vector<matrix::Owned> header = call("getHeader", 3, {bam.get()});
  const auto* const lengths = static_cast<const uint32_t*>(txGetData(header[2].get()));
  for (size_t i = 0; i < txGetM(header[1].get()); ++i) {
    const std::string name = matrix::get_string(header[1]->inside[i].get());
    std::printf("%s: %u bases\n", name.c_str(), lengths[i]);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  void* const library = dlopen(argv[1], RTLD_NOW);
  auto* const start = reinterpret_cast<bool (*)()>(
      library == nullptr ? nullptr : dlsym(library, "TslInitialize_readkit"));
  if (start == nullptr || !start()) return 1;
  std::printf("%zu functions\n", g_functions.size());
  try {
    print_references(argv[2]);
  } catch (const std::exception& e) {  // its type is the library's, which must still be there
    std::printf("%s\n", e.what());
    return 1;
  }
}
