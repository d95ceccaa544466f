#include "convert/copy.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "support/conversions.h"
#include "support/expect_kind.h"
#include "support/full_disk.h"
#include "support/hostile_calls.h"

namespace readkit::convert_copy_test {
namespace {

// What holds for all eight conversions. "a.bam" and "a.sam" hold the reads "r0" to "r7".
class Copy : public testing::TestWithParam<Conversion> {
 protected:
  Copy() { write_inputs(8); }

  void write_inputs(int count) {
    Random random(91);
    const Reads reads = random_reads(random, count);
    bam_of(reads).write(folder_, "a.bam");
    folder_.write("a.sam", sam_of(reads));
  }
  const Conversion& conversion() const { return GetParam(); }
  std::string output() const { return conversion().output(); }
  void run(const Ordinals& ordinals = {}) const { conversion().run(folder_, ordinals); }
  Names written() const { return written_names(folder_, output()); }
  // A conversion of an open file into another output.
  template <typename Input>
  std::string converted(Input& in, const Ordinals& ordinals = {}) const {
    convert(in, conversion().to, folder_.path("other"), ordinals);
    return folder_.read("other");
  }
  // The BAM file ends where a block should follow; the SAM file has a line of too few fields.
  void damage_behind_three_records() const {
    Random random(91);
    bam_of(random_reads(random, 3)).without_marker().write(folder_, "a.bam");
    std::string text = folder_.read("a.sam");
    folder_.write("a.sam", text.insert(text.find("\nr3\t") + 1, "cut\t0\tchr1\n"));
  }
  template <typename Run>
  void expect_invalid_input(const Run& run) const {
    const Path input = folder_.path(conversion().input());
    if (conversion().from == "bam") {
      EXPECT_KIND(run(), InvalidBAMFormat, input);
    } else {
      EXPECT_KIND(run(), InvalidSAMFormat, input);
    }
  }
  // The output holds a header, if its format has one without being asked, and no records.
  void expect_no_records() const {
    if (conversion().to != "bam") {
      EXPECT_EQ(folder_.read(output()), "");
      return;
    }
    const DecodedBam bam = decode_bam(folder_.read(output()));
    const DecodedBam expected = decode_bam(bam_of({}).bytes());
    EXPECT_EQ(bam.text, expected.text);
    EXPECT_EQ(bam.refs, expected.refs);
    EXPECT_TRUE(bam.records.empty());
  }

