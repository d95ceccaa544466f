// The one error type that callers of the host see, and the identifiers of the host's own errors.
#pragma once

#include <exception>
#include <string>

#include "core/errors.h"
#include "core/export.h"

namespace readkit::host {

/// A failed operation of the host, or a failed call of a library function: an identifier, the
/// arguments that came with it, and a text in English. Holds copies of everything, so that it
/// outlives the library that raised it. `what()` is the text, in UTF-8.
class READKIT_EXPORT HostError : public std::exception {
 public:
  /// An error whose text is the message catalog's, filled with `arguments`.
  explicit HostError(std::string identifier, ErrorArguments arguments = {});
  /// An error that brings its own text; the catalog's is taken when `text` is empty.
  HostError(std::string identifier, ErrorArguments arguments, std::string text);
  HostError(const HostError&) = default;
  HostError& operator=(const HostError&) = default;
  ~HostError() override;

  /// For example "seqlab:readkit:FileNotFound", "Tessel:cpp:out_of_range".
  const std::string& identifier() const { return identifier_; }
  /// In the order in which the catalog's text refers to them.
  const ErrorArguments& arguments() const { return arguments_; }
  const std::string& text() const { return text_; }
  const char* what() const noexcept override { return text_.c_str(); }

 private:
  std::string identifier_;
  ErrorArguments arguments_;
  std::string text_;
};

/// Turns the exception that is being handled into a HostError and raises that: a library error
/// keeps its identifier and arguments, a standard exception becomes "Tessel:cpp:" + its kind with
/// its `what()` as argument and text, a HostError stays what it is. REQUIRES: an exception is being
/// handled.
[[noreturn]] READKIT_EXPORT void raise_as_host_error();

/// Identifiers of the host's own errors; the catalog tells their arguments.
namespace id {

inline constexpr char kLibraryNotFound[] = "Tessel:host:LibraryNotFound";
inline constexpr char kLibraryDoesNotLoad[] = "Tessel:host:LibraryDoesNotLoad";
inline constexpr char kNoEntryPoint[] = "Tessel:host:NoEntryPoint";
inline constexpr char kNothingRegistered[] = "Tessel:host:NothingRegistered";
inline constexpr char kFunctionNotFound[] = "Tessel:host:FunctionNotFound";
inline constexpr char kNoFunction[] = "Tessel:host:NoFunction";
inline constexpr char kOutputCount[] = "Tessel:host:OutputCount";
inline constexpr char kNullInput[] = "Tessel:host:NullInput";
inline constexpr char kInvalidOutput[] = "Tessel:host:InvalidOutput";
inline constexpr char kInterrupted[] = "Tessel:host:Interrupted";
inline constexpr char kNullArray[] = "Tessel:array:NullArray";
inline constexpr char kWrongClass[] = "Tessel:array:WrongClass";
inline constexpr char kIndexOutOfRange[] = "Tessel:array:IndexOutOfRange";
inline constexpr char kEmptyArray[] = "Tessel:array:EmptyArray";
inline constexpr char kWrongElementCount[] = "Tessel:array:WrongElementCount";
inline constexpr char kBlockTooSmall[] = "Tessel:array:BlockTooSmall";
inline constexpr char kBlockInUse[] = "Tessel:array:BlockInUse";
inline constexpr char kArrayInUse[] = "Tessel:array:ArrayInUse";
inline constexpr char kNoSuchField[] = "Tessel:array:NoSuchField";
inline constexpr char kUnknownFeatureType[] =
    "seqlab:bamaccessgw:getfeaturesinrefbyindex:UnknownFeatureType";

}  // namespace id

}  // namespace readkit::host
