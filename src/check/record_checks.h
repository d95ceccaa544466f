// What is checked of one BAM record whose parts fit into it.
#pragma once

#include <cstdint>
#include <vector>

#include "check/findings.h"
#include "check/tag_names.h"
#include "header/bam_header.h"
#include "records/alignment.h"

namespace readkit {

/// Checks records against the dictionary of a header; without a dictionary (one that could not be
/// read), reference indexes and positions only against what any file can have. Allocates nothing
/// for a record that nothing is wrong with.
class RecordChecks {
 public:
  /// `lengths` are those of the references, null when they are not known; both arguments must
  /// outlive this object.
  RecordChecks(const std::vector<Reference>* references, Findings& findings);

  /// Adds what is wrong with `record`, which lies at the virtual offset `offset`, to the findings.
  /// REQUIRES: record.is_well_formed().
  void check(const Alignment& record, std::uint64_t offset, std::uint64_t ordinal);

 private:
  void check_name(const Alignment& record);
  void check_reference(FindingKind index_kind, FindingKind position_kind, int index, int pos);
  void check_cigar(const Alignment& record);
  void check_bin(const Alignment& record, std::int64_t end);
  void check_qualities(const Alignment& record);
  void check_tags(const Alignment& record);

  template <typename... Parts>
  void add(FindingKind kind, const Parts&... parts) {
    findings_.add(kind, offset_, ordinal_, parts...);
  }

  const std::vector<Reference>* references_;
  Findings& findings_;
  std::uint64_t offset_ = 0;   // of the record
  std::uint64_t ordinal_ = 0;  // of the record
  TagNames names_;
};

/// One past the last reference base that `record` covers, one base at least. REQUIRES:
/// record.is_well_formed().
std::int64_t covered_end(const Alignment& record);

}  // namespace readkit