  TempDir folder_;
};

INSTANTIATE_TEST_SUITE_P(All, Copy, testing::ValuesIn(conversions()),
                         [](const auto& param) { return name_of(param.param); });

// ---- Which records -----------------------------------------------------------------------------

TEST_P(Copy, NoOrdinalsAreAllRecords) {
  run();
  EXPECT_EQ(written(), (Names{"r0", "r1", "r2", "r3", "r4", "r5", "r6", "r7"}));
}

TEST_P(Copy, OrdinalsChooseRecordsInFileOrder) {
  const std::vector<std::pair<Ordinals, Names>> rows = {
      {{2, 5}, {"r1", "r4"}},
      {{1}, {"r0"}},
      {{8}, {"r7"}},
      {{5, 2}, {"r4"}},
      {{3, 3, 4}, {"r2"}},
      {{0}, {}},
      {{9}, {}},
      {{2, 9}, {"r1"}},
      {{0, 1}, {}},
      {{7, 8}, {"r6", "r7"}},
      {{4294967295U, 1}, {}},
      {{2, 1, 3}, {"r1"}},
  };
  for (const auto& [ordinals, names] : rows) {
    run(ordinals);
    EXPECT_EQ(written(), names) << testing::PrintToString(ordinals);
  }
}

TEST_P(Copy, NothingIsReadBehindTheLastOrdinal) {
  std::string bytes = folder_.read(conversion().input());
  if (conversion().from == "bam") {
    Random random(91);
    bytes = bam_of(random_reads(random, 8)).one_block_each().without_marker().bytes() + "no block";
  } else {
    bytes += "no record\n";
  }
  folder_.write(conversion().input(), bytes);
  run({2, 8});
  EXPECT_EQ(written(), (Names{"r1", "r7"}));
  expect_invalid_input([&] { run({2, 9}); });
  expect_invalid_input([&] { run(); });
}

TEST_P(Copy, InputWithoutRecordsGivesAHeaderOrNothing) {
  write_inputs(0);
  for (const Ordinals& ordinals : {Ordinals{}, Ordinals{1}}) {
    run(ordinals);
    expect_no_records();
  }
}

TEST_P(Copy, OrdinalsThatMeetNothingGiveAHeaderOrNothing) {
  run({100});
  expect_no_records();
}

// ---- From where --------------------------------------------------------------------------------

TEST_P(Copy, EveryConversionOfAnOpenFileBeginsAtTheFirstRecord) {
  run();
  const std::string all = folder_.read(output());
  run({3});
  const std::string third = folder_.read(output());
  conversion().with_input(folder_, [&](auto& in) {
    EXPECT_EQ(converted(in), all);
    EXPECT_EQ(converted(in), all);
    EXPECT_EQ(converted(in, {3}), third);  // stops in the middle
    EXPECT_EQ(converted(in, {3}), third);
    EXPECT_EQ(converted(in), all);
  });
}

TEST_P(Copy, RecordsReadBeforeDoNotMatter) {
  run();
  const std::string all = folder_.read(output());
  conversion().with_input(folder_, [&](auto& in) {
    EXPECT_TRUE(in.next_alignment());
    EXPECT_TRUE(in.next_alignment());
    EXPECT_EQ(converted(in), all);
  });
  conversion().with_input(folder_, [&](auto& in) {
    while (in.next_alignment()) {  // to the end
    }
    EXPECT_EQ(converted(in), all);
  });
}

TEST_P(Copy, InputStaysAsItWasAndFilesAreClosed) {
  const std::string before = folder_.read(conversion().input());
  const std::size_t files = open_files();
  run();
  EXPECT_EQ(open_files(), files);
  EXPECT_EQ(folder_.read(conversion().input()), before);
  EXPECT_EQ(folder_.names(), (Names{"a.bam", "a.sam", output()}));
}

TEST_P(Copy, SameInputGivesTheSameBytes) {
  run();
  const std::string first = folder_.read(output());
  run();
  EXPECT_EQ(folder_.read(output()), first);
}

// ---- Into what ---------------------------------------------------------------------------------

TEST_P(Copy, ExistingOutputIsReplaced) {
  run({1});
  const std::string one = folder_.read(output());
  folder_.write(output(), std::string(100000, 'x'));
  run({1});
  EXPECT_EQ(folder_.read(output()), one);
}

TEST_P(Copy, NameOfTheOutputDoesNotDecideItsFormat) {
  run();
  conversion().run_into(folder_, folder_.path("x.bai"));
  EXPECT_EQ(folder_.read("x.bai"), folder_.read(output()));
}

TEST_P(Copy, OutputThatCannotBeCreatedRaisesTheKindOfItsFormat) {
  const bool is_fastx = conversion().to.starts_with("fast");
  std::filesystem::create_directory(folder_.native("folder"));
  for (const std::string name : {"no/out", "folder", ""}) {
    const Path out = name.empty() ? Path() : folder_.path(name);
    if (is_fastx) {
      EXPECT_KIND(conversion().run_into(folder_, out), CannotOpenOutFile, out);
    } else {
      EXPECT_KIND(conversion().run_into(folder_, out), FileNotFound, out);
    }
  }
  EXPECT_EQ(folder_.names(), (Names{"a.bam", "a.sam", "folder"}));
}

TEST_P(Copy, OutputThatIsTheInputIsRefusedBeforeItIsTouched) {
  const std::string input = conversion().input();
  const std::string before = folder_.read(input);
  std::filesystem::create_hard_link(folder_.native(input), folder_.native("hard"));
  std::filesystem::create_symlink(folder_.native(input), folder_.native("soft"));
  std::filesystem::create_symlink("soft", folder_.native("twice"));
  for (const std::string& name :
       {input, std::string("hard"), std::string("soft"), std::string("twice"), "./" + input}) {
    EXPECT_KIND(conversion().run_into(folder_, folder_.path(name)), CannotOpenOutFile,
                folder_.path(name));
    EXPECT_KIND(conversion().run_into(folder_, folder_.path(name), {1}), CannotOpenOutFile,
                folder_.path(name));
    EXPECT_EQ(folder_.read(input), before) << name;
  }
}

TEST_P(Copy, InputOpenedThroughALinkIsTheSameFile) {
  const Path input = folder_.path(conversion().input());
  std::filesystem::create_directory(folder_.native("x"));
  std::filesystem::create_symlink(input.native(), folder_.native("x/" + conversion().input()));
  const std::string before = folder_.read(conversion().input());
  const auto run_through_link = [&] {
    if (conversion().from == "bam") {
      BAM in(folder_.path("x/a.bam"));
      convert(in, conversion().to, input);
    } else {
      SAM in(folder_.path("x/a.sam"), "r");
      convert(in, conversion().to, input);
    }
  };
  EXPECT_KIND(run_through_link(), CannotOpenOutFile, input);
  EXPECT_EQ(folder_.read(conversion().input()), before);
}

TEST_P(Copy, RefusedConversionLeavesTheOpenFileUsable) {
  conversion().with_input(folder_, [&](auto& in) {
    EXPECT_KIND(convert(in, conversion().to, in.path()), CannotOpenOutFile, in.path());
    convert(in, conversion().to, folder_.path(output()));
  });
  EXPECT_EQ(written().size(), 8U);
}

TEST_P(Copy, CopyOfTheInputIsAnotherFile) {
  const std::string input = conversion().input();
  folder_.write("copy", folder_.read(input));
  conversion().run_into(folder_, folder_.path("copy"));
  run();
  EXPECT_EQ(folder_.read("copy"), folder_.read(output()));
}

// ---- Damaged inputs ----------------------------------------------------------------------------

TEST_P(Copy, ErrorOfReadingPassesThroughWithTheInputsNameAndLeavesWhatWasWritten) {
  damage_behind_three_records();
  expect_invalid_input([&] { run(); });
  EXPECT_EQ(written(), (Names{"r0", "r1", "r2"}));
}

TEST_P(Copy, FilesAreClosedAfterAnError) {
  damage_behind_three_records();
  const std::size_t files = open_files();
  expect_invalid_input([&] { run(); });
  EXPECT_NE(outcome_of([&] { conversion().run_into(folder_, folder_.path("no/out")); }), "ok");
  EXPECT_EQ(open_files(), files);
}

}  // namespace
}  // namespace readkit::convert_copy_test
