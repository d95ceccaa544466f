// Damaged SAM files: cut at every length and changed at every byte, read record by record and
// scanned, by the class and through the gateway. A result or a documented error, and nothing else.
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/errors.h"
#include "sam/sam.h"
#include "support/gateway_calls.h"
#include "support/hostile_calls.h"
#include "support/temp_dir.h"

namespace readkit::sam_hostile_test {
namespace {

const std::string kHeader =
    "@HD\tVN:1.6\tSO:coordinate\n@SQ\tLN:1000\tSN:chr1\n@SQ\tSN:chr2\tLN:2000\tM5:x\n@CO\tx\n";
const std::vector<std::string> kLines = {
    "r1\t99\tchr1\t10\t60\t2S3M1I2D1X\t=\t90\t110\tACGTNAC\tIIIIIII\tNM:i:1\tXZ:Z:a b\tXA:A:q\n",
    "r2\t0\tchr1\t20\t0\t4M\tchr2\t7\t-9\tACGT\t*\tXF:f:1.5\tXH:H:1AE3\r\n", "\n",
    "r3\t4\t*\t0\t0\t*\t*\t0\t0\tA\t!\n"};

std::string sound_file() {
  std::string text = kHeader;
  for (const std::string& line : kLines) text += line;
  return text;
}

// What came of reading a file to its end.
struct Reading {
  int records = 0;
  std::string error = "none";
};

class HostileSam : public testing::Test {
 protected:
  void write(const std::string& text) {
    // Some file systems take long to overwrite a file.
    std::filesystem::remove(folder_.native("a.sam"));
    folder_.write("a.sam", text);
  }

  // Every record of the file, which stands up to being written as well. Reading goes on behind a
  // line that is refused; `error` is that of the first one.
  Reading read() {
    SAM in(path(), "r");
    Reading reading;
    for (bool more = true; more;) {
      std::string error = "none";
      try {
        more = in.next_alignment();
        if (more) check_record(in);
        reading.records += more ? 1 : 0;
      } catch (const InvalidSAMFormat& refused) {
        EXPECT_EQ(refused.arguments(), expected_arguments(path()));
        error = refused.kind();
      } catch (const std::out_of_range& refused) {
        error = refused.what();
      } catch (const std::invalid_argument& refused) {
        error = refused.what();
      }
      ++seen_[error];
      if (reading.error == "none") reading.error = error;
    }
    return reading;
  }

  // The scan, by the class and by the gateway, which must agree.
  void scan() {
    SAM in(path(), "r");
    bool sorted = false;
    std::vector<std::uint32_t> counts;
    std::vector<std::string> names;
    in.kxsaminfo(sorted, counts, names, 3);
    const LeakCheck leaks;
    const Outputs out = call_gateway("samInfo", 3, inputs(text(folder_, "a.sam")));
    EXPECT_EQ(scalar_of<bool>(out[0]), sorted);
    EXPECT_EQ(column_of<double>(out[1]), std::vector<double>(counts.begin(), counts.end()));
    EXPECT_EQ(texts_of(out[2]), names);
    EXPECT_EQ(counts.size(), names.size());
  }

  Path path() const { return folder_.path("a.sam"); }
  int seen(const std::string& outcome) const {
    const auto found = seen_.find(outcome);
    return found == seen_.end() ? 0 : found->second;
  }
  std::size_t kinds_of_outcomes() const { return seen_.size(); }

 private:
  static void check_record(const SAM& in) {
    EXPECT_TRUE(in.alignment().is_well_formed());
    try {
      in.alignment().to_sam(in.header());
    } catch (const InvalidSAMFormat& error) {
      EXPECT_EQ(error.arguments(), expected_arguments(u""));
    } catch (const InvalidTagType&) {
      // A type letter that is none may stand in a line.
    }
  }

  TempDir folder_;
  std::map<std::string, int> seen_;
};

TEST_F(HostileSam, SoundFileIsReadAndScanned) {
  write(sound_file());
  const Reading reading = read();
  EXPECT_EQ(reading.records, 3);
  EXPECT_EQ(reading.error, "none");
  scan();
}

TEST_F(HostileSam, EveryPrefixHasTheRecordsOfItsWholeLines) {
  const std::string file = sound_file();
  for (std::size_t size = 0; size <= file.size(); ++size) {
    write(file.substr(0, size));
    const Reading reading = read();
    int whole = 0;
    std::size_t end = kHeader.size();
    for (const std::string& line : kLines) {
      end += line.size();
      if (line != "\n" && end <= size) ++whole;
    }
    // The line that is cut may be a record, too.
    ASSERT_GE(reading.records, whole) << size;
    ASSERT_LE(reading.records, whole + 1) << size;
    ASSERT_TRUE(reading.error == "none" || reading.error == "InvalidSAMFormat") << size;
    scan();
    if (HasFailure()) FAIL() << "cut at " << size;
  }
  EXPECT_GT(seen("InvalidSAMFormat"), 0);
  EXPECT_EQ(kinds_of_outcomes(), 2U);
}

TEST_F(HostileSam, EveryChangedByteGivesADocumentedOutcome) {
  const std::string file = sound_file();
  const char values[] = {'\0', '\t', '\n', '\r', ' ', '@', '0', '-', '*', 'B', '\xff'};
  for (std::size_t at = 0; at < file.size(); ++at) {
    for (const char value : values) {
      std::string changed = file;
      changed[at] = value;
      write(changed);
      read();
      scan();
      if (HasFailure()) FAIL() << "byte " << at << " made " << static_cast<int>(value);
    }
  }
  // A CIGAR that ends in digits, and hex digits that are none; an array has the same text.
  for (const char* outcome : {"none", "InvalidSAMFormat", "basic_string", "stol"}) {
    EXPECT_GT(seen(outcome), 0) << outcome;
  }
  EXPECT_EQ(kinds_of_outcomes(), 4U);
}

TEST_F(HostileSam, EveryByteThatIsTakenOutGivesADocumentedOutcome) {
  const std::string file = sound_file();
  for (std::size_t at = 0; at < file.size(); ++at) {
    std::string changed = file;
    changed.erase(at, 1);
    write(changed);
    const Reading reading = read();
    ASSERT_GE(reading.records, 1) << at;
    scan();
    if (HasFailure()) FAIL() << "without byte " << at;
  }
}

TEST_F(HostileSam, FilesAreClosedHoweverReadingEnds) {
  const std::size_t before = open_files();
  write(sound_file());
  read();
  scan();
  write(kHeader + "bad\n");
  EXPECT_EQ(read().error, "InvalidSAMFormat");
  scan();
  EXPECT_EQ(open_files(), before);
}

}  // namespace
}  // namespace readkit::sam_hostile_test
