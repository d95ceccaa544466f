#include "support/expect_kind.h"

#include <set>

namespace readkit {

std::string describe(const std::string& id, const ErrorArguments& arguments) {
  std::string text = id + "(";
  const char* separator = "";
  for (const ErrorArgument& argument : arguments) {
    text += separator;
    separator = ", ";
    if (const auto* number = std::get_if<std::int64_t>(&argument)) {
      text += std::to_string(*number);
    } else if (const auto* narrow = std::get_if<std::string>(&argument)) {
      text += '"' + *narrow + '"';
    } else {
      text += "u\"" + to_bytes(std::get<UString>(argument)) + '"';
    }
  }
  return text + ")";
}

std::string expected_id(const std::string& kind) {
  static const std::set<std::string> quality_kinds = {
      "InvalidData",   "UnableToOpenFile",      "MemoryDataInvalid",
      "MemoryNotCell", "NumSeqNotEqualNumQual", "InvalidDataSourceType"};
  static const std::set<std::string> text_kinds = {"MustBeStringScalarOrCharacterVector",
                                                   "MissingNotSupported"};
  if (quality_kinds.count(kind) != 0) return "seqlab:scanqualities:" + kind;
  if (text_kinds.count(kind) != 0) return "Tessel:string:" + kind;
  return "seqlab:readkit:" + kind;
}

std::string describe_current_exception() {
  try {
    throw;
  } catch (const MsgIdException& error) {
    return describe(error.get_error_id(), error.arguments());
  } catch (const std::exception& error) {
    return std::string(typeid(error).name()) + "(" + error.what() + ")";
  } catch (...) {
    return "something that is no exception";
  }
}

}  // namespace readkit
