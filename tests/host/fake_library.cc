// A library with the entry points of the real one, whose functions do what the tests of loader and
// calls need: give and withhold outputs, rightly and wrongly, and fail in every way.
//
// The environment variable READKIT_FAKE_LIBRARY changes what loading does: "registers_nothing",
// "registers_two", "refuses" or "raises".
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>

#include "core/errors.h"
#include "gateway/gateways.h"
#include "gateway/tx_array.h"
#include "gateway/tx_registry.h"

namespace {

// Lives from initialisation to termination, so that tests can tell from the number of live arrays
// whether the library was terminated. Several threads may load it at once.
std::atomic<txArray*> g_resident = nullptr;

std::string mode() {
  const char* const value = std::getenv("READKIT_FAKE_LIBRARY");
  return value == nullptr ? "" : value;
}

// outputs = echo(texts...): the input texts.
void echo(int, txArray* plhs[], int nrhs, const txArray* prhs[]) {
  for (int i = 0; i < nrhs; ++i) {
    plhs[i] = txCreateString(matrix::get_string(prhs[i]).c_str());
  }
}

// [nlhs, nrhs, slots] = counts(...): what the function was called with; `slots` counts the null
// slots among the first 16.
void counts(int nlhs, txArray* plhs[], int nrhs, const txArray*[]) {
  int slots = 0;
  for (int i = 0; i < 16; ++i) slots += plhs[i] == nullptr ? 1 : 0;
  plhs[0] = txCreateDoubleScalar(nlhs);
  plhs[1] = txCreateDoubleScalar(nrhs);
  plhs[2] = txCreateDoubleScalar(slots);
}

void fill_none(int, txArray*[], int, const txArray*[]) {}

void fill_second(int, txArray* plhs[], int, const txArray*[]) {
  plhs[1] = txCreateString("second");
}

void fill_sixteen(int, txArray* plhs[], int, const txArray*[]) {
  for (int i = 0; i < 16; ++i) plhs[i] = txCreateDoubleScalar(i);
}

void give_input(int, txArray* plhs[], int, const txArray* prhs[]) {
  plhs[0] = const_cast<txArray*>(prhs[0]);
}

void give_twice(int, txArray* plhs[], int, const txArray*[]) {
  plhs[0] = txCreateString("twice");
  plhs[1] = plhs[0];
}

void give_part(int, txArray* plhs[], int, const txArray*[]) {
  plhs[0] = txCreateCellMatrix(1, 1);
  plhs[1] = txCreateString("part");
  txSetCell(plhs[0], 0, plhs[1]);
}

// Wants more than memory holds, through the host.
void exhaust(int, txArray*[], int, const txArray*[]) {
  txFree(txCalloc(static_cast<std::size_t>(-1), 16));
}

[[noreturn]] void fail_as(const std::string& kind) {
  if (kind == "FileNotFound") throw readkit::FileNotFound(u"r\u00E9ads.bam");
  if (kind == "InvalidInputType") throw readkit::InvalidInputType(u"mode", u"double");
  if (kind == "TooManyOutputs") throw readkit::TooManyOutputs();
  if (kind == "UnknownKind") {
    throw readkit::MsgIdException("other:component", "UnknownKind", {std::int64_t{5}});
  }
  if (kind == "host") gwErrMsgIdAndTxt("some:identifier", "some text");
  if (kind == "out_of_range") throw std::out_of_range("basic_string");
  if (kind == "invalid_argument") throw std::invalid_argument("stoi");
  if (kind == "length_error") throw std::length_error("too long");
  if (kind == "bad_alloc") throw std::bad_alloc();
  if (kind == "bad_array_new_length") throw std::bad_array_new_length();
  if (kind == "bad_function_call") std::function<void()>()();
  if (kind == "runtime_error") throw std::runtime_error("some failure");
  throw 42;
}

// Fills slots beyond the wanted ones, one array in two of them, and then fails as the input says.
void fail(int, txArray* plhs[], int, const txArray* prhs[]) {
  plhs[0] = txCreateString("never seen");
  plhs[1] = txCreateCellMatrix(2, 1);
  txSetCell(plhs[1], 0, txCreateString("inside"));
  plhs[2] = plhs[0];
  plhs[15] = txCreateDoubleMatrix(100, 100, txREAL);
  fail_as(matrix::get_string(prhs[0]));
}

struct Entry {
  const char* name;
  txGateway function;
};

constexpr Entry kEntries[] = {
    {"echo", echo},
    {"counts", counts},
    {"fill_none", fill_none},
    {"fill_second", fill_second},
    {"fill_sixteen", fill_sixteen},
    {"give_input", give_input},
    {"give_twice", give_twice},
    {"give_part", give_part},
    {"exhaust", exhaust},
    {"fail", fail},
};

}  // namespace

namespace readkit {

/// Exported, not registered.
READKIT_EXPORT void kxUnlisted(int, txArray* plhs[], int, const txArray*[]);
void kxUnlisted(int, txArray* plhs[], int, const txArray*[]) {
  plhs[0] = txCreateString("unlisted");
}

}  // namespace readkit

bool TslInitialize_readkit() {
  if (mode() == "registers_nothing") return true;
  if (mode() == "raises") throw readkit::FileNotFound(u"needed-by-the-library");
  txFunctionNamespace* const ns =
      txFindInnerNamespace(txFindInnerNamespace(txFindNamespace("seqlab"), "internal"), "readkit");
  bool added = false;
  int left = mode() == "registers_two" ? 2 : 100;
  for (const Entry& entry : kEntries) {
    if (left-- == 0) break;
    added = txAddFunction(ns, txInternName(entry.name), entry.function, nullptr, 2);
  }
  if (mode() == "refuses") return false;
  matrix::destroyArray(g_resident.exchange(txCreateString("resident")));
  return added;
}

void TslTerminate_readkit() { matrix::destroyArray(g_resident.exchange(nullptr)); }
