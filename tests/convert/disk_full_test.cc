// Conversions onto a disk that gets full: never a short file without an error, and the error names
// the output.
#include <cstddef>
#include <filesystem>
#include <functional>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "support/conversions.h"
#include "support/expect_kind.h"
#include "support/full_disk.h"
#include "support/hostile_calls.h"

namespace readkit::convert_disk_full_test {
namespace {

// Reads that fill more than one of a file's buffers in every format; lines of SAM text can hold no
// longer ones.
Reads many_reads() {
  Random random(101);
  return bulky_reads(random, 1400, 250);
}
Reads small_reads() {
  Random random(102);
  return random_reads(random, 20);
}

class ConversionDiskFull : public testing::TestWithParam<Conversion> {
 protected:
  void write_inputs(const Reads& reads) {
    bam_of(reads).write(folder_, "a.bam");
    folder_.write("a.sam", sam_of(reads));
  }
  void run(const Ordinals& ordinals = {}) const { GetParam().run(folder_, ordinals); }
  std::string output() const { return GetParam().output(); }
  void expect_at_every_limit(const std::function<void()>& run) {
    const std::size_t open_before = open_files();
    expect_file_write_at_every_limit(folder_, written_files(folder_, {output()}, run), run);
    EXPECT_EQ(open_files(), open_before);
  }

  TempDir folder_;
};

INSTANTIATE_TEST_SUITE_P(All, ConversionDiskFull, testing::ValuesIn(conversions()),
                         [](const auto& param) { return name_of(param.param); });

TEST_P(ConversionDiskFull, LargeFilesFailOnTheWay) {
  write_inputs(many_reads());
  expect_at_every_limit([&] { run(); });
}

TEST_P(ConversionDiskFull, SmallFilesFailWhenTheyAreBroughtOut) {
  write_inputs(small_reads());
  expect_at_every_limit([&] { run(); });
  expect_at_every_limit([&] { run({2, 5, 9, 20}); });
}

TEST_P(ConversionDiskFull, FullDeviceRaisesFileWriteWithTheOutput) {
  link_to_full_device(folder_, output());
  for (const Reads& reads : {small_reads(), many_reads()}) {
    write_inputs(reads);
    EXPECT_KIND(run(), FileWrite, folder_.path(output()));
    EXPECT_KIND(run({1}), FileWrite, folder_.path(output()));
    EXPECT_KIND(run({2, 1}), FileWrite, folder_.path(output()));
  }
}

TEST_P(ConversionDiskFull, FailureIsFoundBeforeTheRestIsRead) {
  write_inputs(many_reads());
  // Behind the last record stands what cannot be read.
  bam_of(many_reads()).without_marker().write(folder_, "a.bam");
  folder_.write("a.sam", folder_.read("a.sam") + "cut\n");
  link_to_full_device(folder_, output());
  EXPECT_KIND(run(), FileWrite, folder_.path(output()));
}

TEST_P(ConversionDiskFull, OutputWithoutRecordsFailsWhenThereIsAnyByteToWrite) {
  write_inputs({});
  link_to_full_device(folder_, output());
  const std::string expected = GetParam().to == "bam" ? file_write(folder_, output()) : "ok";
  EXPECT_EQ(outcome_of([&] { run(); }), expected);
}

TEST_P(ConversionDiskFull, OpenFileCanBeConvertedAfterwards) {
  write_inputs(small_reads());
  link_to_full_device(folder_, output());
  GetParam().with_input(folder_, [&](auto& in) {
    EXPECT_KIND(convert(in, GetParam().to, folder_.path(output())), FileWrite,
                folder_.path(output()));
    convert(in, GetParam().to, folder_.path("other." + GetParam().to));
  });
  EXPECT_EQ(written_names(folder_, "other." + GetParam().to).size(), 20U);
}

// ---- The forms that no row above takes ---------------------------------------------------------

class OtherFormsDiskFull : public testing::Test {
 protected:
  OtherFormsDiskFull() {
    bam_of(small_reads()).write(folder_, "a.bam");
    folder_.write("a.sam", sam_of(small_reads()));
  }
  void expect_at_every_limit(const std::string& output, const std::function<void()>& run) {
    expect_file_write_at_every_limit(folder_, written_files(folder_, {output}, run), run);
    std::filesystem::remove(folder_.native(output));
    link_to_full_device(folder_, output);
    EXPECT_EQ(outcome_of(run), file_write(folder_, output));
  }
  BAM bam() const { return BAM(folder_.path("a.bam")); }
  SAM sam() const { return {folder_.path("a.sam"), "r"}; }

  TempDir folder_;
};

TEST_F(OtherFormsDiskFull, BamWithSomeReferences) {
  const std::set<std::string> all = {"chr1", "chr2", "chr3"};
  unsigned placed = 0;
  for (const DecodedRecord& record : records_in(folder_, "a.bam")) {
    ++placed;
    if (record.ref_id >= 0) break;
  }
  expect_at_every_limit("t.bam", [&] { bam().to_bam(folder_.path("t.bam"), &placed, 1, all); });
  expect_at_every_limit("u.bam", [&] { sam().to_bam(folder_.path("u.bam"), &placed, 1, all); });
}

TEST_F(OtherFormsDiskFull, BamOfAWholeSamFile) {
  expect_at_every_limit("t.bam", [&] { sam().to_bam(folder_.path("t.bam")); });
}

TEST_F(OtherFormsDiskFull, SamWithHeader) {
  expect_at_every_limit("t.sam", [&] { bam().to_sam(folder_.path("t.sam"), nullptr, 0, true); });
  expect_at_every_limit("u.sam", [&] { sam().to_sam(folder_.path("u.sam"), nullptr, 0, true); });
}

TEST_F(OtherFormsDiskFull, HeaderAlone) {
  bam_of({}).write(folder_, "a.bam");
  folder_.write("a.sam", sam_of({}));
  for (const std::string name : {"t.bam", "t.sam"}) link_to_full_device(folder_, name);
  const Path t_bam = folder_.path("t.bam");
  const Path t_sam = folder_.path("t.sam");
  EXPECT_KIND(sam().to_bam(t_bam), FileWrite, t_bam);
  EXPECT_KIND(bam().to_bam(t_bam, nullptr, 0, {"chr2"}), FileWrite, t_bam);
  EXPECT_KIND(bam().to_sam(t_sam, nullptr, 0, true), FileWrite, t_sam);
  EXPECT_KIND(sam().to_sam(t_sam, nullptr, 0, true), FileWrite, t_sam);
}

}  // namespace
}  // namespace readkit::convert_disk_full_test
