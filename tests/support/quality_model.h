// A slow computation of what scanQualities gives, one plain step after the other, to compare the
// library with.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace readkit {

using RecordNumbers = std::vector<std::int64_t>;

/// The settings of a scan. The default ignores no quality that a byte can hold.
struct ScanSettings {
  std::int64_t min_quality = 0;
  std::int64_t max_quality = 93;
  std::int64_t offset = 33;
  std::int64_t ignore_value = 1000;
  std::int64_t read_length = -1;
  double min_average = 0;
  std::optional<RecordNumbers> selected = std::nullopt;  ///< all records when there is no list
  std::int64_t min_length = -1;
  std::int64_t scan_start = 0;
  std::int64_t scan_end = -1;
  bool flag = false;  ///< records without a reference are scanned, too
};

/// The kinds of sources by their numbers; they differ in what they check before the selection.
enum class ScanSource : std::int64_t { kFastq = 1, kSam = 2, kBam = 3, kMemory = 4 };

struct ScanRead {
  std::string bases;
  std::string qualities;  ///< characters
  bool has_reference = true;
};
struct ScanReads {
  std::vector<ScanRead> reads;
  std::string error = {};  ///< the identifier of what the read behind the last one raises
};

/// The reads of a file's bytes. No line of a FASTQ file may have a NUL behind its first 998 bytes;
/// for what a file of alignments must be see `model_bam_source` and `model_sam_source`.
ScanReads model_fastq_reads(std::string_view file);
ScanReads model_bam_reads(std::string_view file);
ScanReads model_sam_reads(std::string_view file);

/// A matrix, column by column.
struct ModelTable {
  std::size_t rows = 0;
  std::size_t columns = 0;
  std::vector<double> values = {};
};
/// The six outputs, or the identifier of the error that there is instead.
struct ModelScan {
  std::array<ModelTable, 6> outputs;
  std::string error;
};
inline constexpr char kInvalidData[] = "seqlab:scanqualities:InvalidData";
inline constexpr char kOutOfRange[] = "Tessel:cpp:out_of_range";

ModelScan model_quality_scan(ScanSource source, const ScanReads& reads,
                             const ScanSettings& settings);

/// How many entries the table of qualities has at least once the longest read is counted.
std::size_t model_entries(const ScanReads& reads, const ScanSettings& settings);

}  // namespace readkit
