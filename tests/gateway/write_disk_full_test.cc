// The gateways that write files, onto a disk that gets full: never a short file without an error,
// and the error names the output.
#include <filesystem>
#include <functional>
#include <string>
#include <variant>

#include <gtest/gtest.h>

#include "support/bgzf_builder.h"
#include "support/conversions.h"
#include "support/full_disk.h"
#include "support/gateway_calls.h"
#include "support/hostile_calls.h"

namespace readkit::gateway_write_disk_full_test {
namespace {

// Calls a gateway; a failed write is raised again as the library's own error.
void call_and_rethrow(const std::string& gateway, const Inputs& list) {
  try {
    call_gateway(gateway, 0, list);
  } catch (const host::HostError& error) {
    if (error.identifier() != "seqlab:readkit:FileWrite") throw;
    throw FileWrite(std::get<UString>(error.arguments().at(0)));
  }
}

// "a.bam" and "a.sam" hold reads on and off the references.
class WriteDiskFull : public testing::Test {
 protected:
  void write_inputs(int count, std::size_t qualities) {
    Random random(111);
    Reads reads = bulky_reads(random, count, qualities);
    for (int i = 0; i < count; ++i) reads[static_cast<std::size_t>(i)].at(i % 2 - 1, 5);
    bam_of(reads).write(folder_, "a.bam");
    folder_.write("a.sam", sam_of(reads));
    // An index of another file: none.
    std::filesystem::remove(folder_.native("a.bam.bai"));
    BamBuilder().write(folder_, "none.bam");
    call_gateway("bamIndex", 0, inputs(text(folder_, "none.bam"), text(folder_, "a.bam.bai")));
  }
  void write_region() {
    call_and_rethrow("samWrite",
                     inputs(text(folder_, "a.bam"), text(folder_, "a.bam"), text(folder_, "out"),
                            text("chr1:1-9"), host::make_scalar(1.0), host::make_scalar(0.0)));
  }
  void write_unaligned() {
    call_and_rethrow("samWriteUnaligned",
                     inputs(text(folder_, "a.bam"), text(folder_, "out"), host::make_scalar(1.0)));
  }
  void sam_to_bam() {
    call_and_rethrow("samToBam", inputs(text(folder_, "a.sam"), text(folder_, "out")));
  }
  void expect_at_every_limit(const std::function<void()>& run) {
    const std::size_t open_before = open_files();
    const LeakCheck leaks;
    expect_file_write_at_every_limit(folder_, written_files(folder_, {"out"}, run), run);
    EXPECT_EQ(open_files(), open_before);
  }

  TempDir folder_;
};

TEST_F(WriteDiskFull, SmallOutputsFailWhenTheyAreBroughtOut) {
  write_inputs(6, 20);
  expect_at_every_limit([&] { write_region(); });
  expect_at_every_limit([&] { write_unaligned(); });
  expect_at_every_limit([&] { sam_to_bam(); });
}

TEST_F(WriteDiskFull, ManyLinesFailOnTheWay) {
  write_inputs(1200, 250);
  expect_at_every_limit([&] { write_region(); });
  expect_at_every_limit([&] { write_unaligned(); });
  expect_at_every_limit([&] { sam_to_bam(); });
}

TEST_F(WriteDiskFull, LinesLongerThanABufferFailOnTheWay) {
  write_inputs(2, 300000);
  expect_at_every_limit([&] { write_region(); });
  expect_at_every_limit([&] { write_unaligned(); });
}

TEST_F(WriteDiskFull, WhatStoodInTheOutputStays) {
  write_inputs(6, 20);
  const std::string before(1000, 'x');
  for (const bool unaligned : {true, false}) {
    folder_.write("out", before);
    std::string outcome;
    {
      const FileSizeLimit in_force(before.size() + 10);
      outcome = outcome_of([&] { unaligned ? write_unaligned() : write_region(); });
    }
    EXPECT_EQ(outcome, file_write(folder_, "out"));
    EXPECT_EQ(folder_.read("out").substr(0, before.size()), before);
  }
}

TEST_F(WriteDiskFull, FullDeviceRaisesFileWriteWithTheOutput) {
  link_to_full_device(folder_, "out");
  const std::size_t files = open_files();
  for (const std::size_t qualities : {1U, 300000U}) {
    write_inputs(2, qualities);
    EXPECT_KIND(write_region(), FileWrite, folder_.path("out"));
    EXPECT_KIND(write_unaligned(), FileWrite, folder_.path("out"));
    EXPECT_KIND(sam_to_bam(), FileWrite, folder_.path("out"));
  }
  EXPECT_EQ(open_files(), files);
}

TEST_F(WriteDiskFull, FailureIsFoundBeforeTheRestIsRead) {
  write_inputs(2, 300000);
  const std::string bam = folder_.read("a.bam");
  folder_.write("a.bam", bam.substr(0, bam.size() - bgzf_marker().size()));
  link_to_full_device(folder_, "out");
  EXPECT_KIND(write_region(), FileWrite, folder_.path("out"));
  EXPECT_KIND(write_unaligned(), FileWrite, folder_.path("out"));
}

TEST_F(WriteDiskFull, NothingToWriteIsNoFailureForLinesAndIsOneForABam) {
  write_inputs(0, 0);
  link_to_full_device(folder_, "out");
  EXPECT_NO_THROW(write_region());
  EXPECT_NO_THROW(write_unaligned());
  EXPECT_KIND(sam_to_bam(), FileWrite, folder_.path("out"));
}

TEST_F(WriteDiskFull, EveryConversionRaisesFileWriteWithTheOutput) {
  write_inputs(6, 20);
  link_to_full_device(folder_, "out");
  for (const auto& [from, to] : conversions()) {
    const Inputs list = inputs(text(folder_, "a." + from), text(from), text(folder_, "out"),
                               text(to), host::make_row<std::uint32_t>({}));
    EXPECT_CALL_FAILS(call_gateway("convertFormat", 0, list), "seqlab:readkit:FileWrite",
                      folder_.path("out"));
  }
}

}  // namespace
}  // namespace readkit::gateway_write_disk_full_test
