// An independent program for the same formats, asked for its opinion.
#pragma once

#include <string>
#include <vector>

#include "support/index_model.h"

namespace readkit {

/// The lines that `samtools <arguments>` prints; a run that fails is a test failure.
std::vector<std::string> samtools(const std::vector<std::string>& arguments);

/// `line` without its newline, cut at every TAB.
std::vector<std::string> split_tabs(const std::string& line);

/// A real BAM file as the test's parameter: by its name within the folder of real files, empty when
/// there is no such folder.
std::vector<std::string> real_bams();
/// A name that a test may have: letters, digits and underscores.
std::string test_name(const std::string& file);
/// The index of another writer beside a BAM file; empty when there is none.
std::string index_beside(const std::string& bam);

/// Whether the file ends with an end marker. One that does not cannot be read to its end: its last
/// read raises InvalidBAMFormat.
bool has_end_marker(const std::string& file_bytes);

}  // namespace readkit
