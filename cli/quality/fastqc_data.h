// A document's numbers in the text format that FastQC writes and that tools for many samples read.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace readkit::cli {

/// The text of fastqc_data.txt for one sample of a document: the modules of which a scan knows the
/// numbers. Modules have the status of the verdicts on them.
std::string fastqc_data(const nlohmann::ordered_json& sample, const std::string& version);

}  // namespace readkit::cli
