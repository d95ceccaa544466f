#include "support/quality_model.h"

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

#include "support/conversion_model.h"
#include "support/reference_decoder.h"

namespace readkit {
namespace {

struct ScanError {
  std::string identifier;
};

// ---- Reads -------------------------------------------------------------------------------------

// A line's text ends at a NUL, and at the '\r' right before its newline.
std::string take_line(std::string_view& file) {
  const std::size_t newline = file.find('\n');
  std::string line(file.substr(0, newline));
  file.remove_prefix(newline == std::string_view::npos ? file.size() : newline + 1);
  const std::size_t nul = line.find('\0');
  if (nul != std::string::npos) {
    line.resize(nul);
  } else if (newline != std::string_view::npos && line.ends_with('\r')) {
    line.pop_back();
  }
  return line;
}

ScanReads reads_of(const ModelSource& source) {
  ScanReads all;
  for (const std::string& record : source.records) {
    const DecodedRecord fields = model_fields(record);
    all.reads.push_back({fields.seq, fields.qual, fields.ref_id >= 0});
  }
  const std::string& error = source.error;
  if (error.starts_with("std::")) {
    all.error = "Tessel:cpp:" + error.substr(5, error.find('(') - 5);
  } else if (!error.empty()) {
    all.error = "seqlab:readkit:" + error;
  }
  return all;
}

// ---- Counting ----------------------------------------------------------------------------------

class Scan {
 public:
  explicit Scan(const ScanSettings& settings) : s_(settings) {
    if (s_.max_quality < s_.min_quality) throw ScanError{kInvalidData};
    if (s_.max_quality - s_.min_quality >= kMost) throw ScanError{kInvalidData};
    rows_ = s_.max_quality - s_.min_quality + 1;
    if (s_.read_length != -1) {
      s_.scan_start = 0;
      s_.scan_end = s_.read_length - 1;
    }
    make_room(s_.read_length != -1 ? s_.read_length : 1000);
    constexpr std::int64_t kLowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t kHighest = std::numeric_limits<std::int32_t>::max();
    const bool fits =
        s_.scan_start <= kHighest && s_.scan_end >= kLowest && s_.scan_end <= kHighest;
    if (!fits) throw ScanError{kInvalidData};
    averages_.resize(static_cast<std::size_t>(rows_ - 1));
    gc_.resize(20);
  }

  // The values of quality characters, or nothing when one is out of range.
  std::optional<std::vector<int>> values_of(const std::string& characters) const {
    std::vector<int> values;
    values.reserve(characters.size());
    for (const char character : characters) {
      const std::int64_t value = static_cast<signed char>(character) - s_.offset;
      const bool is_byte = value >= -128 && value <= 127;
      if (!is_byte || value < s_.min_quality || value > s_.max_quality) return std::nullopt;
      values.push_back(static_cast<int>(value));
    }
    return values;
  }

  void count(const std::string& bases, const std::vector<int>& qualities) {
    const std::int64_t last = static_cast<std::int64_t>(bases.size()) - 1;
    const std::int64_t start = std::max<std::int64_t>(s_.scan_start, 0);
    const std::int64_t end = s_.scan_end != -1 && s_.scan_end <= last ? s_.scan_end : last;
    const std::int64_t n = end - start + 1;
    std::int64_t sum = 0;
    std::int64_t counted = 0;
    for (std::int64_t i = start; i <= end; ++i) {
      if (qualities[static_cast<std::size_t>(i)] == s_.ignore_value) continue;
      sum += qualities[static_cast<std::size_t>(i)];
      ++counted;
    }
    double average = 0;
    if (start <= end) {
      average = counted == 0 ? std::numeric_limits<double>::lowest()
                             : static_cast<double>(sum) / static_cast<double>(counted);
    }
    if (average < s_.min_average) return;
    if (n == 0 || (s_.min_length != -1 && n < s_.min_length)) return;
    ++lengths_[n];
    if (n > capacity_) make_room(2 * n);
    ++reads_;
    widen(n);
    count_bases(bases, start, end);
    for (std::int64_t i = start; i <= end; ++i) {
      const std::int64_t quality = qualities[static_cast<std::size_t>(i)];
      if (quality == s_.ignore_value) continue;
      const std::int64_t row = quality - s_.min_quality;
      ++qualities_[static_cast<std::size_t>(rows_ * (i - start) + row)];
    }
    if (counted > 0) count_average(sum / counted);
  }

  std::array<ModelTable, 6> outputs() const {
    ModelTable lengths{lengths_.size(), 2, {}};
    for (const auto& [length, reads] : lengths_) {
      lengths.values.push_back(static_cast<double>(length));
    }
    for (const auto& [length, reads] : lengths_) lengths.values.push_back(reads);
    const auto columns = static_cast<std::size_t>(longest_);
    return {ModelTable{1, averages_.size(), averages_},
            ModelTable{static_cast<std::size_t>(rows_), columns, qualities_},
            ModelTable{1, gc_.size(), gc_},
            ModelTable{5, columns, bases_},
            ModelTable{1, 1, {reads_}},
            lengths};
  }

 private:
  static constexpr std::int64_t kMost = std::int64_t{1} << 31;

  void make_room(std::int64_t columns) {
    const bool fits = columns >= 0 && columns <= kMost / std::max<std::int64_t>(rows_, 5);
    if (!fits) throw ScanError{kInvalidData};
    capacity_ = columns;
  }

  void widen(std::int64_t n) {
    longest_ = std::max(longest_, n);
    qualities_.resize(static_cast<std::size_t>(rows_ * longest_));
    bases_.resize(static_cast<std::size_t>(5 * longest_));
  }

