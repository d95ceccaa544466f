#include "host/error.h"

#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "gateway/tx_array.h"
#include "host/catalog.h"

namespace readkit::host::host_error_test {
namespace {

// An exception that fails to be copied ends the process.
static_assert(std::is_nothrow_copy_constructible_v<HostError>);

// What callers of the host see of an exception.
template <typename Exception>
HostError seen(const Exception& exception) {
  try {
    try {
      throw exception;
    } catch (...) {
      raise_as_host_error();
    }
  } catch (const HostError& e) {
    return e;
  }
}

TEST(HostError, ALibraryErrorKeepsItsIdentifierAndArgumentsAndGetsTheCatalogsText) {
  const HostError error = seen(FileNotFound(u"reads.bam"));
  EXPECT_EQ(error.identifier(), "seqlab:readkit:FileNotFound");
  EXPECT_EQ(error.arguments(), ErrorArguments{UString(u"reads.bam")});
  EXPECT_EQ(error.text(), message("seqlab:readkit:FileNotFound", error.arguments()));
  EXPECT_NE(error.text().find("reads.bam"), std::string::npos);
}

TEST(HostError, AStandardExceptionBecomesItsKindWithItsOwnWords) {
  EXPECT_EQ(seen(std::out_of_range("basic_string")).identifier(), "Tessel:cpp:out_of_range");
  EXPECT_EQ(seen(std::invalid_argument("stol")).identifier(), "Tessel:cpp:invalid_argument");
  EXPECT_EQ(seen(std::length_error("vector")).identifier(), "Tessel:cpp:length_error");
  EXPECT_EQ(seen(std::bad_alloc()).identifier(), "Tessel:cpp:bad_alloc");
  EXPECT_EQ(seen(std::bad_array_new_length()).identifier(), "Tessel:cpp:bad_alloc");
  EXPECT_EQ(seen(std::bad_function_call()).identifier(), "Tessel:cpp:bad_function_call");
  EXPECT_EQ(seen(std::runtime_error("other")).identifier(), "Tessel:cpp:exception");
  EXPECT_EQ(seen(std::out_of_range("basic_string")).arguments(),
            ErrorArguments{std::string("basic_string")});
  EXPECT_NE(seen(std::out_of_range("basic_string")).text().find("basic_string"), std::string::npos);
}

TEST(HostError, WhateverElseIsThrownBecomesAnErrorToo) {
  EXPECT_EQ(seen(42).identifier(), "Tessel:cpp:exception");
}

TEST(HostError, AHostErrorStaysWhatItIs) {
  const HostError error = seen(HostError("a:b", {std::string("c")}, "its own text"));
  EXPECT_EQ(error.identifier(), "a:b");
  EXPECT_EQ(error.arguments(), ErrorArguments{std::string("c")});
  EXPECT_STREQ(error.what(), "its own text");
}

TEST(HostError, AnErrorWithoutATextTakesTheCatalogs) {
  const HostError error(id::kNoFunction, {}, "");
  EXPECT_EQ(error.text(), message(id::kNoFunction, {}));
}

TEST(HostError, TheHostsErrorCallRaisesIdentifierAndText) {
  try {
    gwErrMsgIdAndTxt("some:identifier", "Some text.");
  } catch (const HostError& error) {
    EXPECT_EQ(error.identifier(), "some:identifier");
    EXPECT_EQ(error.text(), "Some text.");
    EXPECT_TRUE(error.arguments().empty());
  }
  EXPECT_THROW(gwErrMsgIdAndTxt(nullptr, nullptr), HostError);
}

}  // namespace
}  // namespace readkit::host::host_error_test
