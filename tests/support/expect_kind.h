// Assertions about exceptions.
//
//   EXPECT_KIND(header.parse_region("chr1", &ref, &beg, &end), InvalidRegion, u"chr1");
//   EXPECT_KIND(header.subset({}), InvalidHeaderSubset);
//   EXPECT_STD(parse_barray(",1", 'c', out), std::invalid_argument, "stol");
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <typeinfo>

#include <gtest/gtest.h>

#include "core/errors.h"
#include "core/path.h"

namespace readkit {

/// An expected argument, by the type it is written with: text (u"..."), narrow text ("...") or an
/// integer; a path stands for its text.
inline ErrorArgument expected_argument(UString text) { return text; }
inline ErrorArgument expected_argument(const char16_t* text) { return UString(text); }
inline ErrorArgument expected_argument(const Path& path) { return path.text(); }
inline ErrorArgument expected_argument(std::string text) { return text; }
inline ErrorArgument expected_argument(const char* text) { return std::string(text); }
inline ErrorArgument expected_argument(std::int64_t number) { return number; }

template <typename... Args>
ErrorArguments expected_arguments(const Args&... args) {
  return {expected_argument(args)...};
}

/// "seqlab:readkit:InvalidRegion(u"chr1")", for messages.
std::string describe(const std::string& id, const ErrorArguments& arguments);

/// The identifier that a kind of this name must carry.
std::string expected_id(const std::string& kind);

/// Describes the exception being handled.
std::string describe_current_exception();

/// Whether `run` raises exactly `Kind` with its full identifier and exactly these arguments, each
/// in its alternative.
template <typename Kind, typename Run>
testing::AssertionResult raises_kind(const char* statement, const char* kind,
                                     const ErrorArguments& arguments, const Run& run) {
  const std::string expected = describe(expected_id(kind), arguments);
  try {
    run();
  } catch (const Kind& error) {
    if (typeid(error) == typeid(Kind) && error.kind() == kind &&
        error.get_error_id() == expected_id(kind) && error.arguments() == arguments) {
      return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << statement << "\n  raises   " << describe(error.get_error_id(), error.arguments())
           << "\n  expected " << expected;
  } catch (...) {
    return testing::AssertionFailure()
           << statement << "\n  raises   " << describe_current_exception() << "\n  expected "
           << expected;
  }
  return testing::AssertionFailure()
         << statement << "\n  raises   nothing\n  expected " << expected;
}

/// Whether `run` raises exactly the standard exception `Type` with this text.
template <typename Type, typename Run>
testing::AssertionResult raises_std(const char* statement, const char* type,
                                    const std::string& what, const Run& run) {
  try {
    run();
  } catch (const Type& error) {
    if (typeid(error) == typeid(Type) && error.what() == what) return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << statement << "\n  raises   " << describe_current_exception() << "\n  expected "
           << type << "(" << what << ")";
  } catch (...) {
    return testing::AssertionFailure()
           << statement << "\n  raises   " << describe_current_exception() << "\n  expected "
           << type << "(" << what << ")";
  }
  return testing::AssertionFailure()
         << statement << "\n  raises   nothing\n  expected " << type << "(" << what << ")";
}

}  // namespace readkit

#define EXPECT_KIND(statement, Kind, ...)              \
  EXPECT_TRUE(::readkit::raises_kind<::readkit::Kind>( \
      #statement, #Kind, ::readkit::expected_arguments(__VA_ARGS__), [&] { statement; }))

#define EXPECT_STD(statement, Type, what) \
  EXPECT_TRUE(::readkit::raises_std<Type>(#statement, #Type, what, [&] { statement; }))