  void count_bases(const std::string& bases, std::int64_t start, std::int64_t end) {
    const std::int64_t n = end - start + 1;
    std::int64_t gc = 0;
    for (std::int64_t i = start; i <= end; ++i) {
      const char letter = bases[static_cast<std::size_t>(i)];
      const std::int64_t row = letter == 'A'   ? 0
                               : letter == 'C' ? 1
                               : letter == 'G' ? 2
                               : letter == 'T' ? 3
                                               : 4;
      ++bases_[static_cast<std::size_t>(5 * (i - start) + row)];
      if (letter == 'C' || letter == 'G') ++gc;
    }
    ++gc_.at(static_cast<std::size_t>(gc == n ? 19 : 20 * gc / n));
  }

  void count_average(std::int64_t average) {
    if (average >= s_.max_quality) average = s_.max_quality - 1;
    const std::int64_t bin = average - s_.min_quality;
    if (bin < 0 || bin >= rows_ - 1) throw ScanError{kOutOfRange};
    ++averages_[static_cast<std::size_t>(bin)];
  }

  ScanSettings s_;
  std::int64_t rows_ = 0;
  std::int64_t capacity_ = 0;
  std::int64_t longest_ = 0;
  double reads_ = 0;
  std::vector<double> averages_;
  std::vector<double> qualities_;
  std::vector<double> gc_;
  std::vector<double> bases_;
  std::map<std::int64_t, double> lengths_;
};

// ---- Sources -----------------------------------------------------------------------------------

// The selected numbers are taken one by one, each when its record comes.
class Selection {
 public:
  explicit Selection(const std::optional<RecordNumbers>& numbers) : numbers_(numbers) {}
  bool is_used_up() const { return numbers_.has_value() && next_ == numbers_->size(); }
  // REQUIRES: not used up.
  bool takes(std::int64_t number) {
    if (!numbers_.has_value()) return true;
    if ((*numbers_)[next_] != number) return false;
    ++next_;
    return true;
  }

 private:
  const std::optional<RecordNumbers>& numbers_;
  std::size_t next_ = 0;
};

// What is wrong with a FASTQ record matters once it is taken; a record without bases is all right.
// These return whether the records came to their end.
bool scan_fastq(const std::vector<ScanRead>& reads, Scan& scan, Selection& selection) {
  for (std::size_t i = 0; i < reads.size(); ++i) {
    const ScanRead& read = reads[i];
    if (selection.is_used_up()) return false;
    if (!selection.takes(static_cast<std::int64_t>(i)) || read.bases.empty()) continue;
    const auto values = scan.values_of(read.qualities);
    if (read.bases.size() != read.qualities.size() || !values) throw ScanError{kInvalidData};
    scan.count(read.bases, *values);
  }
  return true;
}

// Of the other sources every record is checked, unless `is_passed_over`, which comes first.
template <typename Test>
bool scan_checked(const std::vector<ScanRead>& reads, const Test& is_passed_over, Scan& scan,
                  Selection& selection) {
  for (std::size_t i = 0; i < reads.size(); ++i) {
    const ScanRead& read = reads[i];
    if (is_passed_over(read)) continue;
    const auto values = scan.values_of(read.qualities);
    if (read.bases.size() != read.qualities.size() || !values) throw ScanError{kInvalidData};
    if (selection.is_used_up()) return false;
    if (selection.takes(static_cast<std::int64_t>(i))) scan.count(read.bases, *values);
  }
  return true;
}

bool scan_source(ScanSource source, const std::vector<ScanRead>& reads,
                 const ScanSettings& settings, Scan& scan) {
  Selection selection(settings.selected);
  if (source == ScanSource::kFastq) return scan_fastq(reads, scan, selection);
  const auto is_empty = [](const ScanRead& read) { return read.bases.empty(); };
  const auto is_left_out = [&](const ScanRead& read) {
    return !read.has_reference && !settings.flag;
  };
  return source == ScanSource::kMemory ? scan_checked(reads, is_empty, scan, selection)
                                       : scan_checked(reads, is_left_out, scan, selection);
}

}  // namespace

ScanReads model_fastq_reads(std::string_view file) {
  ScanReads all;
  // An empty line in place of a header ends the file.
  while (!take_line(file).empty()) {
    const std::string bases = take_line(file);
    take_line(file);
    all.reads.push_back({bases, take_line(file)});
  }
  return all;
}

ScanReads model_bam_reads(std::string_view file) { return reads_of(model_bam_source(file)); }
ScanReads model_sam_reads(std::string_view file) { return reads_of(model_sam_source(file)); }

ModelScan model_quality_scan(ScanSource source, const ScanReads& reads,
                             const ScanSettings& settings) {
  try {
    Scan scan(settings);
    const bool came_to_end = scan_source(source, reads.reads, settings, scan);
    if (came_to_end && !reads.error.empty()) return {{}, reads.error};
    return {scan.outputs(), {}};
  } catch (const ScanError& error) {
    return {{}, error.identifier};
  }
}

std::size_t model_entries(const ScanReads& reads, const ScanSettings& settings) {
  std::size_t longest = 0;
  for (const ScanRead& read : reads.reads) longest = std::max(longest, read.bases.size());
  const std::int64_t end =
      settings.read_length != -1 ? settings.read_length - 1 : settings.scan_end;
  if (end >= 0) longest = std::min(longest, static_cast<std::size_t>(end) + 1);
  return longest * static_cast<std::size_t>(settings.max_quality - settings.min_quality + 1);
}

}  // namespace readkit
