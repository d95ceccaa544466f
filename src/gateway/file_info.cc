// Whether a file is sorted, and how many records each reference has.
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "bam/bam.h"
#include "core/errors.h"
#include "gateway/arguments.h"
#include "gateway/gateways.h"
#include "gateway/results.h"
#include "sam/sam.h"

namespace readkit {
namespace {

// The state of a whole-file scan: counts by reference index + 1, and the order of what has come.
class RecordTally {
 public:
  /// `limit` is one past the highest reference index that counts.
  explicit RecordTally(int limit) : limit_(limit) {}

  /// Raises ReferenceIDNotFound for an index at or beyond the limit.
  void add(const Alignment& record) {
    count(record.ref_id());
    check_order(record.ref_id(), record.pos());
  }

  bool sorted() const { return sorted_; }
  const std::vector<double>& counts() const { return counts_; }

 private:
  void count(int ref) {
    if (ref >= limit_) throw ReferenceIDNotFound(to_ustring(ref));
    const auto slot = static_cast<std::size_t>(std::max(ref, -1) + 1);
    if (counts_.size() <= slot) counts_.resize(slot + 1);
    ++counts_[slot];
  }

  void check_order(int ref, int pos) {
    if (ref == previous_ref_) {
      if (ref >= 0 && pos < previous_pos_) {
        sorted_ = false;
      } else {
        previous_pos_ = pos;
      }
    } else if (ref < 0) {
      previous_ref_ = -1;
      previous_pos_ = 0;
    } else if (ref <= previous_ref_ || previous_ref_ == -1) {
      sorted_ = false;
    } else {
      previous_ref_ = ref;
      previous_pos_ = pos;
    }
  }

  int limit_;
  int previous_ref_ = -2;
  int previous_pos_ = 0;
  bool sorted_ = true;
  std::vector<double> counts_;
};

}  // namespace

// [sorted, counts] = bamInfo(bam)
void bamInfo(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"bamInfo", nrhs, 1, 1, nlhs, 2);
  BAM bam(path_argument(prhs[0]));
  if (nlhs == 1) {
    set_output(&plhs[0], matrix::Owned(txCreateLogicalScalar(bam.is_sorted())));
  } else if (nlhs == 2) {
    RecordTally tally(bam.reference_limit());
    bam.rewind();
    while (bam.next_alignment()) tally.add(bam);
    set_output(&plhs[0], matrix::Owned(txCreateLogicalScalar(tally.sorted())));
    set_output(&plhs[1], make_column<double>(tally.counts()));
  }
}

// [sorted, counts, names] = samInfo(sam)
void samInfo(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"samInfo", nrhs, 1, 1, nlhs, 3);
  SAM sam(path_argument(prhs[0]), "r");
  bool sorted = false;
  std::vector<std::uint32_t> counts;
  std::vector<std::string> names;
  sam.kxsaminfo(sorted, counts, names, nlhs);
  set_output(&plhs[0], matrix::Owned(txCreateLogicalScalar(sorted)));
  if (nlhs >= 2) {
    const std::vector<double> numbers(counts.begin(), counts.end());
    set_output(&plhs[1], make_column<double>(numbers));
  }
  if (nlhs >= 3) {
    matrix::Owned cells = make_cells(counts.size());
    for (std::size_t row = 0; row < names.size(); ++row) set_text(cells, row, names[row]);
    set_output(&plhs[2], std::move(cells));
  }
}

}  // namespace readkit
