#include "check/check.h"

#include <cstddef>
#include <optional>

#include "check/bam_file.h"
#include "check/fastq_file.h"
#include "check/file_kind.h"
#include "check/index_checks.h"
#include "check/index_file.h"
#include "check/sam_file.h"
#include "core/errors.h"
#include "core/file.h"

namespace readkit {
namespace {

void check_index(File& file, CheckResult& result) {
  const IndexSummary summary = check_index_file(file, result.findings);
  result.kind = "BAI";
  result.records = summary.records;
  result.end_marker = summary.has_count;
}

void add_unknown(std::string_view what, CheckResult& result) {
  result.findings.add(FindingKind::kUnknownKind, 0, 0, what);
}

}  // namespace

CheckResult check_file(const Path& path, const Path* index) {
  File file(path, "rb");
  if (!file.is_open()) throw FileNotFound(path.text());
  CheckResult result;
  std::optional<IndexChecks> index_checks;
  if (index != nullptr) index_checks.emplace(*index, result.findings);
  const bool is_whole = file.peek(File::kMaxPeek) == nullptr;
  const std::size_t size = file.available();
  switch (file_kind({file.peek(size), size}, is_whole)) {
    case FileKind::kBgzf:
      check_bam(file, index_checks ? &*index_checks : nullptr, result);
      break;
    case FileKind::kIndex:
      check_index(file, result);
      break;
    case FileKind::kSam:
      check_sam(file, result);
      break;
    case FileKind::kFastq:
      check_fastq(file, result);
      break;
    case FileKind::kEmpty:
      if (!file.read_failed()) add_unknown("the file is empty", result);
      break;
    case FileKind::kGzip:
      add_unknown("a gzip file that is not made of blocks; decompress it to check it", result);
      break;
    case FileKind::kUnknown:
      add_unknown("the file begins as no BAM, SAM, BAI or FASTQ file does", result);
      break;
  }
  add_read_failure(file, result.findings);
  return result;
}

}  // namespace readkit
