// Which records a scan takes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "quality/encoding.h"

namespace readkit {

/// Walks along the record numbers of the settings, which must ascend, while the records come.
class ScanSelection {
 public:
  enum class Verdict { kTake, kPassOver, kStop };

  explicit ScanSelection(const encoding_t& encoding) : encoding_(encoding) {}

  /// To be asked once of every record, in file order; `record` is 0-based. `kStop` when no wanted
  /// record is left.
  Verdict judge(std::int64_t record) {
    if (!encoding_.has_indices) return Verdict::kTake;
    if (next_ == encoding_.indices.size()) return Verdict::kStop;
    if (encoding_.indices[next_] != record) return Verdict::kPassOver;
    ++next_;
    return Verdict::kTake;
  }

 private:
  const encoding_t& encoding_;
  std::size_t next_ = 0;
};

}  // namespace readkit
