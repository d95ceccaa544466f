#include "fuzz/support/calls.h"

#include <set>
#include <string_view>

#include "fuzz/support/target.h"
#include "host/catalog.h"

namespace readkit::fuzz {
namespace {

// Not among them: files that cannot be opened or written, and exceptions without a kind.
const std::set<std::string_view>& of_files() {
  static const std::set<std::string_view> all = {"seqlab:readkit:InvalidBAMFormat",
                                                 "seqlab:readkit:BAMRead",
                                                 "seqlab:readkit:ZLIBInflate",
                                                 "seqlab:readkit:BGZFSeek",
                                                 "seqlab:readkit:ReferenceIDNotFound",
                                                 "seqlab:readkit:InvalidRegion",
                                                 "seqlab:readkit:InvalidHeaderSubset",
                                                 "seqlab:readkit:PositionTooBig",
                                                 "seqlab:readkit:BAMUnsorted",
                                                 "seqlab:readkit:InvalidBAIFormat",
                                                 "seqlab:readkit:BAIRead",
                                                 "seqlab:readkit:BadIndex",
                                                 "seqlab:readkit:InvalidTagType",
                                                 "seqlab:readkit:InvalidSAMFormat",
                                                 "seqlab:readkit:AllNHTagsMissing",
                                                 "seqlab:scanqualities:InvalidData",
                                                 "Tessel:cpp:out_of_range",
                                                 "Tessel:cpp:invalid_argument",
                                                 "Tessel:cpp:bad_alloc",
                                                 "Tessel:cpp:length_error"};
  return all;
}

}  // namespace

void require_documented(const char* name, const std::string& identifier, Hostile hostile) {
  // Arguments may be wrong in every way that the catalog has a text for, but for exceptions that
  // are nobody's.
  const bool of_arguments =
      hostile == Hostile::kArguments && host::find_entry(identifier) != nullptr &&
      !identifier.starts_with("Tessel:host:") && !identifier.ends_with(":bad_function_call") &&
      !identifier.ends_with(":exception");
  require(of_arguments || of_files().count(identifier) > 0,
          std::string(name) + " raises " + identifier);
}

Outcome call(const char* name, txGateway gateway, int nlhs, const Inputs& inputs, Hostile hostile) {
  std::vector<const txArray*> arrays;
  arrays.reserve(inputs.size());
  for (const host::Owned& input : inputs) arrays.push_back(input.get());
  const std::size_t arrays_before = host::live_arrays();
  const std::size_t blocks_before = host::live_blocks();
  Outcome outcome;
  outcome.error = error_of(
      name, [&] { outcome.outputs = host::call_entry(gateway, nlhs, arrays); }, hostile);
  if (!outcome.error.empty()) {
    require(host::live_arrays() == arrays_before && host::live_blocks() == blocks_before,
            std::string(name) + " leaves arrays behind an error");
  }
  return outcome;
}

}  // namespace readkit::fuzz
