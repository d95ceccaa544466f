// FASTQ files.
#include "check/fastq_file.h"

#include <string>

#include <gtest/gtest.h>

#include "support/check_words.h"

namespace readkit::check_fastq_file_test {
namespace {

const std::string& read() {
  static const std::string text = "@r1 x\nACGTN\n+\n!I~I5\n";
  return text;
}
Found found_in(const std::string& text) {
  const CheckResult result = check_bytes(text);
  EXPECT_EQ(result.kind, "FASTQ");
  return found(result);
}

TEST(FastqFile, SoundReadsPass) {
  const CheckResult result = check_bytes(read() + "@r2\r\nac.-\r\n+r2\r\nIIII\r\n@r3\n\n+\n\n");
  EXPECT_EQ(found(result), Found{});
  EXPECT_EQ(result.kind, "FASTQ");
  EXPECT_EQ(result.records, 3U);
  EXPECT_TRUE(result.end_marker);
  EXPECT_FALSE(result.sorted);
  EXPECT_EQ(found_in(read() + "\n\n\n\n\n\n"), Found{});  // empty lines at the end
}

TEST(FastqFile, EveryRuleOfARead) {
  EXPECT_EQ(found_in(read() + "@r2\nAC1T\n+\nIIII\n"), (Found{"Sequence 6 2"}));
  EXPECT_EQ(found_in(read() + "@r2\nAC{T\n+\nIIII\n"), (Found{"Sequence 6 2"}));
  EXPECT_EQ(found_in(read() + "@r2\nAC*-\n+\nIIII\n"), Found{});
  EXPECT_EQ(found_in(read() + "@r2\nACGT\n+\nII I\n"), (Found{"Quality 8 2"}));
  EXPECT_EQ(found_in(read() + "@r2\nACGT\n+\nIII\x7f\n"), (Found{"Quality 8 2"}));
  EXPECT_EQ(found_in(read() + "@r2\nACGT\n+\nIII\n"), (Found{"QualityLength 8 2"}));
  EXPECT_EQ(found_in(read() + "@r2\nACGT\n+\nIIIII\n"), (Found{"QualityLength 8 2"}));
  EXPECT_EQ(found_in(read() + "@r2\nACGT\n+r1\nIIII\n"), (Found{"ReadName 7 2"}));
  EXPECT_EQ(found_in(read() + "@\nACGT\n+\nIIII\n"), (Found{"ReadName 5 2"}));
}

TEST(FastqFile, ReadingGoesOnBehindLinesOfNoRead) {
  const CheckResult result = check_bytes(read() + "junk\nmore junk\n" + read() + read());
  EXPECT_EQ(found(result), (Found{"ReadStructure 5 0"}));
  EXPECT_EQ(result.records, 3U);
  EXPECT_EQ(found_in(read() + "\n" + read()), (Found{"ReadStructure 5 0"}));
  EXPECT_EQ(found_in(read() + "@r2\nACGT\nACGT\n+\nIIIIIIII\n" + read()),
            (Found{"ReadStructure 5 0"}));
  EXPECT_EQ(found_in(read() + "end\n"), (Found{"ReadStructure 5 0"}));
  EXPECT_EQ(found_in(read() + "x\n" + read() + "y\n" + read()),
            (Found{"ReadStructure 5 0", "ReadStructure 10 0"}));
}

TEST(FastqFile, EveryTruncationIsFound) {
  const std::string text = read() + read();
  for (std::size_t size = 1; size < text.size(); ++size) {
    if (size == read().size()) continue;  // a file of one read
    const CheckResult result = check_bytes(text.substr(0, size));
    EXPECT_GE(result.findings.count(), 1U) << size;
  }
  EXPECT_EQ(found_in(read() + "@r2\nACGT\n"), (Found{"RecordTruncated 5 2"}));
  EXPECT_EQ(found_in("@r2\nACGT\n+\nIIII"), (Found{"LastLine 4 0"}));
  EXPECT_FALSE(check_bytes("@r2\nACGT\n+\nIIII").end_marker);
}

}  // namespace
}  // namespace readkit::check_fastq_file_test
