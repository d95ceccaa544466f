// Real SAM files, what the library makes of their lines, and what samtools does with them.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit {

/// Real SAM files as a test's parameter, by their names within the folder of real files; the many
/// small files of one folder under hts-specs go by the folder's name. One empty name when there is
/// no folder of real files.
std::vector<std::string> real_sams();
/// The files that such a parameter stands for, by their names within the folder of real files.
std::vector<std::string> sams_of(const std::string& parameter);
/// A file under hts-specs/sam by its last two names ("failed/seq.fail1.sam"), any other by its name
/// within the folder of real files; as the system takes it.
std::string example_file(const std::string& name);
/// A test's name for a file or folder.
std::string sam_test_name(const std::string& parameter);

/// A test over the files that its parameter stands for.
class RealSamsTest : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    SKIP_WITHOUT_TEST_DATA();
    for (const std::string& name : sams_of(GetParam())) files_.push_back(test_file(name));
    ASSERT_FALSE(files_.empty());
  }

  std::vector<std::string> files_;
};

/// The fields of a line, with their TABs again.
std::string joined(const std::vector<std::string>& fields);

/// What becomes of one record line.
struct ReadLine {
  std::string record;       ///< the record's bytes, without the length word
  std::string error;        ///< of reading; empty when there is none
  std::string written;      ///< the line that the record is written as
  std::string write_error;  ///< the kind of the error that there is instead
};

/// Reads a SAM file with the library to its end, past the lines that raise an error, and writes
/// every record as a line. Errors are named as those of `ModelSamLine` are; an error that carries
/// anything else than the file's path is told with what it carries.
std::vector<ReadLine> read_lines(const std::string& file);

/// The error that `run` raises, named in the same way; empty when it raises none.
std::string outcome_of(const std::function<void()>& run, const std::string& file);

/// A run of samtools that may fail.
struct SamtoolsRun {
  bool succeeded = false;
  std::vector<std::string> lines;  ///< what it printed, also before a failure
};
SamtoolsRun try_samtools(const std::vector<std::string>& arguments);

/// The reference names ("*" for none) and 1-based positions of a file's records as samtools sorts
/// them, or nothing when it refuses the file. Its temporaries, if it needs any, go to `folder`.
using Places = std::vector<std::pair<std::string, std::string>>;
std::optional<Places> places_sorted_by_samtools(const std::string& file, const TempDir& folder);

}  // namespace readkit
