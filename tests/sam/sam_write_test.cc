// A SAM file that is written: header, records, and what becomes of failures.
#include <ios>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "sam/sam.h"
#include "support/expect_kind.h"
#include "support/random_data.h"
#include "support/record_builder.h"
#include "support/sam_line.h"
#include "support/temp_dir.h"

namespace readkit::sam_sam_write_test {
namespace {

const std::string kText = "@HD\tVN:1.6\n@SQ\tSN:chr1\tLN:1000\n";

BamHeader header() {
  BamHeader header;
  header.set_text(kText);
  header.add_reference("chr1", 1000);
  return header;
}

std::string named(const std::string& name) {
  SamLine line;
  line.qname = name;
  line.tags = "\tNM:i:1";
  return line.text() + "\n";
}

Alignment record(const std::string& name) {
  const std::string line = named(name);
  return {line.substr(0, line.size() - 1), ReferenceMap{{"chr1", 0}}};
}

class SamWrite : public testing::Test {
 protected:
  SAM open() { return {folder_.path("a.sam"), "w"}; }
  std::string written() { return folder_.read("a.sam"); }

  TempDir folder_;
};

class SamWriteToFullDevice : public testing::Test {
 protected:
  void SetUp() override {
    if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "this system has no /dev/full";
  }
  SAM out_{Path(u"/dev/full"), "w"};
};

TEST_F(SamWrite, HeaderAndRecordsAreLinesInTheOrderOfTheCalls) {
  SAM out = open();
  EXPECT_TRUE(out.write(header()));
  EXPECT_TRUE(out.write(record("b"), header()));
  EXPECT_TRUE(out.write(record("a"), header()));
  out.close();
  EXPECT_TRUE(out.good());
  EXPECT_EQ(written(), kText + named("b") + named("a"));
}

TEST_F(SamWrite, EmptyHeaderIsAnEmptyLine) {
  SAM out = open();
  EXPECT_TRUE(out.write(BamHeader()));
  out.close();
  EXPECT_EQ(written(), "\n");
}

TEST_F(SamWrite, RecordIsItsSamLineWithOptionalFieldsAndANewline) {
  const std::vector<RecordBuilder> records = {
      RecordBuilder("r1").flag(4),
      RecordBuilder("r2").at(0, 5).cigar("2M").seq("AC").qual("I!").tag_float("XF", 1.5F),
      RecordBuilder("r3").at(0, 5).mate(0, 7).seq("ACG").tag_array("XB", 'S', {1, 2}),
      RecordBuilder("r4").tag_array("XB", 'c', {}),
      RecordBuilder("r5").tag_text("XZ", 'Z', "").tag("XA", 'A', 'q'),
      RecordBuilder("").stored_name(""),
  };
  const std::string expected =
      "r1\t4\t*\t0\t0\t*\t*\t0\t0\t*\t*\n"
      "r2\t0\tchr1\t6\t0\t2M\t*\t0\t0\tAC\tI!\tXF:f:1.500000\n"
      "r3\t0\tchr1\t6\t0\t*\t=\t8\t0\tACG\t*\tXB:B:1,2\n"
      "r4\t0\t*\t0\t0\t*\t*\t0\t0\t*\t*\tXB:B\n"
      "r5\t0\t*\t0\t0\t*\t*\t0\t0\t*\t*\tXZ:Z:\tXA:A:q\n"
      "*\t0\t*\t0\t0\t*\t*\t0\t0\t*\t*\n";
  SAM out = open();
  for (const RecordBuilder& record : records) EXPECT_TRUE(out.write(record.record(), header()));
  out.close();
  EXPECT_EQ(written(), expected);
}

TEST_F(SamWrite, VectorIsWrittenInItsOrderWithoutAHeader) {
  SAM out = open();
  EXPECT_EQ(out.write({record("c"), record("a"), record("b")}, header()), 3U);
  out.close();
  EXPECT_EQ(written(), named("c") + named("a") + named("b"));
}

TEST_F(SamWrite, EmptyVectorWritesNothing) {
  SAM out = open();
  EXPECT_EQ(out.write(std::vector<Alignment>(), header()), 0U);
  EXPECT_TRUE(out.good());
  out.close();
  EXPECT_EQ(written(), "");
}

TEST_F(SamWrite, LinesLongerThanTheBufferAreWholeAndInOrder) {
  Random random(51);
  SAM out = open();
  std::string expected;
  for (int i = 0; i < 60; ++i) {
    SamLine line;
    const std::size_t most = i % 10 == 0 ? 600000 : 40000;
    line.tags = "\tXZ:Z:" + random_text(random, random() % most);
    EXPECT_TRUE(out.write(Alignment(line.text(), ReferenceMap{{"chr1", 0}}), header()));
    expected += line.text() + "\n";
  }
  out.close();
  EXPECT_TRUE(out.good());
  EXPECT_TRUE(written() == expected);
}

TEST_F(SamWrite, DestructorBringsOutTheRecords) {
  {
    SAM out = open();
    EXPECT_TRUE(out.write(record("a"), header()));
  }
  EXPECT_EQ(written(), named("a"));
}

TEST_F(SamWrite, MovedWriterLosesNothing) {
  SAM first = open();
  first.write(header());
  first.write(record("a"), header());
  SAM second(std::move(first));
  second.write(record("b"), header());
  SAM third(folder_.path("other.sam"), "w");
  third.write(record("x"), header());
  third = std::move(second);
  EXPECT_EQ(folder_.read("other.sam"), named("x"));
  third.write(record("c"), header());
  third.close();
  EXPECT_EQ(written(), kText + named("a") + named("b") + named("c"));
}

TEST_F(SamWrite, WhatIsWrittenReadsBackAsItWas) {
  SAM out = open();
  out.write(header());
  for (const char* name : {"a", "b"}) out.write(record(name), header());
  out.close();
  SAM in(folder_.path("a.sam"), "r");
  EXPECT_EQ(in.header().text(), kText);
  for (const char* name : {"a", "b"}) {
    ASSERT_TRUE(in.next_alignment());
    const Alignment expected = record(name);
    EXPECT_EQ(std::string(in.alignment().data(), in.alignment().data_end()),
              std::string(expected.data(), expected.data_end()));
  }
  EXPECT_FALSE(in.next_alignment());
}

TEST_F(SamWrite, StreamOperationsMixWithRecords) {
  SAM out = open();
  out << "@CO\tby hand\n";
  out.write(record("a"), header());
  EXPECT_EQ(out.tellp(), static_cast<std::streamoff>(12 + named("a").size()));
  out.close();
  EXPECT_EQ(written(), "@CO\tby hand\n" + named("a"));
}

// ---- Failures ----------------------------------------------------------------------------------

TEST_F(SamWrite, RecordThatHasNoLineRaisesAndWritesNothingOfIt) {
  SAM out = open();
  const Alignment lost = RecordBuilder("lost").at(3, 5).record();
  EXPECT_TRUE(out.write(record("a"), header()));
  EXPECT_KIND(out.write(lost, header()), ReferenceIDNotFound, u"3");
  EXPECT_KIND(out.write({record("b"), lost, record("c")}, header()), ReferenceIDNotFound, u"3");
  const Alignment unknown = RecordBuilder("x").tag_bytes("XXx1").record();
  EXPECT_KIND(out.write(unknown, header()), InvalidTagType, u"120");
  const Alignment cut = RecordBuilder("x").tag_bytes("XXi1").record();
  EXPECT_KIND(out.write(cut, header()), InvalidSAMFormat, u"");
  EXPECT_TRUE(out.write(record("d"), header()));
  out.close();
  EXPECT_EQ(written(), named("a") + named("b") + named("d"));
}

TEST_F(SamWrite, ClosedFileAndReaderTakeNothing) {
  SAM out = open();
  out.close();
  EXPECT_FALSE(out.write(record("a"), header()));
  EXPECT_FALSE(out.write(header()));
  EXPECT_EQ(out.write({record("a"), record("b")}, header()), 0U);
  EXPECT_EQ(written(), "");
  SAM in(folder_.write("a.sam", kText), "r");
  EXPECT_FALSE(in.write(record("a"), header()));
  in.close();
  EXPECT_EQ(written(), kText);
}

TEST_F(SamWriteToFullDevice, CloseTellsWhenTheBufferHeldAll) {
  EXPECT_TRUE(out_.write(header()));
  EXPECT_EQ(out_.write({record("a"), record("b")}, header()), 2U);
  EXPECT_FALSE(out_.fail());
  out_.close();
  EXPECT_TRUE(out_.fail());
}

TEST_F(SamWriteToFullDevice, WritingEndsWithTheRecordAfterWhichTheFailureIsSeen) {
  const std::vector<Alignment> records(20000, record("a"));
  const std::size_t size = named("a").size();
  const std::size_t count = out_.write(records, header());
  EXPECT_TRUE(out_.bad());
  // Those that the buffer held, and no more.
  EXPECT_GT(count, 0U);
  EXPECT_LE(count * size, std::size_t{1} << 18);
  EXPECT_GT((count + 2) * size, std::size_t{1} << 18);
  EXPECT_EQ(out_.write(records, header()), 0U);
  EXPECT_FALSE(out_.write(header()));
}

TEST_F(SamWriteToFullDevice, LongRecordFailsAtOnce) {
  SamLine line;
  line.tags = "\tXZ:Z:" + std::string(600000, 'x');
  EXPECT_FALSE(out_.write(Alignment(line.text(), ReferenceMap()), header()));
}

}  // namespace
}  // namespace readkit::sam_sam_write_test
