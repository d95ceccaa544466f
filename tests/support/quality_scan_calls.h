// Calls of scanQualities on four small reads, whose counts are easily done by hand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/bam_builder.h"
#include "support/gateway_calls.h"
#include "support/quality_scans.h"
#include "support/temp_dir.h"

namespace readkit {

using Values = std::vector<double>;

/// The elements of a double matrix of exactly this shape, column by column.
inline Values matrix_of(const host::Owned& a, std::size_t rows, std::size_t columns) {
  expect_shape(a, txDOUBLE_CLASS, rows, columns);
  const std::span<const double> values = host::data_of<double>(a.get());
  return {values.begin(), values.end()};
}
/// The elements of every output.
inline std::vector<Values> values_of(const Outputs& outputs) {
  std::vector<Values> all;
  for (const host::Owned& output : outputs) all.push_back(host::numbers_of(output.get()));
  return all;
}

/// The settings of a call; as they stand, every read is counted whole.
struct ScanOptions {
  std::int64_t type = 1;
  std::string source = "a.fastq";
  std::int64_t min_quality = 0;
  std::int64_t max_quality = 3;
  std::int64_t offset = 33;
  std::int64_t ignore_value = -1;
  std::int64_t read_length = -1;
  double min_average = 0;
  std::int64_t selected_count = -1;
  std::vector<std::int64_t> selected = {};
  std::int64_t min_length = -1;
  std::int64_t scan_start = 0;
  std::int64_t scan_end = -1;
  bool flag = true;

  /// The inputs of the call in their order, the source being a file of the folder.
  Inputs inputs(const TempDir& folder) const {
    return readkit::inputs(
        host::make_scalar(type), text(folder, source), host::make_scalar(min_quality),
        host::make_scalar(max_quality), host::make_scalar(offset), host::make_scalar(ignore_value),
        host::make_scalar(read_length), host::make_scalar(min_average),
        host::make_scalar(selected_count), host::make_row(selected), host::make_scalar(min_length),
        host::make_scalar(scan_start), host::make_scalar(scan_end), host::make_scalar(flag));
  }
};

/// The reads: qualities 0123, 333, 20 and 3232.
struct SmallRead {
  const char* bases;
  const char* qualities;
};
inline constexpr SmallRead kSmallReads[] = {
    {"ACGT", "!\"#$"}, {"GGC", "$$$"}, {"NN", "#!"}, {"ACGT", "$#$#"}};

/// The reads as a structure of the host.
inline host::Owned small_struct() {
  std::vector<std::string> sequences;
  std::vector<std::string> qualities;
  for (const SmallRead& read : kSmallReads) {
    sequences.emplace_back(read.bases);
    qualities.emplace_back(read.qualities);
  }
  std::vector<std::pair<std::string, host::Owned>> fields;
  fields.emplace_back("Sequence", host::make_cell_of_texts(sequences));
  fields.emplace_back("Quality", host::make_cell_of_texts(qualities));
  return host::make_struct(std::move(fields));
}

/// The reads as "a.fastq", "a.sam" and "a.bam" of a folder, or with another base name.
inline void write_small_reads(const TempDir& folder, const std::string& base = "a") {
  std::string fastq;
  std::string sam = "@SQ\tSN:chr1\tLN:100\n";
  BamBuilder bam;
  bam.refs(1, 100);
  for (const auto& [bases, qualities] : kSmallReads) {
    fastq += std::string("@r\n") + bases + "\n+\n" + qualities + "\n";
    sam += std::string("r\t0\tchr1\t5\t0\t*\t*\t0\t0\t") + bases + "\t" + qualities + "\n";
    bam.record(RecordBuilder("r").at(0, 4).seq(bases).qual(qualities));
  }
  folder.write(base + ".fastq", fastq);
  folder.write(base + ".sam", sam);
  bam.write(folder, base + ".bam");
}

/// A folder with the reads as "a.fastq", "a.sam" and "a.bam".
class SmallScans : public testing::Test {
 protected:
  SmallScans() { write_small_reads(folder_); }

  Outputs scan(int nlhs) const {
    return call_gateway("scanQualities", nlhs, options_.inputs(folder_));
  }
  // The counted reads by their length.
  Lengths counted() const {
    const Values table = host::numbers_of(scan(6)[5].get());
    Lengths lengths;
    for (std::size_t i = 0; i < table.size() / 2; ++i) {
      lengths[static_cast<int>(table[i])] = static_cast<std::int64_t>(table[table.size() / 2 + i]);
    }
    return lengths;
  }
  TempDir folder_;
  ScanOptions options_;
  LeakCheck leaks_;
};

}  // namespace readkit
