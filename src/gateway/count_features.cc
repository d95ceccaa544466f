// Per-record summaries of a BAM file: what counting reads by feature needs, and where the records
// of a reference start.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <span>
#include <string>
#include <string_view>

#include "bam/bam.h"
#include "core/errors.h"
#include "core/monitor.h"
#include "gateway/arguments.h"
#include "gateway/gateways.h"
#include "gateway/results.h"
#include "records/field_text.h"

namespace readkit {
namespace {

// ---- getFeatureCountData ------------------------------------------------------------------------

enum MultiMapping : std::int64_t { kByNhTag = 1, kBySecondaryFlag = 2 };

struct Filters {
  std::int64_t multi_mapping = 0;
  bool require_both_ends_mapped = false;
  bool require_properly_mapped = false;
  double min_quality = 0;
};

struct Tallies {
  double total = 0;
  double unmapped = 0;
  double supplementary = 0;
  double below_min_quality = 0;
  double failed_pairing = 0;
  double multi_mapped = 0;
};

// The records that pass, in file order. Their texts lie one behind the other.
struct KeptRecords {
  HostValues<char> texts;
  HostValues<std::uint32_t> name_lengths;
  HostValues<std::uint32_t> cigar_lengths;
  HostValues<std::int32_t> starts;  // 1-based
  HostValues<std::int32_t> ends;    // 1-based, inclusive
  HostValues<std::int32_t> references;
  HostValues<std::int32_t> mate_starts;
  HostValues<std::uint16_t> flags;

  std::size_t size() const { return name_lengths.size(); }
  void add(const Alignment& record);
};

void KeptRecords::add(const Alignment& record) {
  const std::string_view name = record.read_name_text();
  const std::string cigar = record.cigar_string();
  texts.append(name);
  texts.append(cigar);
  name_lengths.push_back(static_cast<std::uint32_t>(name.size()));
  cigar_lengths.push_back(static_cast<std::uint32_t>(cigar.size()));
  starts.push_back(one_based(record.pos()));
  ends.push_back(record.cigar_endpos());
  references.push_back(record.ref_id());
  mate_starts.push_back(one_based(record.next_pos()));
  flags.push_back(static_cast<std::uint16_t>(record.flag()));
}

// Sorts records into the kept ones and five tallies, by filters in a fixed order.
class FeatureCounter {
 public:
  explicit FeatureCounter(const Filters& filters) : filters_(filters) {}

  void add(const Alignment& record) {
    ++tallies_.total;
    if (double* tally = rejecting_tally(record)) {
      ++*tally;
    } else {
      kept_.add(record);
    }
  }

  const Tallies& tallies() const { return tallies_; }
  KeptRecords& kept() { return kept_; }
  bool some_nh_missing() const { return some_nh_missing_; }
  // Counting by NH was asked for, records were kept, and not one record had the field.
  bool needs_nh() const {
    return kept_.size() > 0 && filters_.multi_mapping == kByNhTag && all_nh_missing_;
  }

 private:
  double* rejecting_tally(const Alignment& record) {
    const int flag = record.flag();
    if ((flag & record_format::kUnmapped) != 0) return &tallies_.unmapped;
    if ((flag & record_format::kSupplementary) != 0) return &tallies_.supplementary;
    // Kept: a threshold of 0 or less switches the quality test off.
    if (filters_.min_quality > 0 && filters_.min_quality > record.mapq()) {
      return &tallies_.below_min_quality;
    }
    if (fails_pairing(flag)) return &tallies_.failed_pairing;
    if (is_multi_mapped(record)) return &tallies_.multi_mapped;
    return nullptr;
  }

  bool fails_pairing(int flag) const {
    const bool paired = (flag & record_format::kPaired) != 0;
    const bool mate_unmapped = (flag & record_format::kMateUnmapped) != 0;
    const bool proper = (flag & record_format::kProperlyPaired) != 0;
    return (filters_.require_both_ends_mapped && paired && mate_unmapped) ||
           (filters_.require_properly_mapped && paired && !proper);
  }

  bool is_multi_mapped(const Alignment& record) {
    if (filters_.multi_mapping == kBySecondaryFlag) {
      return (record.flag() & record_format::kSecondary) != 0;
    }
    if (filters_.multi_mapping != kByNhTag) return false;
    const int hits = record.nh_tag();
    if (hits < 0) {
      some_nh_missing_ = true;
      return false;
    }
    all_nh_missing_ = false;
    return hits >= 2;
  }

