// Gateway functions called as a host calls them: through a loaded library, with host arrays in and
// host arrays or one error out.
//
//   const Outputs out = call_gateway("getHeader", 2, inputs(text(folder, "a.bam")));
//   EXPECT_EQ(texts_of(out[1]), (std::vector<std::string>{"chr1"}));
//   EXPECT_CALL_FAILS(call_gateway("getHeader", 1, {}), "seqlab:readkit:InvalidArgCount",
//                     u"getHeader");
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "host/array.h"
#include "host/call.h"
#include "host/error.h"
#include "host/loader.h"
#include "support/expect_kind.h"
#include "support/temp_dir.h"

namespace readkit {

using Inputs = std::vector<host::Owned>;
using Outputs = std::vector<host::Owned>;

/// The library of this test program's flavour, loaded once.
const host::Library& gateway_library();

/// Calls a gateway function. Failures are host::HostError.
Outputs call_gateway(std::string_view name, int nlhs, const Inputs& inputs);

/// A list of inputs: `inputs(text(folder, "a.bam"), host::make_scalar(1.0))`.
template <typename... Arrays>
Inputs inputs(Arrays... arrays) {
  Inputs list;
  (list.push_back(std::move(arrays)), ...);
  return list;
}
/// A character row vector: of these bytes, and the native name of a file in a folder.
inline host::Owned text(std::string_view bytes) { return host::make_text(bytes); }
inline host::Owned text(const TempDir& folder, std::string_view name) {
  return host::make_text(folder.native(name));
}

// Reading outputs. Each expects exactly the class and shape that it names.

/// Whether `a` is an array of this class and shape.
void expect_shape(const host::Owned& a, txClassID class_id, std::size_t rows, std::size_t columns);

/// The elements of a column of the class of T.
template <host::Element T>
std::vector<T> column_of(const host::Owned& a) {
  expect_shape(a, host::class_id_of<T>(), txGetNumberOfElements(a.get()), 1);
  if (txGetClassID(a.get()) != host::class_id_of<T>()) return {};
  const std::span<const T> values = host::data_of<T>(a.get());
  return {values.begin(), values.end()};
}
/// A 1-by-1 array of the class of T.
template <host::Element T>
T scalar_of(const host::Owned& a) {
  expect_shape(a, host::class_id_of<T>(), 1, 1);
  return host::data_of<T>(a.get())[0];
}
/// A character row vector, as bytes.
std::string row_text_of(const host::Owned& a);
/// A cell column of character row vectors, as bytes; `kEmptyCell` for a cell without content.
std::vector<std::string> texts_of(const host::Owned& a);
inline constexpr char kEmptyCell[] = "(empty cell)";

/// An array with its class, its shape and all it holds, as text to be compared; and of several.
std::string described(const txArray* a);
std::string described(const Outputs& outputs);

/// Expects as many arrays and blocks of host memory at the end of its life as at its beginning.
class LeakCheck {
 public:
  LeakCheck() : arrays_(host::live_arrays()), blocks_(host::live_blocks()) {}
  LeakCheck(const LeakCheck&) = delete;
  LeakCheck& operator=(const LeakCheck&) = delete;
  ~LeakCheck();

 private:
  std::size_t arrays_;
  std::size_t blocks_;
};

/// Whether `run` raises a HostError with this identifier and these arguments, and leaves no array
/// behind.
template <typename Run>
testing::AssertionResult call_fails(const char* statement, const std::string& identifier,
                                    const ErrorArguments& arguments, const Run& run) {
  const LeakCheck leaks;
  const std::string expected = describe(identifier, arguments);
  try {
    run();
  } catch (const host::HostError& error) {
    if (error.identifier() == identifier && error.arguments() == arguments) {
      return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << statement << "\n  fails with " << describe(error.identifier(), error.arguments())
           << "\n  expected   " << expected;
  }
  return testing::AssertionFailure() << statement << "\n  succeeds, expected " << expected;
}

}  // namespace readkit

#define EXPECT_CALL_FAILS(statement, identifier, ...) \
  EXPECT_TRUE(::readkit::call_fails(                  \
      #statement, identifier, ::readkit::expected_arguments(__VA_ARGS__), [&] { statement; }))
