// Calls of the real library that are watched, and ended.
#include "host/monitor.h"

#include <stdexcept>
#include <string>
#include <vector>

#include "support/bam_builder.h"
#include "support/gateway_calls.h"
#include "support/hostile_calls.h"
#include "support/libraries.h"

namespace readkit::host::host_monitor_test {
namespace {

struct WatchedCall {
  const char* function;
  int nlhs;
  Inputs inputs;
};

class CallWatched : public testing::Test {
 protected:
  void SetUp() override {
    rich_file().write(folder_, "a.bam");
    plain_file().write(folder_, "plain.bam");
    convert("plain.bam", "bam", "a.sam", "sam");
    convert("a.bam", "bam", "a.fastq", "fastq");
    call_gateway("bamIndex", 0, inputs(text(folder_, "a.bam"), text(folder_, "a.bai")));
  }
  void convert(const char* from, const char* kind, const char* to, const char* format) {
    call_gateway("convertFormat", 0,
                 inputs(text(folder_, from), text(kind), text(folder_, to), text(format),
                        make_row<std::uint32_t>({})));
  }
  // Of every way to read and to write.
  std::vector<WatchedCall> calls() {
    std::vector<WatchedCall> list;
    const auto add = [&](const char* function, int nlhs, Inputs in) {
      list.push_back({function, nlhs, std::move(in)});
    };
    add("bamInfo", 2, inputs(text(folder_, "a.bam")));
    add("bamSort", 0, inputs(text(folder_, "a.bam"), text(folder_, "t")));
    add("bamIndex", 0, inputs(text(folder_, "a.bam"), text(folder_, "t.bai")));
    add("samSort", 0, inputs(text(folder_, "a.sam"), text(folder_, "t")));
    add("samInfo", 3, inputs(text(folder_, "a.sam")));
    add("samToBam", 0, inputs(text(folder_, "a.sam"), text(folder_, "t.bam")));
    add("getStartsInReference", 1,
        inputs(text(folder_, "a.bam"), text(folder_, "a.bai"), make_scalar(0.0)));
    add("kxCheck", 1, inputs(text(folder_, "a.bam"), text(folder_, "a.bai")));
    add("kxCheck", 1, inputs(text(folder_, "a.fastq")));
    return list;
  }

  TempDir folder_;
};

TEST_F(CallWatched, GivesWhatAnUnwatchedCallGives) {
  std::size_t seen = 0;
  const auto in = inputs(text(folder_, "a.bam"));
  const Function info = gateway_library().function("bamInfo");
  const auto watched = call_watched(info, 2, in, [&](const kxTransfer& transfer) {
    EXPECT_EQ(transfer.path, folder_.native("a.bam"));
    EXPECT_FALSE(transfer.is_write);
    ++seen;
    return true;
  });
  EXPECT_GT(seen, 0u);
  EXPECT_EQ(scalar_of<bool>(watched[0]), scalar_of<bool>(call(info, 2, in)[0]));
}

TEST_F(CallWatched, EndedAtAnyTransferEveryCallSaysSoAndLeavesNothingOpen) {
  const std::size_t open_before = open_files();
  for (const WatchedCall& one : calls()) {
    const LeakCheck leaks;
    const Function function = gateway_library().function(one.function);
    std::size_t ended = 0;
    for (bool is_done = false; !is_done;) {
      std::size_t left = ended;
      try {
        call_watched(function, one.nlhs, one.inputs, [&](const kxTransfer&) { return left-- > 0; });
        is_done = true;
      } catch (const HostError& error) {
        ASSERT_EQ(error.identifier(), id::kInterrupted) << one.function;
        ++ended;
      }
    }
    EXPECT_GT(ended, 0u) << one.function;
    EXPECT_EQ(open_files(), open_before) << one.function;
    call(function, one.nlhs, one.inputs);
  }
}

TEST_F(CallWatched, ACountThatIsEndedAmongItsTextsSaysSo) {
  BamBuilder many;
  many.refs(1, 1000);
  const RecordBuilder record = RecordBuilder("r").at(0, 1).cigar("1M").seq("A");
  for (int i = 0; i <= 1 << 16; ++i) many.record(record);
  many.write(folder_, "many.bam");
  const Function count = gateway_library().function("getFeatureCountData");
  const auto in = inputs(text(folder_, "many.bam"), make_scalar(0.0), make_scalar(false),
                         make_scalar(false), make_scalar(0.0));
  std::size_t stretches = 0;
  call_watched(count, 9, in, [&](const kxTransfer& transfer) {
    if (*transfer.path == '\0') ++stretches;
    return true;
  });
  // Of names and CIGARs, and of names of references: one of 65,536 rows and one of the last.
  ASSERT_EQ(stretches, 4U);
  for (std::size_t ended = 0; ended < stretches; ++ended) {
    const LeakCheck leaks;
    std::size_t left = ended;
    EXPECT_CALL_FAILS(call_watched(count, 9, in,
                                   [&](const kxTransfer& transfer) {
                                     return *transfer.path != '\0' || left-- > 0;
                                   }),
                      id::kInterrupted);
  }
}

TEST_F(CallWatched, ErrorsOfTheCallItselfStayWhatTheyAre) {
  const auto in = inputs(text(folder_, "none.bam"));
  EXPECT_CALL_FAILS(call_watched(gateway_library().function("bamInfo"), 1, in,
                                 [](const kxTransfer&) { return true; }),
                    "seqlab:readkit:FileNotFound", folder_.text("none.bam"));
}

TEST_F(CallWatched, WhatTheMonitorThrowsEndsTheCallAndArrives) {
  const auto in = inputs(text(folder_, "a.bam"));
  EXPECT_THROW(call_watched(gateway_library().function("bamInfo"), 1, in,
                            [](const kxTransfer&) -> bool { throw std::domain_error("mine"); }),
               std::domain_error);
}

TEST_F(CallWatched, ALibraryThatShowsNoTransfersIsCalledAllTheSame) {
  const Library fake(fake_library_path());
  const auto out = call_watched(fake.function("echo"), 1, inputs(text("x")),
                                [](const kxTransfer&) { return false; });
  EXPECT_EQ(text_of(out[0].get()), "x");
}

}  // namespace
}  // namespace readkit::host::host_monitor_test
