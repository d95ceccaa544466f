// Calls of scanQualities, held against the model, and what they are tried with.
//
//   const ScanReads reads = model_fastq_reads(read_file(native));
//   EXPECT_TRUE(scans_as(model_quality_scan(ScanSource::kFastq, reads, settings),
//                        scan_inputs(ScanSource::kFastq, native, settings)));
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/ustring.h"
#include "support/gateway_calls.h"
#include "support/quality_model.h"

namespace readkit {

/// The inputs of a call of scanQualities: a file by its native name, or reads as a structure.
Inputs scan_inputs(ScanSource source, const std::string& native, const ScanSettings& settings);
Inputs scan_inputs(const ScanReads& reads, const ScanSettings& settings);

/// Whether a call of scanQualities gives the model's tables, to the last bit, or fails as the model
/// does; an error of reading is to carry the file's name.
testing::AssertionResult scans_as(const ModelScan& expected, const Inputs& inputs,
                                  const UString& file = {});

/// Real FASTQ files as a test's parameter, compressed ones too, by their names within the folder of
/// real files; one empty name when there is no such folder. Their bytes, inflated.
std::vector<std::string> real_fastqs();
std::string real_fastq_bytes(const std::string& name);

/// Settings by name, for a source of so many records: such as every source is scanned with, and
/// the few that are for large ones.
struct NamedSettings {
  std::string name;
  ScanSettings settings;
};
std::vector<NamedSettings> scan_settings(std::size_t records);
std::vector<NamedSettings> few_scan_settings(std::size_t records);

}  // namespace readkit
