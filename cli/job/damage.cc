#include "cli/job/damage.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "cli/job/check_result.h"
#include "cli/job/job.h"

namespace readkit::cli {
namespace {

// A second or so of work.
constexpr std::uintmax_t kMostBytes = std::uintmax_t{1} << 28;

// The findings of a check that end what reads a file; records with wrong values do not.
constexpr std::array<std::string_view, 15> kEndingFindings = {
    "BlockHeader", "BlockData",    "BlockLength",     "BlockTruncated", "EndMarker",
    "HeaderMagic", "HeaderLength", "HeaderTruncated", "RecordLayout",   "RecordTruncated",
    "RecordsLost", "FieldCount",   "Sequence",        "CigarOp",        "Tag"};

}  // namespace

std::string first_damage(Job& job, const Input& input) {
  std::error_code error;
  if (std::filesystem::file_size(input.path(), error) > kMostBytes || error) return {};
  const CheckResult result = check_result(job.call("kxCheck", 1, input.path())[0].get());
  const auto found =
      std::find_if(result.findings.begin(), result.findings.end(), [](const Finding& finding) {
        return std::find(kEndingFindings.begin(), kEndingFindings.end(), finding.identifier) !=
               kEndingFindings.end();
      });
  if (found == result.findings.end()) return {};
  const std::string record =
      found->record == 0 ? "" : "record " + std::to_string(found->record) + ", ";
  const char* const place = input.kind() == Kind::kBam ? "offset " : "line ";
  return record + place + std::to_string(found->offset) + ": " + found->text;
}

}  // namespace readkit::cli