  Filters filters_;
  Tallies tallies_;
  KeptRecords kept_;
  bool some_nh_missing_ = false;
  bool all_nh_missing_ = true;
};

// The first element of a plain, non-empty array of class `class_id`.
double plain_scalar(const txArray* a, txClassID class_id, const char* option,
                    const char* expected) {
  if (txGetClassID(a) != class_id || !txIsRealDense(a) || txGetNumberOfElements(a) == 0) {
    throw InvalidInputType(to_ustring(option), to_ustring(expected));
  }
  const double number = txGetScalar(a);
  return std::isnan(number) ? 0.0 : number;
}

std::int64_t rounded(double number) {
  constexpr double kLimit = 9.2e18;  // within 64 bits; no mode is this large
  return std::llround(std::clamp(number, -kLimit, kLimit));
}

Filters filters_from(const txArray* const* options) {
  Filters filters;
  const auto number = [](const txArray* a, const char* option) {
    return plain_scalar(a, txDOUBLE_CLASS, option, "double");
  };
  const auto truth = [](const txArray* a, const char* option) {
    return plain_scalar(a, txLOGICAL_CLASS, option, "logical scalar") != 0;
  };
  filters.multi_mapping = rounded(number(options[0], "countMultiMapped"));
  filters.require_both_ends_mapped = truth(options[1], "requireBothEndsMapped");
  filters.require_properly_mapped = truth(options[2], "requireProperlyMapped");
  filters.min_quality = number(options[3], "minQuality");
  return filters;
}

matrix::Owned make_tallies(const Tallies& t) {
  const double values[] = {t.unmapped,       t.supplementary, t.below_min_quality,
                           t.failed_pairing, t.multi_mapped,  t.total};
  matrix::Owned cells = make_cells(std::size(values));
  for (std::size_t i = 0; i < std::size(values); ++i) {
    txSetCell(cells.get(), i, txCreateDoubleScalar(values[i]));
  }
  return cells;
}

// A million texts take a while, in which nothing is read.
void require_work_allowed(std::size_t row, const BAM& bam) {
  constexpr std::size_t kBetween = std::size_t{1} << 16;
  if (row % kBetween == 0 && !Transfers::allow_work()) throw BAMRead(bam.path().text());
}

matrix::Owned make_reference_names(const KeptRecords& kept, const BAM& bam) {
  const std::span<const std::int32_t> references = kept.references.values();
  matrix::Owned cells = make_cells(references.size());
  for (std::size_t row = 0; row < references.size(); ++row) {
    require_work_allowed(row, bam);
    const int id = references[row];
    set_text(cells, row, id < 0 ? Alignment::FieldMissingStr : bam.header().get_ref(id).name());
  }
  return cells;
}

void make_text_outputs(const KeptRecords& kept, const BAM& bam, txArray** names_slot,
                       txArray** cigars_slot) {
  matrix::Owned names = make_cells(kept.size());
  matrix::Owned cigars = make_cells(kept.size());
  const std::span<const std::uint32_t> name_lengths = kept.name_lengths.values();
  const std::span<const std::uint32_t> cigar_lengths = kept.cigar_lengths.values();
  std::string_view rest(kept.texts.values().data(), kept.texts.size());
  for (std::size_t row = 0; row < kept.size(); ++row) {
    require_work_allowed(row, bam);
    set_text(names, row, rest.substr(0, name_lengths[row]));
    rest.remove_prefix(name_lengths[row]);
    set_text(cigars, row, rest.substr(0, cigar_lengths[row]));
    rest.remove_prefix(cigar_lengths[row]);
  }
  set_output(names_slot, std::move(names));
  set_output(cigars_slot, std::move(cigars));
}

// ---- getStartsInReference -----------------------------------------------------------------------

struct RecordStarts {
  HostValues<std::uint32_t> starts;  // 1-based
  HostValues<std::uint32_t> ends;    // 1-based, inclusive
  HostValues<std::uint16_t> flags;
};

}  // namespace

// [names, cigars, starts, ends, references, flags, mateStarts, tallies, someNHMissing] =
//     getFeatureCountData(bam, countMultiMapped, requireBothEndsMapped, requireProperlyMapped,
//                         minQuality)
void getFeatureCountData(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"getFeatureCountData", nrhs, 5, 5, nlhs, 9);
  FeatureCounter counter(filters_from(prhs + 1));
  BAM bam(path_argument(prhs[0]));
  bam.rewind();
  while (bam.next_alignment()) counter.add(bam);
  if (counter.needs_nh()) throw AllNHTagsMissing(bam.path().text());

  KeptRecords& kept = counter.kept();
  make_text_outputs(kept, bam, &plhs[0], &plhs[1]);
  set_output(&plhs[2], take_column(kept.starts));
  set_output(&plhs[3], take_column(kept.ends));
  set_output(&plhs[4], make_reference_names(kept, bam));
  set_output(&plhs[5], take_column(kept.flags));
  set_output(&plhs[6], take_column(kept.mate_starts));
  set_output(&plhs[7], make_tallies(counter.tallies()));
  set_output(&plhs[8], matrix::Owned(txCreateLogicalScalar(counter.some_nh_missing())));
}

// [starts, ends, flags] = getStartsInReference(bam, index, reference)
void getStartsInReference(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"getStartsInReference", nrhs, 3, 3, nlhs, 3);
  const Path index_path = index_path_argument(prhs[1]);
  const Path bam_path = path_argument(prhs[0]);
  const std::int32_t reference = int32_argument(prhs[2], "reference");
  BAM bam(bam_path);
  bam.open_index(index_path);

  RecordStarts records;
  constexpr int kEnd = static_cast<int>(kMaxReferenceLength);
  bam.find_init(reference, 0, kEnd);
  while (bam.find_next(reference, 0, kEnd)) {
    records.starts.push_back(static_cast<std::uint32_t>(bam.pos()) + 1);
    records.ends.push_back(static_cast<std::uint32_t>(bam.cigar_endpos()));
    records.flags.push_back(static_cast<std::uint16_t>(bam.flag()));
  }
  if (nlhs >= 1) set_output(&plhs[0], take_column(records.starts));
  if (nlhs >= 2) set_output(&plhs[1], take_column(records.ends));
  if (nlhs >= 3) set_output(&plhs[2], take_column(records.flags));
}

}  // namespace readkit
