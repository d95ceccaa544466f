#include "check/index_file.h"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include "bam/bai.h"
#include "bam/bai_format.h"

namespace readkit {
namespace {

constexpr std::int64_t kMostWindows = kMaxReferenceLength >> kLinearShift;
constexpr std::int32_t kMetadataChunks = 2;

class IndexReader {
 public:
  IndexReader(File& file, Findings& findings) : file_(file), findings_(findings) {}

  IndexSummary run() {
    std::array<std::uint8_t, bai_magic.size()> magic{};
    if (file_.read(magic.data(), magic.size()) < magic.size() || magic != bai_magic) {
      findings_.add(FindingKind::kIndexMagic, 0, 0, "the file does not begin as an index does");
      return summary_;
    }
    const auto references = read<std::int32_t>();
    if (references < 0) add(FindingKind::kIndexLength, "the count of references is ", references);
    for (reference_ = 0; reference_ < references && goes_on_; ++reference_) read_reference();
    if (!goes_on_) return summary_;
    summary_.is_whole = true;
    read_end();
    return summary_;
  }

 private:
  template <typename... Parts>
  void add(FindingKind kind, const Parts&... parts) {
    findings_.add(kind, at_, 0, parts...);
  }

  // The next value; 0 when there is none left.
  template <typename T>
  T read() {
    T value{};
    if (!goes_on_) return value;
    at_ = file_.tell();
    if (file_.read(&value, sizeof value) == sizeof value) return value;
    goes_on_ = false;
    add(file_.read_failed() ? FindingKind::kReadFailed : FindingKind::kIndexTruncated,
        "the index cannot be read on here");
    return T{};
  }
  std::int32_t read_count() {
    const auto count = read<std::int32_t>();
    if (count >= 0) return count;
    add(FindingKind::kIndexLength, "a count in reference ", reference_, " is ", count);
    goes_on_ = false;
    return 0;
  }

  void read_reference() {
    const std::int32_t bins = read_count();
    for (std::int32_t i = 0; i < bins && goes_on_; ++i) read_bin();
    const std::int32_t windows = read_count();
    if (windows > kMostWindows) {
      add(FindingKind::kIndexLinear, "reference ", reference_, " has ", windows,
          " windows, more than positions can have");
    }
    std::uint64_t highest = 0;
    bool goes_up = true;
    for (std::int32_t i = 0; i < windows && goes_on_; ++i) {
      const auto offset = read<std::uint64_t>();
      if (goes_up && offset != 0 && offset < highest) {
        add(FindingKind::kIndexLinear, "window ", i, " of reference ", reference_,
            " begins before one that precedes it");
        goes_up = false;
      }
      highest = std::max(highest, offset);
    }
  }

  void read_bin() {
    const auto number = read<std::uint32_t>();
    if (goes_on_) check_number(number);
    const std::int32_t chunks = read_count();
    if (number == kMetadataBin) return read_metadata(chunks);
    for (std::int32_t i = 0; i < chunks && goes_on_; ++i) {
      const auto beg = read<std::uint64_t>();
      const auto end = read<std::uint64_t>();
      if (goes_on_ && end < beg) {
        add(FindingKind::kIndexChunk, "a chunk of bin ", number, " of reference ", reference_,
            " ends before it begins");
      }
    }
  }
  void check_number(std::uint32_t number) {
    if (number > kMetadataBin) {
      add(FindingKind::kIndexBin, "reference ", reference_, " has a bin ", number,
          ", which does not exist");
      return;
    }
    if (bin_seen_[number] == reference_ + 1) {
      add(FindingKind::kIndexBin, "bin ", number, " of reference ", reference_, " comes again");
    }
    bin_seen_[number] = reference_ + 1;
  }
  void read_metadata(std::int32_t chunks) {
    if (goes_on_ && chunks != kMetadataChunks) {
      add(FindingKind::kIndexMetadata, "the pseudo-bin of reference ", reference_, " has ", chunks,
          " chunks instead of 2");
    }
    for (std::int32_t i = 0; i < chunks && goes_on_; ++i) {
      const auto first = read<std::uint64_t>();
      const auto second = read<std::uint64_t>();
      if (i == 1) summary_.records += first + second;
    }
  }

  // The optional count of records without a reference, and what should not be there.
  void read_end() {
    at_ = file_.tell();
    std::uint64_t count = 0;
    const std::size_t got = file_.read(&count, sizeof count);
    summary_.has_count = got == sizeof count;
    if (summary_.has_count) summary_.records += count;
    const bool is_partial = got != 0 && !summary_.has_count;
    if (!is_partial) at_ = file_.tell();
    if (is_partial || file_.peek(1) != nullptr) {
      add(FindingKind::kIndexTrailing, "bytes follow that belong to nothing");
    }
  }

  File& file_;
  Findings& findings_;
  IndexSummary summary_;
  // The reference, plus 1, in which a bin came last.
  std::vector<std::int32_t> bin_seen_ = std::vector<std::int32_t>(kMetadataBin + 1);
  std::int32_t reference_ = 0;
  std::uint64_t at_ = 0;  // the offset of the value that was read last
  bool goes_on_ = true;
};

}  // namespace

IndexSummary check_index_file(File& file, Findings& findings) {
  const IndexSummary summary = IndexReader(file, findings).run();
  add_read_failure(file, findings);
  return summary;
}

}  // namespace readkit
