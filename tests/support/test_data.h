// Real files to run over. They are not part of the repository: the variable READKIT_TEST_DATA names
// their folder, which defaults to shared/data beside the repository. Tests that need them skip
// themselves when they are absent.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace readkit {

/// The folder of the real files; empty when there is none.
std::string test_data_folder();

/// The native names of the files of one kind, sorted; where READKIT_TEST_DATA_MOST_BYTES is set,
/// those that are no larger.
std::vector<std::string> bam_files();
std::vector<std::string> sam_files();
std::vector<std::string> bai_files();
std::vector<std::string> fastq_files();
/// All files of a folder and those below it.
std::vector<std::string> files_in(const std::string& folder);
/// Files that are damaged on purpose.
std::vector<std::string> invalid_files();

/// One file, for example test_file("bam/ex1.bam").
std::string test_file(const std::string& name);

}  // namespace readkit

/// Ends the test as skipped when the real files are absent.
#define SKIP_WITHOUT_TEST_DATA()             \
  if (::readkit::test_data_folder().empty()) \
  GTEST_SKIP() << "no real files: set READKIT_TEST_DATA to the folder that holds them"
